// A daemon whose changes are interrupted.
#ifndef TESTS_CRASHES_WATCHED_DAEMON_H
#define TESTS_CRASHES_WATCHED_DAEMON_H

#include <memory>
#include <string>
#include <vector>

#include "change.h"
#include "tests/support/watched_calls.h"
#include "tests/system/transactions_fixture.h"

namespace crashes {

/// What a daemon with a failing disk came to.
struct Failed {
  int routes = 0;  // that are in the stack
  std::string log;
};

class WatchedDaemon : public system_test::Transactions {
 protected:
  using Calls = std::vector<std::string>;
  using Outcomes = std::vector<Outcome>;

  /// What the change needs, once for all its runs.
  void Prepare(const Change& change);
  /// The calls of the daemon from its start to the end of the change. The first `before` are not the
  /// change's own.
  Calls CountCalls(const Change& change, std::size_t& before);
  /// Makes the change, with a call at which the daemon is killed. Returns its log.
  std::string Kill(const Change& change, const test_support::CallPlan& plan);
  /// Makes it with calls that fail. The daemon is killed afterwards.
  Failed Fail(const Change& change, const test_support::CallPlan& plan);

  /// Starts the device with a folder that has an error. Fails the test unless it is then in one of
  /// these states and says so, and every revision can be read, and the next start is in the same.
  void ExpectStart(const Outcomes& expected);

  /// The state folder's real path.
  std::string Watched() const;

 private:
  std::unique_ptr<system_test::DaemonProcess> Start(const test_support::CallPlan& plan) const;
  std::unique_ptr<system_test::DaemonProcess> Begin(const Change& change,
                                                    const test_support::CallPlan& plan,
                                                    std::size_t* before = nullptr) const;
  /// Runs a daemon to its end. Nothing happens to it.
  system_test::Result Run(const std::string& lines) const;
  void Take(system_test::DaemonProcess& process, const Change::Step& step) const;
  void Restore();
  Calls ReadCalls() const;
  Outcome FindOutcome();
  void ExpectRevisions(unsigned int inForce);

  test_support::ScratchFolder saved;
  unsigned int restored = 0;
};

}  // namespace crashes

#endif
