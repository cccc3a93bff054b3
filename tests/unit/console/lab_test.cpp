#include "device/console/lab.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/device_fixture.h"
#include "tests/support/read_documents.h"
#include "tests/support/recording_console.h"
#include "vantacore/dc_rtm_mgr.h"
#include "vantacore/static_routes.h"

namespace {

using console::LabReply;
using test_support::ReadDevice;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

class Lab : public test_support::DeviceFixture {
 protected:
  void SetUp() override {
    Start(10);
    state.Apply(ReadDevice(DEVICE), {10});
    LoadVlans();
    state.AnnounceTo(10);
    ASSERT_TRUE(Settle());
    TakeCalls();
    traces.Take();
  }
  void LoadVlans() {
    Reload(R"({"VLAN_CONFIGURATIONS": {"a": {"vid": 10, "IGMP": {"enabled": true}},
                                       "b": {"vid": 20}}})",
           "vlans.json");
  }
  std::string ShowMulticast() {
    char protocol[] = "protocol", database[] = "mcast-database";
    char* argv[] = {protocol, database, nullptr};
    const auto log = test_support::NewConsoleLog(10);
    Tarsel::DcRouterMgr::ConCmdIp4Rtm(nullptr, new test_support::RecordingConsole(log), 2, argv);
    EXPECT_TRUE(Settle());
    EXPECT_TRUE(log->destroyed);
    return log->output;
  }
  // Brings the document into force again and answers with what that took.
  std::vector<std::string> Restore() {
    TakeCalls();
    state.Apply(ReadDevice(DEVICE), {10});
    EXPECT_TRUE(Settle());
    return TakeCalls();
  }

  LabReply Execute(const std::string& line, unsigned short vlan = 10) {
    std::istringstream stream(line);
    const LabReply reply = lab.Execute({std::istream_iterator<std::string>(stream), {}}, vlan);
    EXPECT_TRUE(Settle());
    return reply;
  }
  void ExpectRefused(const std::string& line, const std::string& text) {
    const LabReply reply = Execute(line);
    EXPECT_EQ(reply.text, text);
    EXPECT_NE(reply.isRefused, reply.isMisunderstood) << line;
    EXPECT_FALSE(reply.hasChanged);
    EXPECT_THAT(TakeCalls(), IsEmpty());
  }
  void ExpectMisunderstood(const std::string& line) {
    const LabReply reply = Execute(line);
    EXPECT_TRUE(reply.isMisunderstood) << line;
    EXPECT_FALSE(reply.hasChanged) << line;
    EXPECT_THAT(TakeCalls(), IsEmpty()) << line;
  }
  void AddRoute() {
    const unsigned char network[] = {10, 9, 0, 0}, gateway[] = {10, 1, 0, 2};
    Tarsel::AddRoute(10, Tarsel::Ip4Addr::FromBytes(network),
                     Tarsel::Ip4Addr(Tarsel::Ip6Prefix::s_masks32[16]),
                     Tarsel::Ip4Addr::FromBytes(gateway), 3, 1, 0x30000, 1);
  }
  std::vector<std::string> Networks() {
    std::vector<std::string> networks;
    for (const auto& route : Control().Routes()) {
      networks.push_back(std::to_string(route.destination[0]) + "." +
                         std::to_string(route.destination[1]));
    }
    return networks;
  }

  static constexpr const char* DEVICE = R"({"default_vlan": 10, "interfaces": [
      {"name": "eth0", "vlan": 10, "index": 3, "ipv4": "10.1.0.1/16", "ipv6": ["2001:db8::1/64"]},
      {"name": "eth9", "vlan": 20, "index": 4}]})";

  keepers::Interfaces state;
  std::vector<std::optional<unsigned int>> ticks;
  console::Lab lab{Control(), state, [this](auto tick) { ticks.push_back(tick); }};
};

