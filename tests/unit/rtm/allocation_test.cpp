// What comes of a request, or of the manager itself, when memory runs out.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/device_fixture.h"
#include "tests/support/failing_new.h"
#include "vantacore/cfg_items.h"
#include "vantacore/dc_rtm_mgr.h"
#include "vantacore/dcrouter_api.h"

namespace {

using Tarsel::DcRtmMgr;
using Tarsel::Ip4Addr;
using test_support::FailingNew;
using testing::ElementsAre;
using testing::IsEmpty;

class RtmAllocation : public test_support::DeviceFixture {};

TEST_F(RtmAllocation, ManagerThatCannotBeAllocatedIsNullAndComesLater) {
  {
    const FailingNew failing(1);
    EXPECT_EQ(DcRtmMgr::GetInstance(), nullptr);
    EXPECT_TRUE(failing.HasFailed());
  }
  EXPECT_THAT(traces.Take(),
              ElementsAre("0:DcRtmMgr::GetInstance: Error in allocating DcRtmMgr\n"));
  EXPECT_NE(DcRtmMgr::GetInstance(), nullptr);
  EXPECT_THAT(traces.Take(), IsEmpty());
}

TEST_F(RtmAllocation, NoDestinationIsReadyWithoutARouterManager) {
  Tarsel::RouteRedistributeItem rule(1, 1, 2, Tarsel::PROTOCOL_CODE_RIP, 0, 10, 0);
  const FailingNew failing(1);
  EXPECT_FALSE(rule.CfgItemReady());
  EXPECT_TRUE(failing.HasFailed());
  EXPECT_EQ(traces.CountOf("0:Error in allocating DcRouterMgr\n"), 1U);
}

TEST_F(RtmAllocation, CallbacksBearTheAbsenceOfTheManager) {
  const unsigned char address[4] = {10, 0, 0, 0};
  amb_cipr_rtm_entity row;
  row.word[0] = 77;
  {
    const FailingNew failing(1);
    cSetRouteState(10, 1, address, 8, address, 1, 1, 0x30000, 1, 1, 0, 1);
    EXPECT_TRUE(failing.HasFailed());
  }
  {
    const FailingNew failing(1);
    cSetRedistState(1, 1, 2, 3, 0, 10, 0, 1);
    EXPECT_TRUE(failing.HasFailed());
  }
  {
    const FailingNew failing(1);
    cSetRtmReady(10);
    EXPECT_TRUE(failing.HasFailed());
  }
  {
    const FailingNew failing(1);
    EXPECT_EQ(cIsRtmReady(10), 0);
    EXPECT_TRUE(failing.HasFailed());
  }
  {
    const FailingNew failing(1);
    EXPECT_EQ(cGetRtmConfig(10, &row), 2);
    EXPECT_TRUE(failing.HasFailed());
  }
  EXPECT_EQ(row.word[0], 77U);
  EXPECT_EQ(traces.Take().size(), 5U);
  EXPECT_EQ(cIsRtmReady(10), 0);
}

TEST_F(RtmAllocation, ItemsAreNotReadyWithoutTheManager) {
  const unsigned char address[4] = {10, 0, 0, 0};
  Tarsel::StaticRouteItem route(10, 1, 1, 1, address, 8, address, 1, 1, 0x30000, 0);
  Tarsel::RouteRedistributeItem rule(1, 1, 2, 3, 0, 10, 0);
  {
    const FailingNew failing(1);
    EXPECT_FALSE(route.CfgListReady());
    EXPECT_TRUE(failing.HasFailed());
  }
  {
    const FailingNew failing(1);
    EXPECT_FALSE(rule.CfgListReady());
    EXPECT_TRUE(failing.HasFailed());
  }
  {
    const FailingNew failing(1);
    EXPECT_FALSE(rule.RemoveOnNotReady());
    EXPECT_TRUE(failing.HasFailed());
  }
}

TEST_F(RtmAllocation, RouteRequestThatCannotBeAllocatedIsDropped) {
  DcRtmMgr* rtm = DcRtmMgr::GetInstance();
  Start();
  traces.Take();
  const FailingNew failing(1);
  rtm->UpdateStaticRoute(10, Ip4Addr(10, 9, 0, 0), 16, Ip4Addr(10, 1, 2, 1), 3, 5, 0x30000, 1U, 1U);
  EXPECT_TRUE(failing.HasFailed());
  EXPECT_THAT(traces.Take(),
              ElementsAre("1:DcRtmMgr::UpdateStaticRoute: Error in Allocating RouteItem\n"));
  EXPECT_FALSE(Manager().GetCfgSched().IsRunning());
}

TEST_F(RtmAllocation, RuleThatCannotBeAllocatedIsDropped) {
  DcRtmMgr* rtm = DcRtmMgr::GetInstance();
  Start();
  traces.Take();
  const FailingNew failing(1);
  rtm->Redistribute(1, 1, 0x20000, 0xD0000, 10);
  EXPECT_TRUE(failing.HasFailed());
  EXPECT_THAT(traces.Take(), ElementsAre("1:Error in allocating Redistribution Item\n"));
  EXPECT_FALSE(Manager().GetCfgSched().IsRunning());
}

// Without a router manager there is no scheduler either.
TEST_F(RtmAllocation, RequestsWithoutARouterManagerAreDropped) {
  DcRtmMgr* rtm = DcRtmMgr::GetInstance();
  {
    const FailingNew failing(2);
    rtm->UpdateStaticRoute(10, Ip4Addr(10, 9, 0, 0), 16, Ip4Addr(10, 1, 2, 1), 3, 5, 0x30000, 1U,
                           1U);
    EXPECT_TRUE(failing.HasFailed());
  }
  {
    const FailingNew failing(2);
    rtm->Redistribute(1, 1, 0x20000, 0xD0000, 10);
    EXPECT_TRUE(failing.HasFailed());
  }
  {
    const FailingNew failing(1);
    rtm->UpdateRedistributionCallback(10, 0x20000, 0xD0000, 1, 1, 0, 1);
    EXPECT_TRUE(failing.HasFailed());
  }
  EXPECT_EQ(traces.CountOf("0:Error in allocating DcRouterMgr\n"), 3U);
  Start();
  EXPECT_FALSE(Manager().GetCfgSched().IsRunning());
}

TEST_F(RtmAllocation, OutcomeIsLoggedThoughThereIsNoRouterManager) {
  const unsigned char address[4] = {10, 0, 0, 0};
  DcRtmMgr* rtm = DcRtmMgr::GetInstance();
  {
    const FailingNew failing(1);
    rtm->UpdateRouteCallback(10, 1, address, 8, address, 1, 1, 0x30000, 1, 1, 0, 3);
    EXPECT_TRUE(failing.HasFailed());
  }
  EXPECT_THAT(
      traces.Take(),
      ElementsAre("10:Route Update Response from Metaswitch: vlan = 10, dest= 10.0.0.0/8 "
                  "nexthop: 10.0.0.0\n",
                  "10:Unable to set route. No retry!!!\n", "10:Creating new Instance of Manager\n",
                  "0:Error in allocating DcRouterMgr\n"));
  {
    const FailingNew failing(1);
    rtm->UpdateRedistributionCallback(10, 2, 3, 1, 1, 0, 1);
    EXPECT_TRUE(failing.HasFailed());
  }
  EXPECT_THAT(
      traces.Take(),
      ElementsAre("10:Redistribution Response from Metaswitch: vlan=10 src=2 dst=3 status=1\n",
                  "10:Redistribution Request Success\n", "10:Creating new Instance of Manager\n",
                  "0:Error in allocating DcRouterMgr\n"));
}

}  // namespace
