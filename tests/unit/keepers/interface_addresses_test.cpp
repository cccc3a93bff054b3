// Addresses that an operator's command changes, and what the next document makes of them.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "device/keepers/interfaces.h"
#include "tests/support/device_fixture.h"
#include "tests/support/read_documents.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class InterfaceAddresses : public test_support::DeviceFixture {
 protected:
  void SetUp() override {
    Start(10);
    Reload(R"({"VLAN_CONFIGURATIONS": {"v": {"vid": 10}}})", "vlans.json");
    Apply("");
    TakeCalls();
  }

  void Apply(const std::string& prefixes) {
    const std::string document =
        R"({"default_vlan": 10, "interfaces": [{"name": "eth0", "vlan": 10, "index": 3, "ipv6": [)" +
        prefixes + "]}]}";
    state.Apply(test_support::ReadDevice(document), {10});
    ASSERT_TRUE(Settle());
  }
  // 2001:db8::1 with this length.
  static Tarsel::Ip6Prefix Prefix(unsigned int length) {
    const unsigned char bytes[16] = {0x20, 0x01, 0x0d, 0xb8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1};
    return Tarsel::Ip6Prefix(Tarsel::Ip6Addr::FromBytes(bytes), length);
  }

  const documents::InterfaceKey eth0{10, 3};
  keepers::Interfaces state;
};

// The stack knows an address once, whatever its length.
TEST_F(InterfaceAddresses, AreKeptOnceWhenTheyAreAddedWithAnotherLength) {
  state.AddAddress(eth0, Prefix(64));
  state.AddAddress(eth0, Prefix(48));
  ASSERT_TRUE(Settle());
  TakeCalls();
  Apply(R"("2001:db8::1/48")");
  EXPECT_THAT(TakeCalls(), IsEmpty());
}

TEST_F(InterfaceAddresses, ComeBackWithTheDocumentThatHasThem) {
  Apply(R"("2001:db8::1/64")");
  state.DeleteAddress(eth0, Prefix(64));
  ASSERT_TRUE(Settle());
  TakeCalls();
  Apply(R"("2001:db8::1/64")");
  EXPECT_THAT(TakeCalls(), ElementsAre(HasSubstr("2001:db8::1, 64)")));
}

}  // namespace