TEST_F(Lab, TakesInterfacesDownAndUpWithTheirRoutes) {
  AddRoute();
  ASSERT_TRUE(Settle());
  EXPECT_THAT(Networks(), ElementsAre("10.1", "10.9", "32.1"));
  TakeCalls();

  const LabReply reply = Execute("interface eth0 down");
  EXPECT_EQ(reply.text, "");
  EXPECT_TRUE(reply.hasChanged);
  EXPECT_THAT(TakeCalls(), ElementsAre("sms_act_interface(1, 2, 10, 3, \"eth0\", 0, 0, 0)",
                                       "sms_act_interface(1, 2, 32778, 3, \"eth0\", 0, 0, 0)"));
  EXPECT_TRUE(traces.Contains("10:Updating Interface Status of Interface 3\n"));
  EXPECT_THAT(Networks(), IsEmpty());
  EXPECT_FALSE(state.IsInterfaceUp(10, 3));

  Execute("interface eth0 up");
  EXPECT_THAT(Networks(), ElementsAre("10.1", "10.9", "32.1"));
  EXPECT_TRUE(state.IsInterfaceUp(10, 3));
  EXPECT_THAT(Restore(), IsEmpty());
}

TEST_F(Lab, LeavesAReloadWithWhatIsToBeRestored) {
  Execute("interface eth0 down");
  EXPECT_THAT(Restore(), ElementsAre("sms_act_interface(1, 1, 10, 3, \"eth0\", 0, 0, 0)",
                                     "sms_act_interface(1, 1, 32778, 3, \"eth0\", 0, 0, 0)"));
  Execute("address change eth0 10.2.0.1/24");
  EXPECT_THAT(Restore(), ElementsAre("sms_act_ipaddr(6, 10, 1, 3, 10.2.0.1, 24)",
                                     "sms_act_ipaddr(1, 10, 1, 3, 10.1.0.1, 16)"));
  Execute("address delete eth0 10.1.0.1/16");
  EXPECT_THAT(Restore(), ElementsAre("sms_act_ipaddr(1, 10, 1, 3, 10.1.0.1, 16)"));
  Execute("address add eth0 2001:db8::2/64");
  Execute("address delete eth0 2001:db8::1/64");
  EXPECT_THAT(Restore(), ElementsAre("sms_act_ipaddr(1, 32778, 2, 3, 2001:db8::1, 64)",
                                     "sms_act_ipaddr(6, 32778, 2, 3, 2001:db8::2, 64)"));
  Execute("join eth0");
  traces.Take();
  EXPECT_THAT(Restore(), IsEmpty());
}

TEST_F(Lab, ChangesAnIp4Address) {
  Execute("address change eth0 10.2.0.1/24");
  EXPECT_THAT(TakeCalls(), ElementsAre("sms_act_ipaddr(6, 10, 1, 3, 10.1.0.1, 16)",
                                       "sms_act_ipaddr(1, 10, 1, 3, 10.2.0.1, 24)"));
  EXPECT_TRUE(traces.Contains("10:Updating IP Address Change to Interface 3\n"));
  EXPECT_THAT(Networks(), ElementsAre("10.2", "32.1"));
}

// The library keeps one IPv4 address, the stack as many as it was told of.
TEST_F(Lab, LeavesTheFirstAddressBehindWhenASecondComes) {
  Execute("address add eth0 10.2.0.1/16");
  EXPECT_THAT(TakeCalls(), ElementsAre("sms_act_ipaddr(1, 10, 1, 3, 10.2.0.1, 16)"));
  EXPECT_TRUE(traces.Contains("10:Updating IP Address Change to Interface 3\n"));
  EXPECT_THAT(Networks(), ElementsAre("10.1", "10.2", "32.1"));
  Execute("address delete eth0 10.2.0.1/16");
  EXPECT_THAT(Networks(), ElementsAre("10.1", "32.1"));
}

