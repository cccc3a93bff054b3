// VLANs whose routes are in the tables of VRF devices, with a kernel that has such devices.

#include <gmock/gmock.h>
#include <unistd.h>

#include "namespace_fixture.h"

namespace {

using kernel_test::KernelTest;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

constexpr const char* VLAN10_ROUTE = "10.9.0.0/16 via 10.1.0.2 dev r1";
constexpr const char* VLAN20_ROUTE = "10.9.0.0/16 via 10.1.0.9 dev r2 table 100";
constexpr const char* VLAN20_ROUTE6 = "2001:db8:9::/48 via 2001:db8:1::9 dev r2 table 100";
constexpr const char* NOT_THERE = "its VRF device blue is not there";

/// r1 is in the default VLAN 10. blue is the VRF device of VLAN 20, and enslaves r2.
class VrfDevices : public KernelTest {
 protected:
  void SetUp() override {
    KernelTest::SetUp();
    if (HasFatalFailure()) {
      return;
    }
    WriteKernel(R"("interfaces": ["r*"], "vrfs": {"blue": 20}, "routes": true, "rules": true)");
    WriteRoutes({{"10.9.0.0/16", "10.1.0.2"}},
                {{"10.9.0.0/16", "10.1.0.9"}, {"2001:db8:9::/48", "2001:db8:1::9"}});
  }
  void WriteKernel(const std::string& members, const std::string& interfaces = "") {
    folder.Write("device.json", R"({"default_vlan": 10, "interfaces": [)" + interfaces +
                                    R"(], "kernel": {)" + members + "}}");
  }
  /// A link that becomes a slave, or is one no more, loses its IPv6 addresses.
  static void Enslave(const std::string& vrf = "blue") {
    Ip("link set r2 master " + vrf);
    Ip("address replace 2001:db8:1::1/64 dev r2 nodad");
    AwaitState("r2", true);
  }
  static void MakeBlue(const std::string& table = "100") {
    Ip("link add blue type vrf table " + table);
    Ip("link set blue up");
    Enslave();
  }
  std::string Status() { return Ask("status", "sessions"); }
  void AwaitRoutes(const std::vector<std::string>& routes) {
    for (int i = 0; i < 200 && OurRoutes() != routes; ++i) {
      usleep(50000);
    }
    EXPECT_EQ(OurRoutes(), routes);
  }
};

TEST_F(VrfDevices, RoutesAreInTheTableAndLinksInTheVlan) {
  MakeBlue();
  Start();
  AwaitPass();
  EXPECT_THAT(OurRoutes(), ElementsAre(VLAN10_ROUTE, VLAN20_ROUTE, VLAN20_ROUTE6));
  EXPECT_THAT(Ip("route get vrf blue 10.9.1.1"), HasSubstr("via 10.1.0.9 dev r2 table 100"));
  EXPECT_EQ("10.9.1.1 via 10.1.0.2 dev r1", WayTo("10.9.1.1"));
  EXPECT_THAT(Ip("route get 10.9.1.1 from 10.1.0.7 iif r2"), HasSubstr("via 10.1.0.9 dev r2"));
  const std::string status = Status();
  EXPECT_THAT(status, HasSubstr("r1 in VLAN 10 (default)\n"));
  EXPECT_THAT(status, HasSubstr("r2 in VLAN 20 (vrf)\n"));
  EXPECT_THAT(status, HasSubstr("3 of 3 routes installed, 0 refused\n"));
  EXPECT_THAT(status, HasSubstr("VLAN 20 in table 100 of the VRF device blue\n"));
  EXPECT_THAT(Ask("check", "no errors"), HasSubstr("link r2 in VLAN 20 (vrf)\n"));
  EXPECT_THAT(Ip("rule show"), Not(HasSubstr("proto 201")));
  EXPECT_THAT(Verify(), HasSubstr("PASS  VRF devices: 1"));
  Switch("ipv4/conf/r2/rp_filter", 1);
  EXPECT_THAT(Verify(), Not(HasSubstr("FAIL"))) << "the kernel looks the way back up in the table";
}

TEST_F(VrfDevices, OneThatIsNotThereIsToldAndWaitedFor) {
  Start();
  daemon->ReadErrorsUntil(std::string("No routes of VLAN 20 are written into the kernel: ") +
                          NOT_THERE);
  EXPECT_THAT(Status(), HasSubstr(std::string("no routes of VLAN 20: ") + NOT_THERE));
  EXPECT_THAT(Verify(), HasSubstr(std::string("FAIL  kernel: no routes of VLAN 20 are written: ") +
                                  NOT_THERE));
  EXPECT_THAT(OurRoutes(), ElementsAre(VLAN10_ROUTE));
  MakeBlue();
  daemon->ReadErrorsUntil("Routes of VLAN 20 are written into table 100 of the kernel");
  AwaitRoutes({VLAN10_ROUTE, VLAN20_ROUTE, VLAN20_ROUTE6});
  AwaitPass();
}

TEST_F(VrfDevices, OneThatGoesAndComesBackElsewhereTakesItsRoutesAlong) {
  MakeBlue();
  Start();
  AwaitPass();
  Ip("link delete blue");
  daemon->ReadErrorsUntil(NOT_THERE);
  AwaitRoutes({VLAN10_ROUTE});
  EXPECT_THAT(Verify(), HasSubstr(NOT_THERE));
  EXPECT_THAT(Status(), HasSubstr("r2 in VLAN 10 (default)\n"));
  WriteRoutes({{"10.9.0.0/16", "10.1.0.2"}, {"10.8.0.0/16", "10.1.0.2"}},
              {{"10.9.0.0/16", "10.1.0.9"}, {"10.7.0.0/16", "10.1.0.9"}});
  Reload(" force");
  EXPECT_THAT(Verify(), HasSubstr("FAIL: 1 row is not as wanted")) << "other VLANs go on";
  EXPECT_EQ("10.8.1.1 via 10.1.0.2 dev r1", WayTo("10.8.1.1"));
  MakeBlue("200");
  daemon->ReadErrorsUntil("Routes of VLAN 20 are written into table 200 of the kernel");
  AwaitRoutes({"10.7.0.0/16 via 10.1.0.9 dev r2 table 200", "10.8.0.0/16 via 10.1.0.2 dev r1",
               VLAN10_ROUTE, "10.9.0.0/16 via 10.1.0.9 dev r2 table 200"});
  AwaitPass();
}

// The interfaces are the document's, so nothing of the stack's routes changes with the VRF device.
TEST_F(VrfDevices, RoutesOfInterfacesByHandMoveWithTheTable) {
  WriteKernel(R"("vrfs": {"blue": 20}, "routes": true)",
              R"({"name": "r1", "vlan": 10, "index": 2, "ipv4": "10.1.0.1/24"},
                 {"name": "r2", "vlan": 20, "index": 3, "ipv4": "10.1.0.1/24"})");
  WriteRoutes({{"10.9.0.0/16", "10.1.0.2"}}, {{"10.9.0.0/16", "10.1.0.9"}});
  MakeBlue();
  Start();
  AwaitPass();
  EXPECT_THAT(OurRoutes(), ElementsAre(VLAN10_ROUTE, VLAN20_ROUTE));
  Ip("link delete blue");
  AwaitRoutes({VLAN10_ROUTE});
  MakeBlue("200");
  AwaitRoutes({VLAN10_ROUTE, "10.9.0.0/16 via 10.1.0.9 dev r2 table 200"});
  AwaitPass();
  Ip("link set r2 nomaster");
  EXPECT_THAT(Verify(), HasSubstr("FAIL  kernel: r2 of VLAN 20 is not enslaved to the VRF device "
                                  "blue: what comes in there is looked up in the main table"));
  Enslave();
  AwaitPass();
}

TEST_F(VrfDevices, ALinkMovesWithItsMaster) {
  WriteKernel(R"("interfaces": ["r*"], "vrfs": {"blue": 20, "red": 30}, "routes": true)");
  MakeBlue();
  Ip("link add red type vrf table 300");
  Ip("link set red up");
  Start();
  AwaitPass();
  Enslave("red");
  EXPECT_THAT(Verify(), HasSubstr("PASS  VRF devices: 2"));
  EXPECT_THAT(Status(), HasSubstr("r2 in VLAN 30 (vrf)\n"));
  AwaitRoutes({VLAN10_ROUTE});
  Enslave("blue");
  AwaitPass();
  EXPECT_THAT(Status(), HasSubstr("r2 in VLAN 20 (vrf)\n"));
  AwaitRoutes({VLAN10_ROUTE, VLAN20_ROUTE, VLAN20_ROUTE6});
}

TEST_F(VrfDevices, AKilledDaemonFindsItsRoutesInTheTable) {
  MakeBlue();
  Start();
  AwaitPass();
  Kill();
  Start();
  AwaitPass();
  EXPECT_THAT(OurRoutes(), ElementsAre(VLAN10_ROUTE, VLAN20_ROUTE, VLAN20_ROUTE6));
  const std::string metrics = Ask("metrics", "overruns_total 0");
  EXPECT_THAT(metrics, HasSubstr("vantacore_kernel_requests_total{result=\"added\"} 0\n"));
  EXPECT_THAT(metrics, HasSubstr("vantacore_kernel_requests_total{result=\"deleted\"} 0\n"));
}

TEST_F(VrfDevices, AReloadMovesRoutesInAndOut) {
  MakeBlue();
  WriteKernel(R"("interfaces": ["r*"], "routes": true)",
              R"({"name": "r2", "vlan": 20, "index": 3})");
  Start();
  daemon->Send("version\n");
  daemon->ReadUntil("console protocol");
  AwaitRoutes({"10.1.0.0/24 dev r2 table 40020 scope link", VLAN10_ROUTE,
               "10.9.0.0/16 via 10.1.0.9 dev r2 table 40020", "2001:db8:1::/64 dev r2 table 40020",
               "2001:db8:9::/48 via 2001:db8:1::9 dev r2 table 40020"});
  WriteKernel(R"("interfaces": ["r*"], "vrfs": {"blue": 20}, "routes": true)");
  EXPECT_THAT(Ask("diff", "request"), HasSubstr("VRF devices: blue for VLAN 20, was none"));
  Reload();
  AwaitPass();
  AwaitRoutes({VLAN10_ROUTE, VLAN20_ROUTE, VLAN20_ROUTE6});
  WriteKernel(R"("interfaces": ["r*"], "vrfs": {"blue": 20}, "routes": false)");
  Reload();
  AwaitRoutes({});
}

TEST_F(VrfDevices, AnotherProgramsRoutesInTheTableStay) {
  MakeBlue();
  Ip("route add 10.6.0.0/16 via 10.1.0.9 dev r2 table 100 proto static");
  Ip("route add 10.5.0.0/16 via 10.1.0.9 dev r2 table 100 proto 201 metric 220");
  Start();
  AwaitPass();
  AwaitRoutes({VLAN10_ROUTE, VLAN20_ROUTE, VLAN20_ROUTE6});
  EXPECT_THAT(Ip("route show table 100 proto static"), HasSubstr("10.6.0.0/16"));
  Ip("route delete 10.9.0.0/16 table 100 proto 201");
  EXPECT_THAT(Verify(), HasSubstr("route 10.9.0.0/16 in table 100 was missing, put back now"));
  AwaitPass();
}

// It comes before the VRF device, in the order of rules; the kernel has another order.
TEST_F(VrfDevices, ATagComesBeforeAVrfDeviceAndVerifyTellsThatTheKernelThinksOtherwise) {
  Ip("link add blue type vrf table 100");
  Ip("link set blue up");
  Ip("link add link r2 name r2.30 type vlan id 30");
  Ip("link set r2.30 master blue");
  Ip("link set r2.30 up");
  Start();
  EXPECT_THAT(Verify(), HasSubstr("FAIL  kernel: r2.30 of VLAN 30 is enslaved to the VRF device "
                                  "blue: what comes in there is looked up in table 100"));
  EXPECT_THAT(Status(), HasSubstr("r2.30 in VLAN 30 (tag)\n"));
}

TEST_F(VrfDevices, AVrfDeviceIsAnInterfaceOnlyByTheDocument) {
  WriteKernel(
      R"("interfaces": ["*"], "ignore": ["lo", "p*"], "vrfs": {"blue": 20}, "routes": true)");
  MakeBlue();
  Start();
  AwaitPass();
  EXPECT_THAT(Status(), Not(HasSubstr("blue in VLAN")));
  WriteKernel(
      R"("interfaces": ["*"], "ignore": ["lo", "p*"], "vrfs": {"blue": 20}, "routes": true)",
      R"({"name": "blue", "vlan": 20, "index": 99})");
  Ip("address add 192.0.2.20/32 dev blue");
  Reload();
  AwaitPass();
  EXPECT_THAT(Status(), HasSubstr("blue in VLAN 20 (document)\n"));
  EXPECT_THAT(Ask("route vrf 20", "192.0.2.20/32"), HasSubstr("192.0.2.20/32"));
  AwaitRoutes({VLAN10_ROUTE, VLAN20_ROUTE, VLAN20_ROUTE6});
}

TEST_F(VrfDevices, OneWithAnotherNameIsGone) {
  MakeBlue();
  Start();
  AwaitPass();
  Ip("link set blue down");
  Ip("link set blue name navy");
  Ip("link set navy up");
  daemon->ReadErrorsUntil(NOT_THERE);
  AwaitRoutes({VLAN10_ROUTE});
  Ip("link set navy down");
  Ip("link set navy name blue");
  Ip("link set blue up");
  AwaitPass();
  AwaitRoutes({VLAN10_ROUTE, VLAN20_ROUTE, VLAN20_ROUTE6});
}

TEST_F(VrfDevices, TwoWithOneTableAreToldApart) {
  WriteKernel(R"("interfaces": ["r*"], "vrfs": {"blue": 20, "red": 30}, "routes": true)");
  MakeBlue();
  Ip("link add red type vrf table 100");
  Start();
  EXPECT_THAT(Verify(), HasSubstr("FAIL  kernel: no routes of VLAN 30 are written: its VRF device "
                                  "red has table 100, which is that of VLAN 20"));
  AwaitRoutes({VLAN10_ROUTE, VLAN20_ROUTE, VLAN20_ROUTE6});
}

TEST_F(VrfDevices, ManyFlapsLeaveWhatIsWanted) {
  MakeBlue();
  Start();
  AwaitPass();
  for (int i = 0; i < 9; ++i) {
    Ip("link delete blue");
    MakeBlue(std::to_string(100 + i % 3));
  }
  Ip("link delete blue");
  MakeBlue();
  AwaitPass();
  AwaitRoutes({VLAN10_ROUTE, VLAN20_ROUTE, VLAN20_ROUTE6});
  EXPECT_THAT(Ip("route show table 101 proto 201"), IsEmpty());
}

}  // namespace
