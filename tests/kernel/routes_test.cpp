// What the stack has installed is in the kernel's tables, whatever happens.

#include <gmock/gmock.h>
#include <unistd.h>

#include "namespace_fixture.h"

namespace {

using kernel_test::KernelTest;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

class KernelRoutes : public KernelTest {
 protected:
  static constexpr const char* VLAN20_CONNECTED = "10.1.0.0/24 dev r2 table 40020 scope link";
};

TEST_F(KernelRoutes, InstalledRoutesAreInTheTablesOfTheirVlans) {
  WriteRoutes({{"10.9.0.0/16", "10.1.0.2"}, {"2001:db8:9::/48", "2001:db8:1::2"}},
              {{"10.9.0.0/16", "10.1.0.9"}, {"0.0.0.0/0", "10.1.0.8"}});
  Start();
  AwaitPass();
  EXPECT_THAT(OurRoutes(), ElementsAre(VLAN20_CONNECTED, "10.9.0.0/16 via 10.1.0.2 dev r1",
                                       "10.9.0.0/16 via 10.1.0.9 dev r2 table 40020",
                                       "2001:db8:9::/48 via 2001:db8:1::2 dev r1",
                                       "default via 10.1.0.8 dev r2 table 40020"));
  EXPECT_EQ("10.9.1.1 via 10.1.0.2 dev r1", WayTo("10.9.1.1"));
  EXPECT_THAT(Ask("status", "sessions"), HasSubstr("kernel          5 of 5 routes installed"));
  EXPECT_THAT(
      Ask("status json", "sessions"),
      HasSubstr(
          R"("kernel":{"written":true,"wanted":5,"installed":5,"refused":0,"refusals":[],"rules":{"written":false,)"));
  EXPECT_THAT(Ask("metrics", "overruns_total 0"),
              HasSubstr("vantacore_kernel_routes_installed 5\n"));
  End();
  EXPECT_THAT(OurRoutes(), SizeIs(5)) << "a device that ends leaves forwarding as it is";
}

TEST_F(KernelRoutes, ADeviceThatDoesNotSayItTouchesNothing) {
  WriteDevice(R"({"routes": false})");
  WriteRoutes({{"10.9.0.0/16", "10.1.0.2"}});
  Ip("route add 10.8.0.0/16 via 10.1.0.2 proto 201 metric 220");
  Start();
  AwaitPass();
  EXPECT_THAT(Verify(), Not(HasSubstr("kernel")));
  EXPECT_THAT(Ask("status json", "sessions"), HasSubstr(R"("kernel":{"written":false,)"));
  EXPECT_THAT(OurRoutes(), ElementsAre("10.8.0.0/16 via 10.1.0.2 dev r1"));
}

TEST_F(KernelRoutes, AReloadChangesWhatHasChanged) {
  WriteRoutes({{"10.8.0.0/16", "10.1.0.2"},
               {"10.9.0.0/16", "10.1.0.2"},
               {"2001:db8:9::/48", "2001:db8:1::2"}});
  Start();
  AwaitPass();
  WriteRoutes({{"10.8.0.0/16", "10.1.0.3"},
               {"10.7.0.0/16", "10.1.0.2"},
               {"2001:db8:9::/48", "2001:db8:1::3"}});
  Reload();
  AwaitPass();
  EXPECT_THAT(OurRoutes(), ElementsAre(VLAN20_CONNECTED, "10.7.0.0/16 via 10.1.0.2 dev r1",
                                       "10.8.0.0/16 via 10.1.0.3 dev r1",
                                       "2001:db8:9::/48 via 2001:db8:1::3 dev r1"));
}

// It is the default of consoles only, once the device runs.
TEST_F(KernelRoutes, AnotherDefaultVlanMovesNoRoute) {
  WriteRoutes({{"10.9.0.0/16", "10.1.0.2"}}, {{"10.9.0.0/16", "10.1.0.2"}});
  Start();
  AwaitPass();
  WriteDevice(R"({"routes": true})", 20);
  Reload();
  AwaitPass();
  WriteRoutes({{"10.8.0.0/16", "10.1.0.2"}}, {{"10.8.0.0/16", "10.1.0.2"}});
  Reload();
  AwaitPass();
  EXPECT_THAT(OurRoutes(), ElementsAre(VLAN20_CONNECTED, "10.8.0.0/16 via 10.1.0.2 dev r1",
                                       "10.8.0.0/16 via 10.1.0.2 dev r2 table 40020"));
}

// A stack that is held is told nothing when it has restarted.
TEST_F(KernelRoutes, WhatIsThereGoesInTimeThoughTheDeviceDoesNotSettle) {
  WriteRoutes({{"10.9.0.0/16", "10.1.0.2"}});
  Start({"--sweep-after", "1"});
  AwaitPass();
  daemon->Send("lab stack hold\nlab stack restart\n");
  daemon->ReadErrorsUntil("The device has not settled in 1 second");
  for (int i = 0; i < 100 && !OurRoutes().empty(); ++i) {
    usleep(50000);
  }
  EXPECT_THAT(OurRoutes(), IsEmpty());
  daemon->Send("lab stack release\n");
  AwaitPass();
  EXPECT_THAT(OurRoutes(), SizeIs(2));
}

TEST_F(KernelRoutes, AReloadTakesItAllOutAndPutsItElsewhere) {
  WriteRoutes({{"10.9.0.0/16", "10.1.0.2"}}, {{"10.9.0.0/16", "10.1.0.2"}});
  Start();
  AwaitPass();
  WriteDevice(R"({"routes": true, "table_base": 50000})");
  EXPECT_THAT(Ask("diff", "request"), HasSubstr("kernel tables from 50000 on, was 40000"));
  Reload();
  AwaitPass();
  EXPECT_THAT(OurRoutes(), ElementsAre("10.1.0.0/24 dev r2 table 50020 scope link",
                                       "10.9.0.0/16 via 10.1.0.2 dev r1",
                                       "10.9.0.0/16 via 10.1.0.2 dev r2 table 50020"));
  WriteDevice(R"({"routes": false})");
  EXPECT_THAT(Ask("diff", "request"), HasSubstr("routes are taken out of the kernel's tables"));
  Reload();
  AwaitPass();
  EXPECT_THAT(OurRoutes(), IsEmpty());
  WriteDevice();
  Reload();
  AwaitPass();
  EXPECT_THAT(OurRoutes(), SizeIs(3));
}

TEST_F(KernelRoutes, ALinkThatGoesAndComesBackHasItsRoutesAgain) {
  WriteRoutes({{"10.9.0.0/16", "10.1.0.2"}, {"2001:db8:9::/48", "2001:db8:1::2"}});
  Start();
  AwaitPass();
  Ip("link set r1 down");
  EXPECT_THAT(Ip("route show table main proto 201"), IsEmpty()) << "as the kernel does";
  Ip("link set r1 up");
  Ip("address replace 2001:db8:1::1/64 dev r1 nodad");
  AwaitPass();
  EXPECT_THAT(OurRoutes(), SizeIs(3));
  EXPECT_EQ("10.9.1.1 via 10.1.0.2 dev r1", WayTo("10.9.1.1"));
}

// A socket that is full tells of that as of an error, once; what comes afterwards is heard again.
TEST_F(KernelRoutes, LinksAreStillHeardWhenMoreHadChangedThanASocketHolds) {
  WriteRoutes({{"10.9.0.0/16", "10.1.0.2"}});
  Start();
  AwaitPass();
  FloodWhileStopped();
  AwaitPass();
  EXPECT_THAT(Ask("metrics\nversion", "console protocol"),
              testing::ContainsRegex("vantacore_kernel_overruns_total [1-9]"));
  Ip("link set r1 down");
  Ip("link set r1 up");
  for (int i = 0; i < 200 && OurRoutes().size() < 2; ++i) {
    usleep(50000);
  }
  EXPECT_THAT(OurRoutes(), SizeIs(2)) << "nobody has asked for a comparison";
}

TEST_F(KernelRoutes, SwitchesThatStandAgainstForwardingAreToldAndLeftAlone) {
  WriteRoutes({{"10.9.0.0/16", "10.1.0.2"}, {"2001:db8:9::/48", "2001:db8:1::2"}});
  Start();
  AwaitPass();
  EXPECT_THAT(Verify(), HasSubstr("PASS  forwarding switches: "));
  Switch("ipv4/conf/r1/forwarding", 0);
  EXPECT_THAT(Verify(), HasSubstr("FAIL  kernel: /proc/sys/net/ipv4/conf/r1/forwarding is 0: "
                                  "nothing that comes in there is forwarded\n"));
  Switch("ipv4/ip_forward", 0);
  Switch("ipv6/conf/all/forwarding", 0);
  Switch("ipv4/conf/r1/rp_filter", 1);
  Switch("ipv4/conf/r2/rp_filter", 1);
  const std::string verdict = Verify();
  EXPECT_THAT(verdict, HasSubstr("FAIL  kernel: /proc/sys/net/ipv4/ip_forward is 0: nothing of "
                                 "IPv4 is forwarded\n"));
  EXPECT_THAT(verdict, HasSubstr("/proc/sys/net/ipv6/conf/all/forwarding is 0: "));
  EXPECT_THAT(verdict, HasSubstr("/proc/sys/net/ipv4/conf/r2/rp_filter is 1: "));
  EXPECT_THAT(verdict, Not(HasSubstr("conf/r1/"))) << "the main table leads back there";
  EXPECT_THAT(Ask("status", "sessions"),
              HasSubstr("0 refused\n                /proc/sys/net/ipv4/ip_forward is 0: "));
  EXPECT_THAT(Ask("status json", "sessions"),
              HasSubstr(R"("obstacles":["/proc/sys/net/ipv4/ip_forward is 0: )"));
}

TEST_F(KernelRoutes, AVerificationMayBeOfTheKernelOnly) {
  WriteRoutes({{"10.9.0.0/16", "10.1.0.2"}});
  Start();
  AwaitPass();
  const std::string kernel = Ask("verify kernel\nversion", "console protocol");
  EXPECT_THAT(kernel, HasSubstr("PASS  routes in the kernel: "));
  EXPECT_THAT(kernel, HasSubstr("PASS  forwarding switches: "));
  EXPECT_THAT(kernel, Not(HasSubstr("instances")));
  EXPECT_THAT(kernel, Not(HasSubstr("folder")));
  Switch("ipv4/ip_forward", 0);
  Ip("route delete 10.9.0.0/16 proto 201");
  EXPECT_THAT(Ask("verify stack\nversion", "console protocol"), Not(HasSubstr("FAIL")));
  const std::string broken = Ask("verify kernel\nversion", "console protocol");
  EXPECT_THAT(broken, HasSubstr("FAIL  kernel: route 10.9.0.0/16 in table 254 was missing"));
  EXPECT_THAT(broken, HasSubstr("FAIL  kernel: /proc/sys/net/ipv4/ip_forward is 0: "));
  folder.Write("vlans.json", "{");
  EXPECT_THAT(Verify(), HasSubstr("FAIL  folder: it cannot be applied, 1 error"));
}

// The stack believes the document; the kernel has a word of its own.
TEST_F(KernelRoutes, ARefusedRouteIsADifferenceUntilTheAddressIsThere) {
  WriteRoutes({{"10.8.0.0/16", "10.1.0.2"}, {"10.9.0.0/16", "10.1.0.2"}});
  Ip("address delete 10.1.0.1/24 dev r1");
  Start();
  const std::string refused = Verify();
  EXPECT_THAT(refused, HasSubstr("FAIL  kernel: route 10.9.0.0/16 in table 254 is refused: "
                                 "Network is unreachable (Nexthop has invalid gateway)"));
  EXPECT_THAT(refused, HasSubstr("FAIL: 2 rows are not as wanted"));
  EXPECT_THAT(Ask("status", "sessions"), HasSubstr("1 of 3 routes installed, 2 refused"));
  EXPECT_THAT(daemon->ReadErrorsUntil("it is asked again"),
              HasSubstr("The kernel refuses the route 10."));
  Ip("address add 10.1.0.1/24 dev r1");
  AwaitPass();
  EXPECT_THAT(OurRoutes(), SizeIs(3));
}

// No kernel of a test has one of this name; what follows when it comes, vrf_test.cpp tells.
TEST_F(KernelRoutes, AVlanWhoseVrfDeviceIsNotThereHasNone) {
  WriteDevice(R"({"routes": true, "rules": true, "vrfs": {"blue": 20}})");
  WriteRoutes({{"10.9.0.0/16", "10.1.0.2"}}, {{"10.9.0.0/16", "10.1.0.2"}});
  Start();
  daemon->ReadErrorsUntil(
      "No routes of VLAN 20 are written into the kernel: its VRF device blue is not there");
  EXPECT_THAT(Verify(), HasSubstr("FAIL  kernel: no routes of VLAN 20 are written: its VRF device "
                                  "blue is not there\n"));
  EXPECT_THAT(Verify(), HasSubstr("PASS  routes in the kernel: 1 as wanted\n"));
  EXPECT_THAT(Ask("status", "sessions"),
              HasSubstr("no routes of VLAN 20: its VRF device blue is not there\n"));
  EXPECT_THAT(
      Ask("status json", "sessions"),
      HasSubstr(
          R"("vrfs":[{"name":"blue","vlan":20,"table":null,"problem":"its VRF device blue is not there"}])"));
  EXPECT_THAT(OurRoutes(), ElementsAre("10.9.0.0/16 via 10.1.0.2 dev r1"));
  EXPECT_THAT(Ip("rule show"), Not(HasSubstr("proto 201")));
  WriteDevice();
  EXPECT_THAT(Ask("diff", "request"), HasSubstr("VRF devices: none, was blue for VLAN 20"));
  Reload();
  AwaitPass();
  EXPECT_THAT(OurRoutes(), SizeIs(3));
}

TEST_F(KernelRoutes, AKilledDaemonFindsItsRoutes) {
  WriteRoutes({{"10.8.0.0/16", "10.1.0.2"}, {"10.9.0.0/16", "10.1.0.2"}});
  Start();
  AwaitPass();
  Kill();
  EXPECT_THAT(OurRoutes(), SizeIs(3));
  WriteRoutes({{"10.9.0.0/16", "10.1.0.2"}, {"10.7.0.0/16", "10.1.0.2"}});
  Start();
  AwaitPass();
  EXPECT_THAT(OurRoutes(), ElementsAre(VLAN20_CONNECTED, "10.7.0.0/16 via 10.1.0.2 dev r1",
                                       "10.9.0.0/16 via 10.1.0.2 dev r1"));
  EXPECT_THAT(Ask("metrics", "overruns_total 0"),
              HasSubstr("vantacore_kernel_requests_total{result=\"added\"} 1\n"))
      << "what was there was taken over";
}

TEST_F(KernelRoutes, ARestartOfTheStackChangesNothing) {
  WriteRoutes({{"10.9.0.0/16", "10.1.0.2"}});
  Start();
  AwaitPass();
  daemon->Send("lab stack restart\n");
  daemon->ReadErrorsUntil("lab stack restart");
  AwaitPass();
  EXPECT_THAT(Ask("metrics", "vantacore_stack_ready 1"),
              HasSubstr("vantacore_stack_restarts_total 1\n"));
  EXPECT_THAT(OurRoutes(), SizeIs(2));
  EXPECT_THAT(Ask("metrics", "overruns_total 0"),
              HasSubstr("vantacore_kernel_requests_total{result=\"deleted\"} 0\n"));
}

TEST_F(KernelRoutes, AThousandRoutesComeAndGo) {
  std::vector<kernel_test::Route> routes;
  for (int i = 0; i < 1000; ++i) {
    routes.push_back(
        {"20." + std::to_string(i / 250) + "." + std::to_string(i % 250) + ".0/24", "10.1.0.2"});
  }
  WriteRoutes(routes);
  Start();
  AwaitPass();
  EXPECT_THAT(OurRoutes(), SizeIs(1001));
  WriteRoutes({});
  Reload(" force");
  AwaitPass();
  EXPECT_THAT(OurRoutes(), ElementsAre(VLAN20_CONNECTED));
}

}  // namespace
