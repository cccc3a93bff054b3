#include "device/intent/intent.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/read_documents.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Key;

class Intent : public testing::Test {
 protected:
  void Add(const std::string& name, int vid, const std::string& members) {
    folder.files.push_back(
        test_support::ReadConfig(name, R"({"VLAN_CONFIGURATIONS": {"v": {"vid": )" +
                                           std::to_string(vid) + ", " + members + "}}}"));
  }

  documents::Folder folder;
};

TEST_F(Intent, IsADeviceWithoutVlansAtFirst) {
  const intent::Intent intent;
  EXPECT_THAT(intent.GetDocuments(), IsEmpty());
  EXPECT_THAT(intent.GetProfiles(), IsEmpty());
  EXPECT_THAT(intent.GetNamedVlans(), IsEmpty());
  EXPECT_EQ(intent.GetDevice().defaultVlan, 1);
}

TEST_F(Intent, SharesTheFoldersFiles) {
  Add("vlans.json", 10, "\"x-note\": 1");
  const intent::Intent intent(folder);
  EXPECT_EQ(intent.GetDocuments(), folder.files);
  EXPECT_EQ(intent.GetFolder().files, folder.files);
}

TEST_F(Intent, TakesProfilesFromTheVlanDocumentOnly) {
  Add("vlans.json", 10, R"("REDISTRIBUTION": {"rip": false})");
  Add("remote/a.json", 11, R"("REDISTRIBUTION": {"rip": false})");
  EXPECT_THAT(intent::Intent(folder).GetProfiles(), ElementsAre(Key(10)));
}

TEST_F(Intent, NamesTheVlansOfAllDocuments) {
  Add("vlans.json", 10, "\"x-note\": 1");
  Add("remote/a.json", 11, "\"x-note\": 1");
  EXPECT_THAT(intent::Intent(folder).GetNamedVlans(), ElementsAre(10, 11));
}

TEST_F(Intent, CanHaveOtherInterfaces) {
  Add("vlans.json", 10, "\"x-note\": 1");
  const auto file = std::make_shared<documents::DeviceFile>();
  ASSERT_TRUE(documents::ReadDeviceDocument(
      R"({"default_vlan": 10, "interfaces": [{"name": "eth0", "vlan": 10, "index": 3}]})",
      "device.json", *file));
  folder.deviceFile = file;
  const intent::Intent intent(folder);
  documents::Interfaces interfaces = intent.GetDevice().interfaces;
  interfaces.at({10, 3}).up = false;
  const intent::Intent other = intent.WithInterfaces(interfaces);
  EXPECT_FALSE(other.GetDevice().interfaces.at({10, 3}).up);
  EXPECT_TRUE(intent.GetDevice().interfaces.at({10, 3}).up);
  EXPECT_EQ(other.GetDevice().defaultVlan, 10);
  EXPECT_EQ(other.GetDevice().origins.size(), 1u);
  EXPECT_EQ(other.GetDocuments(), folder.files);
  EXPECT_THAT(other.GetNamedVlans(), ElementsAre(10));
}

TEST_F(Intent, KnowsWhereInterfacesAndAddressesStand) {
  const auto file = std::make_shared<documents::DeviceFile>();
  ASSERT_TRUE(documents::ReadDeviceDocument(
      "{\"default_vlan\": 10, \"interfaces\": [\n"
      " {\"name\": \"eth0\", \"vlan\": 10, \"index\": 3,\n"
      "  \"ipv4\": \"10.1.0.1/16\",\n"
      "  \"ipv6\": [\"2001:db8::1/64\", \"nonsense\", \"2001:db8::2/64\"]}]}",
      "device.json", *file));
  folder.deviceFile = file;
  const intent::Intent intent(folder);
  const documents::InterfaceOrigin& origin = intent.GetDevice().origins.at({10, 3});
  EXPECT_EQ(origin.place.Text(), "device.json:2:2: interfaces[0]");
  EXPECT_EQ(origin.ip4.Text(), "device.json:3:11: interfaces[0].ipv4");
  ASSERT_EQ(intent.GetDevice().interfaces.at({10, 3}).ip6.size(), 2u);
  EXPECT_EQ(origin.ip6.at(1).Text(), "device.json:4:42: interfaces[0].ipv6[2]");
}

}  // namespace
