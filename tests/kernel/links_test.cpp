// The machine's links are the device's interfaces, whatever happens to them.

#include <gmock/gmock.h>
#include <unistd.h>

#include "namespace_fixture.h"

namespace {

using kernel_test::KernelTest;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

constexpr const char* VLAN20_NETWORK = "10.1.0.0/24 dev r2 table 40020 scope link";

/// r1 is in the default VLAN 10; r2's VLAN 20 the document says.
class KernelLinks : public KernelTest {
 protected:
  void SetUp() override {
    KernelTest::SetUp();
    WriteLinks();
  }
  void WriteLinks(const std::string& kernel = R"("interfaces": ["r*"], "routes": true)") {
    folder.Write("device.json", R"({"default_vlan": 10, "kernel": {)" + kernel + R"(},
        "interfaces": [{"name": "r2", "vlan": 20, "index": 99}]})");
  }
  std::string Interfaces() { return Ask("interface\nversion", "console protocol"); }
  std::string Status() { return Ask("status", "sessions"); }
};

TEST_F(KernelLinks, LinksAreInterfacesFromTheBeginning) {
  WriteRoutes({{"10.9.0.0/16", "10.1.0.2"}, {"2001:db8:9::/48", "2001:db8:1::2"}},
              {{"10.9.0.0/16", "10.1.0.9"}});
  Start();
  AwaitPass();
  EXPECT_THAT(OurRoutes(), ElementsAre(VLAN20_NETWORK, "10.9.0.0/16 via 10.1.0.2 dev r1",
                                       "10.9.0.0/16 via 10.1.0.9 dev r2 table 40020",
                                       "2001:db8:9::/48 via 2001:db8:1::2 dev r1"));
  EXPECT_THAT(Status(), AllOf(HasSubstr("links           r1 in VLAN 10 (default)\n"
                                        "                r2 in VLAN 20 (document)\n"),
                              Not(HasSubstr("p1"))));
  EXPECT_THAT(Ask("status json", "sessions"),
              HasSubstr(R"("links":[{"name":"r1","index":2,"up":true,"vlan":10,"by":"default",)"
                        R"("problem":null})"));
  EXPECT_THAT(Verify(), HasSubstr("PASS  links of the kernel: 2 as wanted"));
  EXPECT_THAT(Ask("check", "no errors"), HasSubstr("link r1 in VLAN 10 (default)\n"
                                                   "link r2 in VLAN 20 (document)\n"));
}

TEST_F(KernelLinks, ALinkThatGoesDownTakesItsRoutesAndBringsThemBack) {
  WriteRoutes({{"10.9.0.0/16", "10.1.0.2"}});
  Start();
  AwaitPass();
  Ip("link set p1 down");
  AwaitState("r1", false);
  AwaitPass();
  EXPECT_THAT(OurRoutes(), ElementsAre(VLAN20_NETWORK));
  EXPECT_THAT(Ask("route 10.9.0.0/16", "down"), HasSubstr("interface r1 down"));
  Ip("link set p1 up");
  AwaitState("r1", true);
  AwaitPass();
  EXPECT_THAT(OurRoutes(), ElementsAre(VLAN20_NETWORK, "10.9.0.0/16 via 10.1.0.2 dev r1"));
}

TEST_F(KernelLinks, ARouteFindsItsLinkWhenThatComes) {
  folder.Write("vlans.json", R"({"VLAN_CONFIGURATIONS": {"a": {"vid": 30, "STATIC_ROUTES": {
      "r": {"network": "10.9.0.0", "netmask": "255.255.0.0", "gateway": "10.3.0.2",
            "interface": "r3.30"}}}}})");
  Start();
  AwaitPass();
  EXPECT_THAT(OurRoutes(), IsEmpty());
  Ask("route vrf 30", "waits for interface r3.30");
  Ip("link add r3.30 type veth peer name p3");
  for (const char* const link : {"r3.30", "p3"}) {
    Ip(std::string("link set dev ") + link + " addrgenmode none");
    Ip(std::string("link set ") + link + " up");
  }
  Ip("address add 10.3.0.1/24 dev r3.30");
  AwaitPass();
  const std::vector<std::string> routes = {"10.3.0.0/24 dev r3.30 table 40030 scope link",
                                           "10.9.0.0/16 via 10.3.0.2 dev r3.30 table 40030"};
  EXPECT_EQ(routes, OurRoutes());
  Ip("link delete r3.30");
  AwaitPass();
  EXPECT_THAT(OurRoutes(), IsEmpty());
  Ask("route vrf 30", "waits for interface r3.30");
}

