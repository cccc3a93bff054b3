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

TEST(LeavingVlans, AreThoseThatTheVlanDocumentDoesNotName) {
  EXPECT_THAT(intent::FindLeavingVlans(
                  {10, 20, 30}, {File("vlans.json", {10, 50}), File("remote/a.json", {20, 30})}),
              ElementsAre(20, 30));
  EXPECT_THAT(intent::FindLeavingVlans({10, 20}, {File("remote/a.json", {20})}),
              ElementsAre(10, 20))
      << "without a VLAN document there are none";
  EXPECT_THAT(intent::FindLeavingVlans({}, {File("vlans.json", {10})}), IsEmpty());
}

TEST(ProtocolsForecast, AreThoseOfTheVlanDocument) {
  EXPECT_THAT(intent::FindEnabledProtocols({File("vlans.json", {}, {{10, BGP}, {20, BGP | RIPV2}}),
                                            File("remote/a.json", {}, {{10, RIPV2}, {30, RIPV2}})}),
              ElementsAre(Pair(10, BGP), Pair(20, BGP | RIPV2)));
  EXPECT_THAT(intent::FindEnabledProtocols({File("remote/a.json", {}, {{10, RIPV2}})}), IsEmpty());
}

}  // namespace
