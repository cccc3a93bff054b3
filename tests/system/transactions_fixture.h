// A device whose configuration changes, with its revisions.
#ifndef TESTS_SYSTEM_TRANSACTIONS_FIXTURE_H
#define TESTS_SYSTEM_TRANSACTIONS_FIXTURE_H

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "daemon_process.h"
#include "tests/support/scratch_folder.h"

namespace system_test {

/// VLAN 10 has an interface, and static routes to 10.100.0.0/16 and those that follow it.
class Transactions : public testing::Test {
 protected:
  Transactions();

  /// So many routes, all by this gateway, are what the folder says from now on.
  void WriteRoutes(int count, const std::string& gateway = "10.1.0.2") const;
  /// The folder has an error from now on.
  void Spoil() const;

  Arguments With(const Arguments& more) const;
  /// A daemon that carries out these lines from a pipe.
  Result Batch(const std::string& lines, const Arguments& more = {}) const;

  /// A daemon with a socket, and a client of it that carries out these words.
  void StartDaemon(const Arguments& more = {});
  Result Ask(const Arguments& words) const;
  /// Ends it, as `number` says, and forgets it.
  void EndDaemon(int number);

  /// Ends the daemon and starts it again.
  void Restart(int number, const Arguments& more = {});
  /// How many of the routes are candidates in the stack.
  int CountRoutes() const;
  static int CountRoutes(const std::string& table);

  test_support::ScratchFolder folder;
  test_support::ScratchFolder state;
  test_support::ScratchFolder place;
  const std::string path = place.PathOf("console");
  std::unique_ptr<DaemonProcess> daemon;
};

}  // namespace system_test

#endif