TEST_F(KernelLinks, ALinkComesBackUnderAnotherIndex) {
  WriteRoutes({{"10.9.0.0/16", "10.1.0.2"}});
  Start();
  AwaitPass();
  Ip("link delete r1");
  Ip("link add r1 index 40 type veth peer name p1");
  Ip("link set p1 up");
  Ip("link set r1 up");
  AwaitState("r1", true);
  Ip("address add 10.1.0.1/24 dev r1");
  AwaitPass();
  EXPECT_THAT(OurRoutes(), testing::Contains("10.9.0.0/16 via 10.1.0.2 dev r1"));
  EXPECT_THAT(Interfaces(), testing::ContainsRegex("10 +40 +r1 +UP"));
}

TEST_F(KernelLinks, ALinkWithAnotherNameIsAnotherInterface) {
  WriteRoutes({{"10.9.0.0/16", "10.1.0.2"}});
  Start();
  AwaitPass();
  Ip("link set r1 down");
  Ip("link set r1 name x1");
  Ip("link set x1 up");
  AwaitPass();
  EXPECT_THAT(OurRoutes(), ElementsAre(VLAN20_NETWORK));
  EXPECT_THAT(Status(), Not(HasSubstr("r1 in VLAN")));
  Ip("link set x1 down");
  Ip("link set x1 name r7.10");
  Ip("link set r7.10 up");
  AwaitPass();
  EXPECT_THAT(Status(), HasSubstr("r7.10 in VLAN 10 (name)"));
  EXPECT_THAT(OurRoutes(), ElementsAre(VLAN20_NETWORK, "10.9.0.0/16 via 10.1.0.2 dev r7.10"));
}

TEST_F(KernelLinks, ASecondAddressComesAndGoesAndTheFirstOneStays) {
  WriteRoutes({{"10.9.0.0/16", "10.1.0.2"}, {"10.8.0.0/16", "10.6.0.2"}});
  Start();
  AwaitPass();
  EXPECT_THAT(OurRoutes(), Not(testing::Contains("10.8.0.0/16 via 10.6.0.2 dev r1")));
  Ip("address add 10.6.0.1/24 dev r1");
  Ip("address add 10.1.0.7/24 dev r1");
  AwaitPass();
  EXPECT_THAT(OurRoutes(), testing::Contains("10.8.0.0/16 via 10.6.0.2 dev r1"));
  EXPECT_THAT(Interfaces(), testing::ContainsRegex("r1 +UP +1500 +BM 10.1.0.1/24"));
  Ip("address delete 10.6.0.1/24 dev r1");
  AwaitPass();
  EXPECT_THAT(OurRoutes(), ElementsAre(VLAN20_NETWORK, "10.9.0.0/16 via 10.1.0.2 dev r1"));
  EXPECT_THAT(Verify(), HasSubstr("PASS  addresses"));
}

TEST_F(KernelLinks, AReloadSaysWhichLinksAreInterfaces) {
  WriteRoutes({{"10.9.0.0/16", "10.1.0.2"}});
  WriteLinks(R"("routes": true)");
  Start();
  AwaitPass();
  EXPECT_THAT(Verify(), Not(HasSubstr("links of the kernel")));
  WriteLinks();
  EXPECT_THAT(Ask("diff", "request"), HasSubstr("~ links r* are interfaces, was no links"));
  Reload();
  AwaitPass();
  EXPECT_THAT(OurRoutes(), ElementsAre(VLAN20_NETWORK, "10.9.0.0/16 via 10.1.0.2 dev r1"));
  WriteLinks(R"("interfaces": ["r*"], "ignore": ["r1"], "routes": true)");
  EXPECT_THAT(Ask("diff", "request"),
              AllOf(HasSubstr("~ links r* without r1 are interfaces, was links r*"),
                    HasSubstr("- interface 2 r1"), HasSubstr("- address 10.1.0.1/24")));
  Reload();
  AwaitPass();
  EXPECT_THAT(OurRoutes(), ElementsAre(VLAN20_NETWORK));
  WriteLinks(R"("routes": true)");
  Reload();
  AwaitPass();
  EXPECT_THAT(OurRoutes(), IsEmpty());
}

TEST_F(KernelLinks, AReloadDoesNotOverruleTheKernel) {
  WriteRoutes({{"10.9.0.0/16", "10.1.0.2"}});
  Start();
  AwaitPass();
  Ip("link set p1 down");
  AwaitState("r1", false);
  AwaitPass();
  WriteRoutes({{"10.9.0.0/16", "10.1.0.2"}, {"10.8.0.0/16", "10.1.0.2"}});
  Reload();
  AwaitPass();
  EXPECT_THAT(OurRoutes(), ElementsAre(VLAN20_NETWORK));
  EXPECT_THAT(Ask("diff", "change"), HasSubstr("no change"));
}

TEST_F(KernelLinks, WhatCannotBeAnInterfaceIsTold) {
  Ip("link add r5.40000 type veth peer name p5");
  WriteRoutes({});
  Start();
  daemon->ReadErrorsUntil("The link r5.40000 is left out: its VLAN is above 32767");
  AwaitPass();
  EXPECT_THAT(Status(), HasSubstr("r5.40000 is left out: its VLAN is above 32767"));
}

