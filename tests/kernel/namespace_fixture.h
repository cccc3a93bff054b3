// A device in a network namespace of a test's own.
#ifndef TESTS_KERNEL_NAMESPACE_FIXTURE_H
#define TESTS_KERNEL_NAMESPACE_FIXTURE_H

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "tests/support/scratch_folder.h"
#include "tests/system/daemon_process.h"

namespace kernel_test {

struct Route {
  std::string prefix;  // "10.9.0.0/16"
  std::string gateway;
};

/// The rules of an interface that is in the table, as KernelTest::OurRules has them.
std::vector<std::string> RulesOf(const std::string& link, int table);

/// Each test begins in an empty namespace with two links, r1 (index 2, VLAN 10, the default VLAN)
/// and r2 (index 3, VLAN 20), both up and with the address 10.1.0.1/24; r1 has 2001:db8:1::1/64,
/// too. The namespace goes with the process.
///
/// Where no namespace can be made the suite says that it was not run, which ctest tells as well. It
/// fails there if the environment has VANTACORE_NEED_NAMESPACES.
class KernelTest : public testing::Test {
 protected:
  void SetUp() override;

  /// Sets a switch of /proc/sys/net, in the namespace. The tests begin with forwarding.
  static void Switch(const std::string& name, int value);
  /// Runs a command of iproute2 and returns what it prints; the test fails if it fails.
  static std::string Ip(const std::string& words);
  /// The same of what somebody else may have done in the same moment, so that it may fail.
  static void TryIp(const std::string& words);
  /// Runs many commands of iproute2, as fast as it can.
  static void IpBatch(const std::vector<std::string>& lines);
  /// Stops the daemon, lets more happen than its sockets hold, then `lines`, and lets it go on.
  void FloodWhileStopped(const std::vector<std::string>& lines = {});
  /// Waits until the kernel says so of the link: what happens to a cable's other end, and that a link
  /// has come up, it finds out a little later, sometimes a second.
  static void AwaitState(const std::string& link, bool isUp);
  /// What the kernel has under our number, a line each, without what does not matter here.
  static std::vector<std::string> OurRoutes();
  /// The kernel's rules with these words, a line each; those of IPv6 with a 6 before them.
  static std::vector<std::string> RulesWith(const std::string& words);
  static std::vector<std::string> OurRules() { return RulesWith("proto 201"); }
  /// How a packet to the address would go, by the main table.
  static std::string WayTo(const std::string& address);

  void WriteDevice(const std::string& kernel = R"({"routes": true})", int defaultVlan = 10);
  void WriteRoutes(const std::vector<Route>& vlan10, const std::vector<Route>& vlan20 = {});

  void Start(const system_test::Arguments& more = {});
  /// Sends a command and returns what it prints up to and with `last`.
  std::string Ask(const std::string& command, const std::string& last);
  /// Begins a reload; what is asked afterwards is asked when it has been applied.
  void Reload(const std::string& how = "");
  /// The lines of a verification.
  std::string Verify();
  /// Verifies until that passes; the test fails if it does not within ten seconds.
  void AwaitPass();
  void End();
  void Kill();

  test_support::ScratchFolder folder;
  std::unique_ptr<system_test::DaemonProcess> daemon;
};

}  // namespace kernel_test

#endif
