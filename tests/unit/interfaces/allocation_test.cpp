// Requests that cannot be allocated. The record follows the event all the same.

#include <gmock/gmock.h>

#include "tests/support/failing_new.h"
#include "tests/unit/interfaces/interface_fixture.h"

namespace {

using Tarsel::Ip4Addr;
using test_support::FailingNew;
using testing::ElementsAre;
using testing::IsEmpty;

class InterfaceAllocation : public InterfaceFixture {};

TEST_F(InterfaceAllocation, EitherInterfaceRequestThatFailsDropsBoth) {
  for (const unsigned int failingOne : {1U, 2U}) {
    const FailingNew failing(failingOne);
    registry.AddInterface(10, failingOne, "eth0", TYPE, 0, 0, 1);
    EXPECT_TRUE(failing.HasFailed());
    EXPECT_THAT(Calls(), IsEmpty());
    EXPECT_THAT(traces.Take(), ElementsAre("1:Error in Allocating InterfaceAction\n"));
    EXPECT_STREQ(registry.GetIfName(10, failingOne), "eth0");
    EXPECT_EQ(registry.FindInterface(10, failingOne)->status, 1U);
  }
}

TEST_F(InterfaceAllocation, RecordFollowsEveryInterfaceEvent) {
  Register(10, 3, "eth0");
  {
    const FailingNew failing(1);
    registry.SetInterfaceDown(10, 3, "eth0");
    EXPECT_TRUE(failing.HasFailed());
  }
  EXPECT_EQ(registry.FindInterface(10, 3)->status, 2U);
  {
    const FailingNew failing(2);
    registry.SetInterfaceUp(10, 3, "eth0");
    EXPECT_TRUE(failing.HasFailed());
  }
  EXPECT_EQ(registry.FindInterface(10, 3)->status, 1U);
  {
    const FailingNew failing(1);
    registry.RemoveInterface(10, 3, "eth0");
    EXPECT_TRUE(failing.HasFailed());
  }
  EXPECT_EQ(registry.FindInterface(10, 3), nullptr);
  EXPECT_THAT(Calls(), IsEmpty());
  EXPECT_EQ(traces.CountOf("1:Error in Allocating InterfaceAction\n"), 3U);
}

TEST_F(InterfaceAllocation, AddressRequestIsDroppedSilently) {
  Register(10, 3, "eth0");
  {
    const FailingNew failing(1);
    registry.AddIpAddress(10, 3, Ip4Addr(10, 1, 2, 3), Ip4Addr(255, 255, 255, 0));
    EXPECT_TRUE(failing.HasFailed());
  }
  EXPECT_EQ(StoredAddress(10, 3), "10.1.2.3/255.255.255.0");
  {
    const FailingNew failing(1);
    registry.AddIpAddress(10, 3, Address6("2001:db8::1"), 64);
    EXPECT_TRUE(failing.HasFailed());
  }
  EXPECT_THAT(Prefixes(10, 3), ElementsAre("2001:db8::/64"));
  {
    const FailingNew failing(1);
    registry.DeleteIpAddress(10, 3, Ip4Addr(10, 1, 2, 3), Ip4Addr(255, 255, 255, 0));
    EXPECT_TRUE(failing.HasFailed());
  }
  EXPECT_EQ(StoredAddress(10, 3), "0.0.0.0/0.0.0.0");
  EXPECT_THAT(Calls(), IsEmpty());
  EXPECT_THAT(traces.Take(), IsEmpty());
}

TEST_F(InterfaceAllocation, ChangeGoesOnWithTheRequestsThatCanBeMade) {
  Register(10, 3, "eth0");
  registry.AddIpAddress(10, 3, Ip4Addr(10, 1, 2, 3), Ip4Addr(255, 255, 255, 0));
  Forget();
  const FailingNew failing(1);
  registry.ChangeIpAddress(10, 3, Ip4Addr(10, 1, 9, 9), Ip4Addr(255, 255, 0, 0));
  EXPECT_TRUE(failing.HasFailed());
  EXPECT_THAT(TakeCalls(), ElementsAre("sms_act_ipaddr(1, 10, 1, 3, 10.1.9.9, 16)"));
  EXPECT_EQ(StoredAddress(10, 3), "10.1.9.9/255.255.0.0");
}

// Without a router manager there is no serializer either.
class LonelyRegistry : public test_support::DeviceFixture {};

TEST_F(LonelyRegistry, RequestIsDroppedWithoutARouterManager) {
  Tarsel::DcInterfaceMgr& registry = *Tarsel::DcInterfaceMgr::GetInstance();
  const FailingNew failing(2);
  registry.AddIpAddress(10, 3, Ip4Addr(10, 1, 2, 3), Ip4Addr(255, 255, 255, 0));
  EXPECT_TRUE(failing.HasFailed());
  EXPECT_EQ(traces.CountOf("0:Error in allocating DcRouterMgr\n"), 1U);
  EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(LonelyRegistry, ChangeIsStoredWithoutARouterManagerToTell) {
  Tarsel::DcInterfaceMgr& registry = *Tarsel::DcInterfaceMgr::GetInstance();
  const FailingNew failing(1, FailingNew::FROM_THEN_ON);
  registry.AddInterface(10, 3, "eth0", Tarsel::DcInterfaceMgr::INTF_TYPE_NONE, 0, 0, 1);
  registry.ChangeIpAddress(10, 3, Ip4Addr(10, 1, 2, 3), Ip4Addr(255, 255, 255, 0));
  EXPECT_EQ(traces.CountOf("0:Error in allocating DcRouterMgr\n"), 1U);
  EXPECT_EQ(registry.FindInterface(10, 3)->address, Ip4Addr(10, 1, 2, 3));
  EXPECT_THAT(Calls(), IsEmpty());
}

}  // namespace
