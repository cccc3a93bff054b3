// What a newcomer sees: the example that ./run starts with.
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "daemon_process.h"
#include "example_network.h"
#include "tests/support/rewriting.h"

namespace {

using system_test::Result;
using system_test::RunDaemon;
using system_test::WithoutAges;

// The committed expectation. With VANTACORE_REWRITE=1 it is written anew, and the test fails.
std::string Expected(const std::string& name, const std::string& actual) {
  const std::string path = "tests/system/expected/" + name;
  test_support::Rewrite(path, actual);
  std::stringstream text;
  text << std::ifstream(path).rdbuf();
  return text.str();
}

TEST(FirstNetwork, PrintsItsTables) {
  const Result result = RunDaemon({"--config", "examples/first-network"},
                                  "ip protocol summary\n"
                                  "ip protocol database vrf 10\n"
                                  "ip6 protocol database vrf 10\n");
  const std::string actual = WithoutAges(result.output);
  EXPECT_EQ(actual, Expected("first-network.txt", actual));
  EXPECT_EQ(result.errors, system_test::ExampleNetwork::WARNINGS);
  EXPECT_EQ(result.status, 0);
}

TEST(FirstNetwork, ShowsItsProtocolsAndLosesAnInterfacesRoutes) {
  const Result result = RunDaemon({"--config", "examples/first-network", "--lab"},
                                  "interface vrf 10\n"
                                  "ip bgp\n"
                                  "ip ospf\n"
                                  "ip rip\n"
                                  "ip igmp\n"
                                  "ip protocol mcast-database\n"
                                  "ip6 protocol summary\n"
                                  "lab interface eth1 down\n"
                                  "ip protocol database vrf 10\n");
  const std::string actual = WithoutAges(result.output);
  EXPECT_EQ(actual, Expected("first-network-events.txt", actual));
  EXPECT_EQ(result.errors, system_test::ExampleNetwork::WARNINGS);
  EXPECT_EQ(result.status, 0);
}

}  // namespace
