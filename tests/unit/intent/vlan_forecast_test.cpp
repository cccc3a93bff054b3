#include "device/intent/vlan_forecast.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using documents::ConfigFile;
using Tarsel::DclConfigObject;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

constexpr unsigned int BGP = 1, RIPV2 = 8;

std::shared_ptr<ConfigFile> File(const std::string& name, documents::VlanIds vlans,
                                 documents::ProtocolSets protocols = {}) {
  auto file = std::make_shared<ConfigFile>();
  file->name = name;
  file->type =
      name == "vlans.json" ? DclConfigObject::VLAN_OPTIONS : DclConfigObject::REMOTE_OPTIONS;
  file->vlans = std::move(vlans);
  file->protocols = std::move(protocols);
  return file;
}

TEST(LeavingVlans, AreThoseThatNoDocumentKeeps) {
  const intent::PresentVlans present = {{10, {{"vlans.json"}, 0}},
                                        {20, {{"vlans.json", "remote/a.json"}, 0}},
                                        {30, {{"vlans.json"}, 0}},
                                        {40, {{"remote/a.json"}, 0}}};
  EXPECT_THAT(intent::FindLeavingVlans(
                  present, {File("vlans.json", {10, 50}), File("remote/a.json", {20, 30})}),
              ElementsAre(30, 40))
      << "VLAN 30 is new to remote/a.json, and 40 was left out there";
  EXPECT_THAT(intent::FindLeavingVlans(present, {}), ElementsAre(10, 20, 30, 40));
  EXPECT_THAT(intent::FindLeavingVlans({}, {File("vlans.json", {10})}), IsEmpty());
}

TEST(EnabledProtocolsForecast, AreThoseOfTheVlanDocument) {
  EXPECT_THAT(intent::FindEnabledProtocols(
                  {}, {}, {File("vlans.json", {}, {{10, BGP}, {20, BGP | RIPV2}})}),
              ElementsAre(Pair(10, BGP), Pair(20, BGP | RIPV2)));
}

TEST(EnabledProtocolsForecast, AreKeptByARemoteDocumentThatIsKnownAndNotStartedByIt) {
  const documents::ConfigFiles wanted = {File("vlans.json", {}, {{10, 0}}),
                                         File("remote/a.json", {}, {{10, BGP | RIPV2}})};
  const intent::AppliedDocuments known = {{"remote/a.json", DclConfigObject::REMOTE_OPTIONS}};
  const intent::PresentVlans running = {{10, {{}, BGP}}};
  EXPECT_EQ(intent::FindEnabledProtocols(running, known, wanted).at(10), BGP);
  EXPECT_EQ(intent::FindEnabledProtocols(running, {}, wanted).at(10), 0u) << "not known before";
  EXPECT_EQ(intent::FindEnabledProtocols({}, known, wanted).at(10), 0u) << "the VLAN is not there";
}

}  // namespace
