#include "device/intent/redistribution_plan.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "tests/support/device_fixture.h"
#include "tests/support/read_documents.h"
#include "vantacore/dc_router_base.h"

namespace {

using documents::Sources;
using intent::Destination;
using intent::Rules;
using Tarsel::DcRouterMgr;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Key;
using testing::Pair;

constexpr intent::Sources STATIC = 1, CONNECTED = 2, RIP = 4, OSPF = 8, BGP = 16;

std::shared_ptr<const documents::ConfigFile> File(const std::string& entries) {
  return test_support::ReadConfig("vlans.json", R"({"VLAN_CONFIGURATIONS": )" + entries + "}");
}

documents::Profiles ProfilesOf(const std::map<unsigned short, Sources>& sources) {
  documents::Profiles profiles;
  for (const auto& [vlan, profile] : sources) {
    profiles.emplace(vlan, documents::Profile{profile, {}});
  }
  return profiles;
}

Sources WithoutRip() {
  Sources sources;
  sources.fromRip = false;
  return sources;
}

Sources OfBgpOnly() { return {false, false, true, false, false}; }

std::vector<bool> FlagsOf(const Sources& sources) {
  return {sources.fromStatic, sources.fromConnected, sources.fromBgp, sources.fromRip,
          sources.fromOspf};
}

std::map<unsigned short, std::vector<bool>> FlagsOf(const documents::Profiles& profiles) {
  std::map<unsigned short, std::vector<bool>> flags;
  for (const auto& [vlan, profile] : profiles) {
    flags.emplace(vlan, FlagsOf(profile.sources));
  }
  return flags;
}

constexpr unsigned int Bit(DcRouterMgr::ProtocolType protocol) { return 1u << protocol; }

TEST(RedistributionProfiles, AreThoseOfVlansThatHaveOne) {
  const auto file = File(R"({"a": {"vid": 10, "REDISTRIBUTION": {"rip": false}},
                             "b": {"vid": 20}, "c": {"vid": 30, "REDISTRIBUTION": {}},
                             "d": {"REDISTRIBUTION": {"rip": false}}, "e": 7})");
  EXPECT_THAT(FlagsOf(file->profiles), ElementsAre(Pair(10, FlagsOf(WithoutRip()))));
}

// One VLAN in two entries is a mistake. Where a folder is read in part, the first counts.
TEST(RedistributionProfiles, AreThoseOfTheFirstOfSeveralEntries) {
  const auto file = File(R"([{"vid": 10, "REDISTRIBUTION": {"rip": false}},
                             {"vid": 10, "REDISTRIBUTION": {"bgp": false}},
                             {"vid": 10}])");
  EXPECT_THAT(FlagsOf(file->profiles), ElementsAre(Pair(10, FlagsOf(WithoutRip()))));
}

// What cannot be used of a profile is left out, and the rest counts, if there is any.
TEST(RedistributionProfiles, AreThoseOfFlagsThatCanBeUsed) {
  const auto file = File(R"([{"vid": 10, "REDISTRIBUTION": {"rip": 5}},
                             {"vid": 20, "REDISTRIBUTION": {"rip": false, "bgp": "no"}}])");
  EXPECT_THAT(FlagsOf(file->profiles),
              ElementsAre(Pair(10, FlagsOf(Sources())), Pair(20, FlagsOf(WithoutRip()))))
      << "a flag that cannot be used is on, as one that is absent";
}

TEST(RedistributionProfiles, SayWhereTheyStand) {
  const auto file = File("{\"a\": {\"vid\": 10,\n \"REDISTRIBUTION\": {\"rip\": false}}}");
  EXPECT_EQ(file->profiles.at(10).origin.Text(),
            "vlans.json:2:20: VLAN_CONFIGURATIONS.a.REDISTRIBUTION");
}

TEST(RedistributionPlan, HandsRoutesToEveryEnabledProtocolOfBothFamilies) {
  const Rules rules =
      intent::PlanRules(ProfilesOf({{10, Sources()}, {20, Sources()}, {30, Sources()}}),
                        {{10, Bit(DcRouterMgr::PROTOCOL_BGP) | Bit(DcRouterMgr::PROTOCOL_OSPFV3)},
                         {20, Bit(DcRouterMgr::PROTOCOL_RIPV2)},
                         {40, Bit(DcRouterMgr::PROTOCOL_BGP)}});
  EXPECT_THAT(rules,
              ElementsAre(Pair(Destination{10, false, 0xE0000}, STATIC | CONNECTED | RIP | OSPF),
                          Pair(Destination{10, true, 0xD0000}, STATIC | CONNECTED | RIP | BGP),
                          Pair(Destination{10, true, 0xE0000}, STATIC | CONNECTED | RIP | OSPF),
                          Pair(Destination{20, false, 0x80000}, STATIC | CONNECTED | OSPF | BGP)));
}

