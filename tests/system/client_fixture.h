// A daemon with a socket, and its clients.
#ifndef TESTS_SYSTEM_CLIENT_FIXTURE_H
#define TESTS_SYSTEM_CLIENT_FIXTURE_H

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "daemon_process.h"
#include "tests/support/scratch_folder.h"

namespace system_test {

/// The daemon has VLAN 10 with RIP and an interface, and VLAN 20; a test may write other documents
/// before it starts the daemon.
class Client : public testing::Test {
 protected:
  /// What `ip protocol summary` prints of these VLANs.
  static constexpr const char* SUMMARY =
      "   VID  BGP4+ OSPFv2  RIPv2   IGMP\n"
      "    10     No     No    Yes     No\n"
      "    20     No     No     No     No\n";

  Client();

  /// Starts the daemon and waits for nothing; `tick` is in microseconds.
  void BeginDaemon(const std::string& tick = "100");
  void StartDaemon(const std::string& tick = "100");
  void AwaitDaemon() const;
  bool HasSocket() const;
  void AwaitSocket() const;

  /// The client's command with the path of its program, for those who run it with another PATH.
  static std::string Command();
  /// The client's arguments.
  Arguments With(const Arguments& more) const;
  /// Runs the client to its end.
  Result Run(const Arguments& words, const std::string& input = {}) const;
  /// The same, again and again until somebody listens: the socket is there a moment before that.
  Result RunWhenHeard(const Arguments& words) const;
  std::unique_ptr<DaemonProcess> Open(DaemonProcess::Streams streams,
                                      const Arguments& words = {}) const;

  /// The daemon still serves, and ends as it should, without a complaint.
  void ExpectHealthyDaemon();

  /// A document of a VLAN with this many routes.
  static std::string WithRoutes(int count);

  test_support::ScratchFolder folder;
  test_support::ScratchFolder place;
  const std::string path = place.PathOf("console");
  std::unique_ptr<DaemonProcess> daemon;
};

}  // namespace system_test

#endif
