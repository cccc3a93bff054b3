// What somebody breaks by hand fails a verification with its own line, and nothing else does.

#include <gmock/gmock.h>

#include <sstream>

#include "namespace_fixture.h"

namespace {

using kernel_test::KernelTest;
using kernel_test::Route;
using testing::ElementsAre;

const std::vector<Route> s_vlan10 = {{"10.9.0.0/16", "10.1.0.2"},
                                     {"2001:db8:9::/48", "2001:db8:1::2"}};
const std::vector<Route> s_vlan20 = {{"10.9.0.0/16", "10.1.0.9"}};

/// r1 is in the default VLAN 10; r2's VLAN 20 the document says.
class BrokenByHand : public KernelTest {
 protected:
  void SetUp() override {
    KernelTest::SetUp();
    folder.Write("device.json", R"({"default_vlan": 10, "kernel": {"interfaces": ["r*"],
        "routes": true, "rules": true}, "interfaces": [{"name": "r2", "vlan": 20, "index": 99}]})");
    WriteRoutes(s_vlan10, s_vlan20);
    Start();
    AwaitPass();
  }
  /// The lines of a verification that say what is wrong.
  std::vector<std::string> Failures() {
    std::vector<std::string> failures;
    std::istringstream lines(Verify());
    for (std::string line; std::getline(lines, line);) {
      if (line.rfind("FAIL  ", 0) == 0) {
        failures.push_back(line.substr(6));
      }
    }
    return failures;
  }
  void ExpectFailure(const std::string& beginning) {
    EXPECT_THAT(Failures(), ElementsAre(testing::StartsWith(beginning)));
  }
};

TEST_F(BrokenByHand, ARouteThatIsDeleted) {
  Ip("route delete 10.9.0.0/16 proto 201");
  ExpectFailure("kernel: route 10.9.0.0/16 in table 254 was missing, put back now");
  AwaitPass();
}

TEST_F(BrokenByHand, ARouteThatLeadsElsewhere) {
  for (const char* const metric : {"220", "221"}) {
    if (!Ip(std::string("-6 route show 2001:db8:9::/48 metric ") + metric).empty()) {
      Ip(std::string(
             "-6 route replace 2001:db8:9::/48 via 2001:db8:1::7 dev r1 proto 201 metric ") +
         metric);
    }
  }
  ExpectFailure("kernel: route 2001:db8:9::/48 in table 254 was missing, put back now");
  AwaitPass();
}

TEST_F(BrokenByHand, ARouteThatNobodyWants) {
  Ip("route add 10.8.0.0/16 via 10.1.0.9 dev r2 table 40020 proto 201 metric 220");
  ExpectFailure(
      "kernel: route 10.8.0.0/16 in table 40020 was there and nobody wants it, removed now");
  AwaitPass();
}

TEST_F(BrokenByHand, ARouteThatTheKernelRefuses) {
  for (const char* const metric : {"220", "221"}) {
    Ip(std::string("route add 10.8.0.0/16 via 10.1.0.2 dev r1 proto static metric ") + metric);
  }
  std::vector<Route> routes = s_vlan10;
  routes.push_back({"10.8.0.0/16", "10.1.0.2"});
  WriteRoutes(routes, s_vlan20);
  Reload();
  ExpectFailure("kernel: route 10.8.0.0/16 in table 254 is refused: File exists");
  for (const char* const metric : {"220", "221"}) {
    Ip(std::string("route delete 10.8.0.0/16 proto static metric ") + metric);
  }
  AwaitPass();
}

TEST_F(BrokenByHand, ARuleThatIsDeleted) {
  Ip("-6 rule delete iif r2 lookup 40020 protocol 201");
  ExpectFailure("kernel: rule iif r2 lookup 40020 of IPv6 was missing, put back now");
  AwaitPass();
}

TEST_F(BrokenByHand, ARuleThatNobodyWants) {
  Ip("rule add iif r1 lookup 40020 priority 22000 protocol 201");
  ExpectFailure("kernel: rule iif r1 lookup 40020 was there and nobody wants it, removed now");
  AwaitPass();
}

TEST_F(BrokenByHand, ForwardingThatIsOff) {
  Switch("ipv4/ip_forward", 0);
  ExpectFailure("kernel: /proc/sys/net/ipv4/ip_forward is 0: nothing of IPv4 is forwarded");
  Switch("ipv4/ip_forward", 1);
  AwaitPass();
}

TEST_F(BrokenByHand, ForwardingOfIp6ThatIsOff) {
  Switch("ipv6/conf/all/forwarding", 0);
  ExpectFailure(
      "kernel: /proc/sys/net/ipv6/conf/all/forwarding is 0: nothing of IPv6 is forwarded");
  Switch("ipv6/conf/all/forwarding", 1);
  AwaitPass();
}

TEST_F(BrokenByHand, AFilterOfTheWayBack) {
  Switch("ipv4/conf/r2/rp_filter", 1);
  ExpectFailure(
      "kernel: /proc/sys/net/ipv4/conf/r2/rp_filter is 1: what comes in on r2 is dropped");
  Switch("ipv4/conf/r2/rp_filter", 0);
  AwaitPass();
}

TEST_F(BrokenByHand, AFolderThatNobodyHasApplied) {
  WriteRoutes({s_vlan10.front()}, s_vlan20);
  ExpectFailure("folder: 1 change not applied since what is in force");
  WriteRoutes(s_vlan10, s_vlan20);
  AwaitPass();
}

TEST_F(BrokenByHand, AFolderThatCannotBeApplied) {
  folder.Write("vlans.json", "{");
  ExpectFailure("folder: it cannot be applied, 1 error");
  WriteRoutes(s_vlan10, s_vlan20);
  AwaitPass();
}

}  // namespace