// Whichever address is deleted, the library forgets the one that it keeps; a change then starts
// from 0.0.0.0 and the stack keeps the old address.
TEST_F(Lab, LeavesAnAddressBehindWhenAnotherWasDeletedBeforeAChange) {
  Execute("address delete eth0 10.7.0.1/16");
  TakeCalls();
  Execute("address change eth0 10.2.0.1/16");
  EXPECT_THAT(TakeCalls(), ElementsAre("sms_act_ipaddr(6, 10, 1, 3, 0.0.0.0, 0)",
                                       "sms_act_ipaddr(1, 10, 1, 3, 10.2.0.1, 16)"));
  EXPECT_THAT(Networks(), ElementsAre("10.1", "10.2", "32.1"));
}

TEST_F(Lab, AddsAndDeletesIp6Addresses) {
  Execute("address add eth0 2001:db8:2::1/48");
  Execute("address add eth0 2001:db8::1/60");  // the same address once more
  Execute("address delete eth0 2001:db8::1/64");
  EXPECT_THAT(TakeCalls(), ElementsAre("sms_act_ipaddr(1, 32778, 2, 3, 2001:db8:2::1, 48)",
                                       "sms_act_ipaddr(1, 32778, 2, 3, 2001:db8::1, 60)",
                                       "sms_act_ipaddr(6, 32778, 2, 3, 2001:db8::1, 64)"));
  EXPECT_THAT(Restore(), ElementsAre("sms_act_ipaddr(1, 32778, 2, 3, 2001:db8::1, 64)",
                                     "sms_act_ipaddr(6, 32778, 2, 3, 2001:db8:2::1, 48)"));
}

TEST_F(Lab, LetsRemotesJoinForGood) {
  const std::string before = ShowMulticast();
  EXPECT_TRUE(Execute("join eth0").hasChanged);
  const std::string joined = ShowMulticast();
  EXPECT_NE(joined, before);
  EXPECT_TRUE(Execute("leave eth0").hasChanged);
  EXPECT_EQ(ShowMulticast(), joined);
  // A VLAN that comes again has new routers, which are told of those that have not left.
  Execute("join eth0");
  Manager().DeleteOptions("vlans.json", Tarsel::DclConfigObject::VLAN_OPTIONS);
  LoadVlans();
  EXPECT_EQ(ShowMulticast(), before);
  state.AnnounceTo(10);
  EXPECT_EQ(ShowMulticast(), joined);
}

TEST_F(Lab, FindsInterfacesInTheirVlan) {
  ExpectRefused("interface eth1 down", "VLAN 10 has no interface \"eth1\"\n");
  ExpectRefused("interface eth9 down", "VLAN 10 has no interface \"eth9\"\n");
  ExpectRefused("join eth0 vrf 20", "VLAN 20 has no interface \"eth0\"\n");
  ExpectMisunderstood("leave eth0 vrf x");
  ExpectMisunderstood("leave eth0 vrf 65546");
  EXPECT_TRUE(Execute("interface eth9 down vrf 20").hasChanged);
  EXPECT_TRUE(Execute("interface eth9 up", 20).hasChanged);
  EXPECT_THAT(TakeCalls(), ElementsAre("sms_act_interface(1, 2, 20, 4, \"eth9\", 0, 0, 0)",
                                       "sms_act_interface(1, 2, 32788, 4, \"eth9\", 0, 0, 0)",
                                       "sms_act_interface(1, 1, 20, 4, \"eth9\", 0, 0, 0)",
                                       "sms_act_interface(1, 1, 32788, 4, \"eth9\", 0, 0, 0)"));
}

TEST_F(Lab, TakesTheNameOfAnInterfaceForNoWordOfItsOwn) {
  state.Apply(ReadDevice(R"({"default_vlan": 10, "interfaces": [
                  {"name": "vrf", "vlan": 10, "index": 5}, {"name": "vrf", "vlan": 20, "index": 6}]})"),
              {10});
  EXPECT_EQ(Execute("interface vrf down").text, "");
  EXPECT_FALSE(state.IsInterfaceUp(10, 5));
  EXPECT_TRUE(state.IsInterfaceUp(20, 6));
  EXPECT_EQ(Execute("interface vrf down vrf 20").text, "");
  EXPECT_FALSE(state.IsInterfaceUp(20, 6));
}