TEST(RedistributionPlan, LeavesOutWhatTheProfileKeeps) {
  const documents::ProtocolSets all = {{10, ~0u}};
  EXPECT_THAT(intent::PlanRules(ProfilesOf({{10, OfBgpOnly()}}), all),
              ElementsAre(Pair(Destination{10, false, 0x80000}, BGP),
                          Pair(Destination{10, false, 0xD0000}, BGP),
                          Pair(Destination{10, true, 0x80000}, BGP),
                          Pair(Destination{10, true, 0xD0000}, BGP)));
  EXPECT_THAT(
      intent::PlanRules(ProfilesOf({{10, Sources{false, false, false, false, false}}}), all),
      IsEmpty());
}

TEST(RedistributionPlan, FindsTheRulesThatStay) {
  const Destination here{10, false, 0x80000};
  const Destination there{10, true, 0x80000};
  EXPECT_THAT(intent::FindStayingRules({{here, STATIC | BGP}, {there, RIP}},
                                       {{here, BGP | OSPF}, {there, OSPF}}),
              ElementsAre(Pair(here, BGP)));
}

TEST(RedistributionPlan, KnowsTheRouterOfEachDestination) {
  EXPECT_EQ(intent::RouterTypeOf({10, false, 0x80000}), DcRouterMgr::PROTOCOL_RIPV2);
  EXPECT_EQ(intent::RouterTypeOf({10, true, 0x80000}), DcRouterMgr::PROTOCOL_RIPNG);
  EXPECT_EQ(intent::RouterTypeOf({10, false, 0xD0000}), DcRouterMgr::PROTOCOL_OSPFV2);
  EXPECT_EQ(intent::RouterTypeOf({10, true, 0xD0000}), DcRouterMgr::PROTOCOL_OSPFV3);
  EXPECT_EQ(intent::RouterTypeOf({10, false, 0xE0000}), DcRouterMgr::PROTOCOL_BGP);
  EXPECT_EQ(intent::RouterTypeOf({10, true, 0xE0000}), DcRouterMgr::PROTOCOL_BGP);
}

class EnabledProtocols : public test_support::DeviceFixture {};

// Whoever says before a reload which protocols it will leave enabled must read like the routers.
TEST_F(EnabledProtocols, AreReadAsTheRoutersReadThem) {
  Start(10);
  const std::string entries = R"([
    {"vid": 10, "BGP": {"enabled": true}, "OSPF": {"enabled": false}, "OSPFV3": {}, "RIPV2": [],
     "RIPNG": "on"},
    {"vid": 20, "BGP": {"peers": 1}, "OSPF": {"enabled": null}, "OSPFV3": {"enabled": 1},
     "RIPV2": {"enabled": "true"}, "RIPNG": [1], "IGMP": {"enabled": true}},
    {"vid": 30, "BGP": {"enabled": true}, "RIPV2": {"enabled": true}},
    {"vid": 30, "BGP": {"enabled": false}, "RIPNG": {"enabled": true}},
    {"vid": 40}])";
  const auto file = File(entries);
  Manager().Reload(file->document, "vlans.json", file->type);
  const documents::ProtocolSets& sets = file->protocols;
  EXPECT_THAT(sets, ElementsAre(Key(10), Key(20), Key(30), Key(40)));
  unsigned int enabled = 0;
  for (const auto& [vlan, set] : sets) {
    for (int type = DcRouterMgr::PROTOCOL_BGP; type <= DcRouterMgr::PROTOCOL_RIPNG; ++type) {
      const bool isEnabled =
          Manager()
              .GetDcRouterByVID(vlan, static_cast<DcRouterMgr::ProtocolType>(type))
              ->IsEnabled();
      EXPECT_EQ((set & 1u << type) != 0, isEnabled) << "VLAN " << vlan << ", router " << type;
      enabled += isEnabled;
    }
  }
  EXPECT_EQ(enabled, 3u);
}

TEST(RedistributionNames, AreThoseOfOperators) {
  EXPECT_STREQ(intent::NameOfSource(intent::CODE_CONNECTED), "connected");
  EXPECT_STREQ(intent::NameOfSource(intent::CODE_STATIC), "static");
  EXPECT_STREQ(intent::NameOfSource(intent::CODE_RIP), "RIP");
  EXPECT_STREQ(intent::NameOfSource(intent::CODE_OSPF), "OSPF");
  EXPECT_STREQ(intent::NameOfSource(intent::CODE_BGP), "BGP");
  EXPECT_STREQ(intent::NameOf({10, false, intent::CODE_RIP}), "RIPv2");
  EXPECT_STREQ(intent::NameOf({10, true, intent::CODE_RIP}), "RIPng");
  EXPECT_STREQ(intent::NameOf({10, false, intent::CODE_OSPF}), "OSPFv2");
  EXPECT_STREQ(intent::NameOf({10, true, intent::CODE_OSPF}), "OSPFv3");
  EXPECT_STREQ(intent::NameOf({10, false, intent::CODE_BGP}), "BGP for IPv4");
  EXPECT_STREQ(intent::NameOf({10, true, intent::CODE_BGP}), "BGP for IPv6");
}

}  // namespace
