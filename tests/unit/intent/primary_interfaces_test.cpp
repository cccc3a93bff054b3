#include "device/intent/primary_interfaces.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/read_documents.h"

namespace {

using testing::ElementsAre;
using testing::Pair;

TEST(PrimaryInterfaces, AreNamedOrTheFirstWithAnAddressOrTheLoopback) {
  documents::Device device = test_support::ReadDevice(
      R"({"default_vlan": 10, "interfaces": [{"name": "a", "vlan": 10, "index": 3},
    {"name": "b", "vlan": 10, "index": 4, "ipv4": "10.1.0.1/16"},
    {"name": "c", "vlan": 10, "index": 5, "ipv4": "10.2.0.1/16"},
    {"name": "d", "vlan": 20, "index": 6}, {"name": "e", "vlan": 30, "index": 7}]})");
  device.primaries[30] = "e";
  device.primaries[40] = "named";
  EXPECT_THAT(intent::ChoosePrimaries(device.primaries, device.interfaces, {10, 20, 30}),
              ElementsAre(Pair(10, "b"), Pair(20, "lo"), Pair(30, "e"), Pair(40, "named")));
}

}  // namespace