TEST_F(Lab, RefusesWhatIsNoAddress) {
  for (const char* text : {"10.1.0.1", "10.1.0.1/33", "10.1.0.1/", "2001:db8::1/129", "eth0/8"}) {
    ExpectMisunderstood(std::string("address add eth0 ") + text);
  }
  ExpectRefused("address change eth0 2001:db8::9/64",
                "An interface has any number of IPv6 addresses: add one and delete the other\n");
}

TEST_F(Lab, MakesTheStackRefuseAndRetry) {
  Execute("stack retry route 2 times");
  AddRoute();
  ASSERT_TRUE(Settle());
  EXPECT_EQ(TakeCalls().size(), 3u);
  EXPECT_THAT(Networks(), ElementsAre("10.1", "10.9", "32.1"));

  Execute("stack refuse route 1 times");
  Tarsel::DcRtmMgr::GetInstance()->UpdateStaticRoute(
      10, 1, reinterpret_cast<const unsigned char*>("\x0a\x08\0"), 16,
      reinterpret_cast<const unsigned char*>("\x0a\x01\0\2"), 3, 1, 0x30000, 1, 1);
  ASSERT_TRUE(Settle());
  EXPECT_EQ(TakeCalls().size(), 1u);
  EXPECT_THAT(Networks(), ElementsAre("10.1", "10.9", "32.1"));
  ExpectMisunderstood("stack never rtm x times");
  ExpectMisunderstood("stack never rtm vrf times");
  for (const std::string count : {"0", "-1", "1000001", "99999999999999"}) {
    ExpectMisunderstood("stack never rtm " + count + " times");
  }
}

TEST_F(Lab, MakesTheStackRefuseTheRowsOfOneVlan) {
  Execute("stack refuse route 1 times vrf 20");
  AddRoute();
  ASSERT_TRUE(Settle());
  EXPECT_THAT(Networks(), ElementsAre("10.1", "10.9", "32.1"));
  Execute("stack refuse interface 2 times vrf 10");
  Execute("interface eth0 down");
  EXPECT_THAT(Networks(), ElementsAre("10.1", "10.9", "32.1"));
  TakeCalls();
  ExpectMisunderstood("stack refuse route 1 times vrf x");
}

TEST_F(Lab, MakesTheStackAnswerNeverTwiceOrLate) {
  Execute("stack never route 1 times");
  AddRoute();
  ASSERT_TRUE(Settle());
  EXPECT_THAT(Networks(), ElementsAre("10.1", "32.1"));

  Execute("stack twice interface 2 times");
  Execute("interface eth0 down");
  EXPECT_THAT(Networks(), IsEmpty());

  Execute("stack late interface 1 times");
  TakeCalls();
  state.SetStatus({10, 3}, true);
  loop.AdvanceMilliseconds(400);
  EXPECT_THAT(Networks(), ElementsAre("32.1"));  // the IPv6 instance's row was the second
  ASSERT_TRUE(Settle());
  EXPECT_THAT(Networks(), ElementsAre("10.1", "32.1"));
}

TEST_F(Lab, HoldsTheStack) {
  EXPECT_FALSE(Execute("stack hold").hasChanged);
  state.SetStatus({10, 3}, false);
  loop.AdvanceMilliseconds(1000);
  EXPECT_THAT(Networks(), ElementsAre("10.1", "32.1"));
  EXPECT_TRUE(Execute("stack release").hasChanged);
  EXPECT_THAT(Networks(), IsEmpty());
}

TEST_F(Lab, HoldsTheStackUntilTheSessionEnds) {
  const unsigned hold = Execute("stack hold").hold;
  EXPECT_NE(hold, 0u);
  state.SetStatus({10, 3}, false);
  lab.EndHold(0, false);
  lab.EndHold(hold + 1, false);
  loop.AdvanceMilliseconds(1000);
  EXPECT_THAT(Networks(), ElementsAre("10.1", "32.1"));
  lab.EndHold(hold, false);
  loop.AdvanceMilliseconds(100);
  EXPECT_THAT(Networks(), IsEmpty());
}

