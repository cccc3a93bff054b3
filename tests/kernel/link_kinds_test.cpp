// Kinds of links that not every kernel has; tools/kernel-machine boots one that does.

#include <gmock/gmock.h>

#include "namespace_fixture.h"

namespace {

using kernel_test::KernelTest;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;

/// Sub-interfaces of r1 and its other end p1; the tests make them.
class KindsOfLinks : public KernelTest {
 protected:
  void SetUp() override {
    KernelTest::SetUp();
    Ip("address flush dev r1");
    Ip("address flush dev r2");
    folder.Write("device.json", R"({"default_vlan": 10,
        "kernel": {"interfaces": ["r1*", "d*"], "routes": true}})");
  }
  static void AddTagged(const std::string& name, const std::string& below, int tag) {
    Ip("link add link " + below + " name " + name + " type vlan id " + std::to_string(tag));
    Ip("link set dev " + name + " addrgenmode none");
    Ip("link set " + name + " up");
    AwaitState(name, true);
  }
};

// Whatever the name says.
TEST_F(KindsOfLinks, ASubInterfaceIsInTheVlanOfItsTag) {
  AddTagged("r1.99", "r1", 20);
  Ip("address add 10.2.0.1/24 dev r1.99");
  WriteRoutes({}, {{"10.9.0.0/16", "10.2.0.2"}});
  Start();
  AwaitPass();
  EXPECT_THAT(OurRoutes(), ElementsAre("10.2.0.0/24 dev r1.99 table 40020 scope link",
                                       "10.9.0.0/16 via 10.2.0.2 dev r1.99 table 40020"));
  EXPECT_THAT(Ask("status", "sessions"),
              AllOf(HasSubstr("r1 in VLAN 10 (default)"), HasSubstr("r1.99 in VLAN 20 (tag)")));
  // The same name with another tag is in another VLAN.
  WriteRoutes({{"10.8.0.0/16", "10.2.0.2"}}, {{"10.9.0.0/16", "10.2.0.2"}});
  Reload();
  Ip("link delete r1.99");
  AwaitPass();
  EXPECT_THAT(OurRoutes(), testing::IsEmpty());
  AddTagged("r1.99", "r1", 10);
  Ip("address add 10.2.0.1/24 dev r1.99");
  AwaitPass();
  EXPECT_THAT(OurRoutes(), ElementsAre("10.8.0.0/16 via 10.2.0.2 dev r1.99"));
}

// It takes its state from the link below.
TEST_F(KindsOfLinks, ASubInterfaceGoesDownWithTheLinkBelow) {
  AddTagged("r1.20", "r1", 20);
  Ip("address add 10.2.0.1/24 dev r1.20");
  WriteRoutes({}, {{"10.9.0.0/16", "10.2.0.2"}});
  Start();
  AwaitPass();
  EXPECT_THAT(OurRoutes(), testing::SizeIs(2));
  Ip("link set p1 down");
  AwaitState("r1.20", false);
  AwaitPass();
  EXPECT_THAT(OurRoutes(), testing::IsEmpty());
  Ip("link set p1 up");
  AwaitState("r1.20", true);
  AwaitPass();
  EXPECT_THAT(OurRoutes(), ElementsAre("10.2.0.0/24 dev r1.20 table 40020 scope link",
                                       "10.9.0.0/16 via 10.2.0.2 dev r1.20 table 40020"));
}

// A dummy device has no other end, and the kernel does not know its operational state.
TEST_F(KindsOfLinks, ADummyDeviceIsUpWhenItIsSetUp) {
  Ip("link add d1.20 type dummy");
  Ip("link set dev d1.20 addrgenmode none");
  Ip("address add 10.3.0.1/24 dev d1.20");
  WriteRoutes({});
  Start();
  AwaitPass();
  EXPECT_THAT(OurRoutes(), testing::IsEmpty());
  Ip("link set d1.20 up");
  AwaitPass();
  EXPECT_THAT(OurRoutes(), ElementsAre("10.3.0.0/24 dev d1.20 table 40020 scope link"));
  Ip("link set d1.20 down");
  AwaitPass();
  EXPECT_THAT(OurRoutes(), testing::IsEmpty());
}

}  // namespace