TEST_F(KernelLinks, TenThousandFlapsEndAsTheLastOneSays) {
  WriteRoutes({{"10.9.0.0/16", "10.1.0.2"}});
  Start();
  AwaitPass();
  std::vector<std::string> flaps;
  for (int i = 0; i < 5000; ++i) {
    flaps.insert(flaps.end(), {"link set r1 down", "link set r1 up"});
  }
  IpBatch(flaps);
  AwaitState("r1", true);
  AwaitPass();
  EXPECT_THAT(OurRoutes(), ElementsAre(VLAN20_NETWORK, "10.9.0.0/16 via 10.1.0.2 dev r1"));
  EXPECT_EQ("10.9.1.1 via 10.1.0.2 dev r1", WayTo("10.9.1.1"));
}

// A socket that is full loses news; a full reading finds them.
TEST_F(KernelLinks, AProcessThatStoppedForATimeKnowsAllAfterwards) {
  WriteRoutes({{"10.9.0.0/16", "10.1.0.2"}});
  Start();
  AwaitPass();
  FloodWhileStopped({"link set r1 down", "address delete 10.1.0.1/24 dev r1",
                     "address add 10.1.5.1/16 dev r1", "link set r1 up"});
  AwaitState("r1", true);
  AwaitPass();
  EXPECT_THAT(OurRoutes(), ElementsAre(VLAN20_NETWORK, "10.9.0.0/16 via 10.1.0.2 dev r1"));
  EXPECT_THAT(Interfaces(), testing::ContainsRegex("r1 +UP +1500 +BM 10.1.5.1/16"));
  EXPECT_THAT(Ask("metrics\nversion", "console protocol"),
              testing::ContainsRegex("vantacore_kernel_overruns_total [1-9]"));
}

// The registry knows interfaces by index and by name; both are somebody else's afterwards.
TEST_F(KernelLinks, AnIndexAndANameFindOtherOwnersUnheard) {
  WriteRoutes({{"10.9.0.0/16", "10.1.0.2"}});
  Start();
  AwaitPass();
  FloodWhileStopped({"link delete r1", "link add r9 index 2 type veth peer name q9 index 60",
                     "link add r1 index 50 type veth peer name q1 index 61", "link set r1 up",
                     "link set q1 up", "address add 10.1.0.1/24 dev r1", "link set r9 up",
                     "link set q9 up", "address add 10.8.0.1/24 dev r9"});
  AwaitState("r1", true);
  AwaitState("r9", true);
  AwaitPass();
  EXPECT_THAT(OurRoutes(), ElementsAre(VLAN20_NETWORK, "10.9.0.0/16 via 10.1.0.2 dev r1"));
  const std::string interfaces = Interfaces();
  EXPECT_THAT(interfaces, AllOf(HasSubstr("10.1.0.1/24"), HasSubstr("10.8.0.1/24")));
  End();
  Start();
  AwaitPass();
  EXPECT_EQ(interfaces, Interfaces()) << "a fresh start";
}

// Such an address has no network around it, and several may begin with the same end.
TEST_F(KernelLinks, AnAddressWithAnotherEndIsNoNetwork) {
  Ip("address flush dev r1");
  Ip("address add 10.5.0.1 peer 10.5.0.2 dev r1");
  Ip("address add 10.5.0.1 peer 10.6.0.2/24 dev r1");
  WriteRoutes({{"10.9.0.0/16", "10.6.0.9"}});
  Start();
  AwaitPass();
  EXPECT_THAT(Interfaces(), testing::ContainsRegex("r1 +UP +1500 +BM 10.5.0.1/32"));
  EXPECT_THAT(OurRoutes(), ElementsAre(VLAN20_NETWORK)) << "10.6.0.0/24 is no network of ours";
  Ip("address delete 10.5.0.1 peer 10.5.0.2 dev r1");
  AwaitPass();
  EXPECT_THAT(Interfaces(), HasSubstr("10.5.0.1/32")) << "one of the two is left";
  Ip("address delete 10.5.0.1 peer 10.6.0.2/24 dev r1");
  AwaitPass();
  EXPECT_THAT(Interfaces(), Not(HasSubstr("10.5.0.1")));
}

TEST_F(KernelLinks, AKilledDeviceFindsItAllAgain) {
  WriteRoutes({{"10.9.0.0/16", "10.1.0.2"}});
  Start();
  AwaitPass();
  Kill();
  Ip("address delete 10.1.0.1/24 dev r2");
  Ip("address add 10.2.0.1/24 dev r2");
  EXPECT_THAT(OurRoutes(), SizeIs(testing::Ge(1u)));
  Start();
  AwaitPass();
  EXPECT_THAT(OurRoutes(), ElementsAre("10.2.0.0/24 dev r2 table 40020 scope link",
                                       "10.9.0.0/16 via 10.1.0.2 dev r1"));
}

}  // namespace