TEST_F(Lab, HoldsTheStackAMinuteLongerForASessionOfOneCommand) {
  lab.EndHold(Execute("stack hold").hold, true);
  state.SetStatus({10, 3}, false);
  loop.AdvanceMilliseconds(59900);
  EXPECT_THAT(Networks(), ElementsAre("10.1", "32.1"));
  loop.AdvanceMilliseconds(200);
  EXPECT_THAT(Networks(), IsEmpty());
}

TEST_F(Lab, LeavesTheHoldToWhomeverAskedForItLast) {
  const unsigned first = Execute("stack hold").hold;
  lab.EndHold(first, true);
  const unsigned second = Execute("stack hold").hold;
  EXPECT_NE(second, first);
  state.SetStatus({10, 3}, false);
  lab.EndHold(first, false);
  loop.AdvanceMilliseconds(120000);  // the first one's minute has gone by
  EXPECT_THAT(Networks(), ElementsAre("10.1", "32.1"));
  lab.EndHold(second, false);
  loop.AdvanceMilliseconds(100);
  EXPECT_THAT(Networks(), IsEmpty());
}

TEST_F(Lab, EndsNoHoldThatHasBeenReleased) {
  const unsigned hold = Execute("stack hold").hold;
  lab.EndHold(hold, true);
  Execute("stack release");
  EXPECT_EQ(Execute("stack release").hold, 0u);
  Control().Hold();  // somebody else's, of which the lab knows nothing
  lab.EndHold(hold, false);
  state.SetStatus({10, 3}, false);
  loop.AdvanceMilliseconds(120000);
  EXPECT_THAT(Networks(), ElementsAre("10.1", "32.1"));
  Control().Release();
}

TEST_F(Lab, RestartsTheStack) {
  EXPECT_TRUE(Execute("stack restart").hasChanged);
  EXPECT_EQ(stack.GetFacts().CountRestarts(), 1u);
}

TEST_F(Lab, FixesTheTickAndGivesItBack) {
  Execute("tick fast");
  EXPECT_THAT(ticks, ElementsAre(10u));
  Execute("tick normal");
  EXPECT_THAT(ticks, ElementsAre(10u, std::nullopt));
}

TEST_F(Lab, SaysWhatItDoesNotUnderstand) {
  const struct {
    const char* line;
    std::size_t misfit;
  } lines[] = {{"foo", 0},
               {"interface eth0 sideways", 2},
               {"stack refuse foo 3 times", 2},
               {"stack refuse route 3 Times", 4},
               {"stack refuse route 0 times", 3},
               {"stack refuse route 1000001 times", 3},
               {"tick fast fast", 2},
               {"tick f", 1},
               {"address add eth0 10.1.0.300/16", 3},
               {"address add eth0 10.1.0.1", 3},
               {"join eth0 vrf ten", 3},
               {"interface eth0 down vrf 20 30", 5}};
  for (const auto& one : lines) {
    EXPECT_EQ(console::Lab::Read(console::Split(one.line)).misfit, one.misfit) << one.line;
    EXPECT_TRUE(Execute(one.line).isMisunderstood) << one.line;
    EXPECT_THAT(TakeCalls(), IsEmpty()) << one.line;
  }
  ExpectRefused("interface eth0", "Usage: lab interface <interface> up|down [vrf <vid>]\n");
  ExpectRefused("interface eth0 up vrf", "Usage: lab interface <interface> up|down [vrf <vid>]\n");
  EXPECT_THAT(Execute("stack").text, HasSubstr("Usage: lab stack refuse|"));
  EXPECT_THAT(Execute("stack").text, HasSubstr("Usage: lab stack hold|release\n"));
  EXPECT_THAT(Execute("stack").text, Not(HasSubstr("tick")));
}

TEST_F(Lab, ExplainsItself) {
  EXPECT_THAT(console::Lab::Help(), HasSubstr("  lab interface <interface> up|down [vrf <vid>]\n"
                                              "      An interface goes up or down\n"));
}

}  // namespace
