// What only the documents of a folder together can tell.
#include "device/documents/folder_check.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>

#include "tests/unit/documents/reading.h"

namespace {

using documents_tests::ReadDevice;
using testing::ElementsAre;
using testing::IsEmpty;

std::vector<std::string> Check(const std::string& interfaces) {
  documents::Folder folder;
  const auto read = ReadDevice(R"({"default_vlan": 1, "interfaces": [)" + interfaces + "]}");
  EXPECT_THAT(read.Lines(), IsEmpty());
  folder.deviceFile = std::make_shared<documents::DeviceFile>(read.file);
  return documents::CheckTogether(folder).Lines();
}

TEST(CheckTogether, FindsOneSubnetOnTwoInterfaces) {
  EXPECT_THAT(Check(R"({"name": "e", "vlan": 1, "index": 1, "ipv4": "10.1.0.1/16",
                        "ipv6": ["2001:db8::1/64"]},
{"name": "f", "vlan": 1, "index": 2, "ipv4": "10.1.2.1/16",
 "ipv6": ["2001:db8:1::1/64", "2001:db8::2/64"]})"),
              ElementsAre("device.json:3:46: warning: interfaces[1].ipv4: one subnet on two "
                          "interfaces, expected another than that of \"e\" in VLAN 1, found "
                          "10.1.0.0/16",
                          "device.json:4:31: warning: interfaces[1].ipv6[1]: one subnet on two "
                          "interfaces, expected another than that of \"e\" in VLAN 1, found "
                          "2001:db8::/64"));
}

TEST(CheckTogether, AllowsTwoAddressesOfOneSubnetOnOneInterface) {
  EXPECT_THAT(Check(R"({"name": "e", "vlan": 1, "index": 1,
                        "ipv6": ["2001:db8::1/64", "2001:db8::2/64"]})"),
              IsEmpty());
}

TEST(CheckTogether, AllowsOneSubnetInTwoVlans) {
  EXPECT_THAT(Check(R"({"name": "e", "vlan": 1, "index": 1, "ipv4": "10.1.0.1/16"},
                       {"name": "f", "vlan": 2, "index": 1, "ipv4": "10.1.0.1/16"})"),
              IsEmpty());
}

TEST(CheckTogether, AllowsLinkLocalAddressesOnAllInterfaces) {
  EXPECT_THAT(Check(R"({"name": "e", "vlan": 1, "index": 1, "ipv6": ["fe80::1/64"]},
                       {"name": "f", "vlan": 1, "index": 2, "ipv6": ["fe80::2/64"]})"),
              IsEmpty());
}

}  // namespace
