// Events from the host, the stack's descriptors and its traces.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "stack/sms.h"
#include "tests/unit/manager/recording_routers.h"
#include "vantacore/dc_interface_mgr.h"
#include "vantacore/dc_router_base.h"

namespace Tarsel {
namespace {

using recording_routers::AllRouters;
using recording_routers::GetBehaviour;
using recording_routers::ManagerFixture;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

class NetworkEvents : public ManagerFixture {
 protected:
  NetworkEvents() {
    Start();
    Manager().CreateVlan(10, NoOptions(), DclConfigObject::VLAN_OPTIONS);
    Manager().CreateVlan(20, NoOptions(), DclConfigObject::VLAN_OPTIONS);
    traces.Take();
    TakeCalls();
  }
};

// --- interfaces ---

TEST_F(NetworkEvents, InterfaceStatusReachesEveryRouterOfTheVlan) {
  Manager().ProcessInterfaceStatusChange(10, 3, 2);
  EXPECT_EQ("10:Updating Interface Status of Interface 3\n", traces.Lines().front());
  EXPECT_THAT(TakeRouterEvents(), ElementsAreArray(AllRouters(10, " interface 3 status 2")));
}

TEST_F(NetworkEvents, InterfaceStatusOfAnUnknownVlanIsOnlyLogged) {
  Manager().ProcessInterfaceStatusChange(30, 3, 1);
  EXPECT_THAT(traces.Take(), ElementsAre("10:Updating Interface Status of Interface 3\n"));
  EXPECT_EQ(2U, Manager().GetVlans().size());
}

TEST_F(NetworkEvents, AddressReachesEveryRouterOfTheVlan) {
  Manager().ProcessIPAddressChange(20, 4, Ip4Addr(10, 1, 2, 3));
  EXPECT_EQ("10:Updating IP Address Change to Interface 4\n", traces.Lines().front());
  EXPECT_THAT(TakeRouterEvents(),
              ElementsAreArray(AllRouters(20, " interface 4 address 10.1.2.3")));
}

TEST_F(NetworkEvents, AddressOfAnUnknownVlanIsOnlyLogged) {
  Manager().ProcessIPAddressChange(30, 4, Ip4Addr(10, 1, 2, 3));
  EXPECT_THAT(traces.Take(), ElementsAre("10:Updating IP Address Change to Interface 4\n"));
  EXPECT_EQ(2U, Manager().GetVlans().size());
}

TEST_F(NetworkEvents, LargeIndicesAndStatesArriveUncut) {
  Manager().CreateVlan(65535, NoOptions(), DclConfigObject::VLAN_OPTIONS);
  traces.Take();
  Manager().ProcessInterfaceStatusChange(65535, 4294967295U, 65535);
  EXPECT_EQ("10:Updating Interface Status of Interface 4294967295\n", traces.Lines().front());
  EXPECT_THAT(TakeRouterEvents(),
              ElementsAreArray(AllRouters(65535, " interface 4294967295 status 65535")));
  Manager().ProcessIPAddressChange(65535, 4294967295U, Ip4Addr(10, 1, 2, 3));
  EXPECT_EQ("10:Updating IP Address Change to Interface 4294967295\n", traces.Lines().front());
  EXPECT_THAT(TakeRouterEvents(),
              ElementsAreArray(AllRouters(65535, " interface 4294967295 address 10.1.2.3")));
}

// Of the registry's events only a changed address is passed on; the rest is the host's to tell.
TEST_F(NetworkEvents, TheInterfaceRegistryPassesOnlyAChangedAddress) {
  DcInterfaceMgr& interfaces = *DcInterfaceMgr::GetInstance();
  const Ip4Addr mask(255, 255, 255, 0);
  interfaces.AddInterface(10, 3, "eth0", DcInterfaceMgr::INTF_TYPE_NONE, 24, 0, 1);
  interfaces.AddIpAddress(10, 3, Ip4Addr(10, 1, 2, 3), mask);
  interfaces.SetInterfaceDown(10, 3, "eth0");
  interfaces.SetInterfaceUp(10, 3, "eth0");
  EXPECT_THAT(TakeRouterEvents(), IsEmpty());
  interfaces.ChangeIpAddress(10, 3, Ip4Addr(10, 1, 2, 4), mask);
  EXPECT_THAT(TakeRouterEvents(),
              ElementsAreArray(AllRouters(10, " interface 3 address 10.1.2.4")));
}

// --- remotes ---

TEST_F(NetworkEvents, JoiningAddsTheInterfaceToAnEnabledIgmpRouter) {
  GetBehaviour().enabled = {"IGMP:10"};
  for (const unsigned int ifIndex : {3U, 4294967295U}) {
    Manager().JoinNetwork(10, ifIndex);
    EXPECT_THAT(traces.Take(),
                ElementsAre("10:~IGMP:10 asked\n",
                            "10:~IGMP:10 add interface " + std::to_string(ifIndex) + "\n"));
  }
}

TEST_F(NetworkEvents, JoiningADisabledIgmpRouterChangesNothing) {
  GetBehaviour().enabled = {"MLD:10", "IGMP:20"};
  Manager().JoinNetwork(10, 3);
  EXPECT_THAT(traces.Take(), ElementsAre("10:~IGMP:10 asked\n"));
}

TEST_F(NetworkEvents, LeavingOnlyAsksTheIgmpRouter) {
  GetBehaviour().enabled = {"IGMP:10"};
  Manager().LeaveNetwork(10, 3);
  EXPECT_THAT(traces.Take(), ElementsAre("10:~IGMP:10 asked\n"));
}

TEST_F(NetworkEvents, JoiningAndLeavingAnUnknownVlanIsReported) {
  Manager().JoinNetwork(30, 3);
  Manager().LeaveNetwork(65535, 3);
  EXPECT_THAT(traces.Take(),
              ElementsAre("-:Connected remote to inet with VLAN 30 before loading VLAN options... "
                          "Skipping\n",
                          "-:Connected remote to inet with VLAN 65535 before loading VLAN "
                          "options... Skipping\n"));
}

TEST_F(NetworkEvents, AVlanWithoutIgmpRouterIsReported) {
  // While a VLAN goes, its routers go one by one.
  GetBehaviour().onDestroy = [this](const std::string& name) {
    if (name == "IGMP:10") {
      Manager().JoinNetwork(10, 3);
      Manager().LeaveNetwork(10, 3);
    }
  };
  Manager().DeleteVlan(10);
  GetBehaviour().onDestroy = nullptr;
  EXPECT_EQ(2U, traces.CountOf("-:Cannot find IGMP router\n"));
}

// --- host interfaces and descriptors ---

TEST_F(NetworkEvents, TheSocketInterfaceIsBound) {
  test_support::SocketRecorder other;
  Manager().SckInterfaceInitialize(&other);
  EXPECT_THAT(traces.Take(), ElementsAre("10:Initializing SckDescriptor\n"));
  Manager().SetFiledescriptors(7, 3, 1);
  EXPECT_THAT(other.calls, ElementsAre("register fd=7 mode=1 id=3"));
  EXPECT_THAT(sockets.calls, IsEmpty());
}

TEST_F(NetworkEvents, ThePeerInterfaceIsOnlyAnnounced) {
  DcQuorpInterface peer;
  Manager().QuorpInterfaceInitialize(&peer);
  EXPECT_THAT(traces.Take(), ElementsAre("10:Initializing quorpinterface \n"));
}

TEST_F(NetworkEvents, DescriptorsReachTheSocketInterface) {
  Manager().SetFiledescriptors(70000, 80000, 90000);
  Manager().ChangeMask(70000, 90001);
  Manager().RemoveFiledescriptors(70000, 80000);
  EXPECT_THAT(sockets.calls, ElementsAre("register fd=70000 mode=90000 id=80000",
                                         "change fd=70000 mode=90001", "remove fd=70000 id=80000"));
}

TEST_F(NetworkEvents, DescriptorsAreDroppedWhileThereIsNoSocketInterface) {
  Manager().SckInterfaceInitialize(nullptr);
  Manager().SetFiledescriptors(7, 3, 1);
  Manager().ChangeMask(7, 2);
  Manager().RemoveFiledescriptors(7, 3);
  EXPECT_THAT(sockets.calls, IsEmpty());
}

TEST_F(NetworkEvents, AReadyDescriptorRunsTheStacksHandlerAtOnce) {
  ASSERT_TRUE(Settle());
  std::vector<int> events;
  Control().RegisterDescriptor(9, 5, 1, [&events](int ready) { events.push_back(ready); });
  ASSERT_TRUE(Settle());
  Manager().SocketCallback(9, 6);
  EXPECT_THAT(events, ElementsAre(6));
}

// --- the stack's traces ---

TEST_F(NetworkEvents, TraceControlsCountTheStacksFailuresFromZero) {
  char filter[] = "3,4";
  nbb_os_failures = 5;
  Manager().TripsControl(true);
  EXPECT_EQ(0U, nbb_os_failures);
  nbb_os_failures = 5;
  Manager().SetIPSFilter(filter, 6);
  EXPECT_EQ(0U, nbb_os_failures);
  nbb_os_failures = 5;
  EXPECT_TRUE(Manager().GetIPSTracing());
  EXPECT_EQ(0U, nbb_os_failures);
  Manager().TripsControl(false);
  EXPECT_FALSE(Manager().GetIPSTracing());
  EXPECT_THAT(TakeCalls(), ElementsAre("nbb_trips_control(1)", "nbb_set_ips_filter(\"3,4\", 6)",
                                       "nbb_get_ips_tracing()", "nbb_trips_control(0)",
                                       "nbb_get_ips_tracing()"));
}

TEST_F(NetworkEvents, TheNumberOfATraceFilterArrivesUncut) {
  char filter[] = "9";
  Manager().SetIPSFilter(filter, 0xFEDC);
  EXPECT_THAT(TakeCalls(), ElementsAre("nbb_set_ips_filter(\"9\", 65244)"));
}

// What the stack counts during a call is left for whoever asks.
TEST_F(NetworkEvents, TheStacksFailuresAreForgottenBeforeItIsCalled) {
  std::vector<unsigned int> before;
  Control().SetCallObserver([&before](routing_stack::Call, const std::string&) {
    before.push_back(nbb_os_failures);
    nbb_os_failures = 7;
  });
  char filter[] = "3,4";
  nbb_os_failures = 5;
  Manager().TripsControl(true);
  EXPECT_EQ(7U, nbb_os_failures);
  Manager().SetIPSFilter(filter, 6);
  EXPECT_EQ(7U, nbb_os_failures);
  Manager().GetIPSTracing();
  EXPECT_EQ(7U, nbb_os_failures);
  EXPECT_THAT(before, ElementsAre(0U, 0U, 0U));
}

// --- BGP ---

TEST_F(NetworkEvents, ABgpActionUsesTheLowHalfOfTheVlanAndItsIpv4Instance) {
  char word[] = "clear";
  char* argv[] = {word};
  Manager().BgpPeerAct(0x10000 + 10, 1, argv);
  EXPECT_THAT(traces.Take(),
              ElementsAre("10:~BGP router of instance 10\n", "10:~BGP:10 act 10 1 clear\n"));
}

TEST_F(NetworkEvents, ABgpActionWithoutRouterDoesNothing) {
  char word[] = "clear";
  char* argv[] = {word};
  Manager().BgpPeerAct(30, 1, argv);
  EXPECT_THAT(traces.Take(), ElementsAre("10:~BGP router of instance 30\n"));
}

}  // namespace
}  // namespace Tarsel
