// A device with a configuration folder, in virtual time.
#ifndef TESTS_CONVERGENCE_FOLDER_HOST_H
#define TESTS_CONVERGENCE_FOLDER_HOST_H

#include <uv.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "device/apply/reloader.h"
#include "device/keepers/interfaces.h"
#include "device/loop/loop.h"
#include "device/ports/protocol_rows.h"
#include "device/ports/stack_port.h"
#include "tests/support/device_fixture.h"
#include "tests/support/trace_capture.h"

namespace convergence {

/// The library, the software stack, and what applies the folder to them. Only the thread pool, in
/// which folders are read and compared, needs real time. The folder must outlive it.
class FolderHost : public test_support::Device {
 public:
  /// What somebody hears who has asked for something.
  struct Answer {
    bool hasPassed = false;
    std::vector<std::string> lines;  // about the folder, each with its end
  };

  /// `turnMilliseconds` is how much virtual time goes by in a turn of the loop: the library's
  /// scheduler has a period of ten, so with one a whole reload takes place within a period.
  FolderHost(const std::string& directory, std::uint64_t turnMilliseconds);
  ~FolderHost() override;

  /// The first of all. If the folder is refused, nothing else may follow.
  Answer Start();
  Answer Check();
  /// Comes back when it has been applied or refused and everything has been answered, and no old
  /// route is kept any more for a successor that cannot take its place.
  Answer Reload();
  /// Comes back at once. Whether the folder is taken shows later. Call AwaitPool before files are
  /// changed, so that no reading that is under way finds the new ones.
  void AskForReload();

  /// Until the thread pool has done what it has been given. The loop hears of it in its next turn.
  void AwaitPool();
  /// One turn of the loop, and the virtual time that belongs to it. The pool is waited for first,
  /// so that a run depends on nothing but virtual time.
  void Turn();
  void LetTimePass(std::uint64_t milliseconds);
  /// Turns until `isSo` is true. False if it does not become true in that much virtual time.
  [[nodiscard]] bool TurnUntil(const std::function<bool()>& isSo, std::uint64_t limitMilliseconds);

  /// The stack loses everything and begins anew.
  void RestartTheStack();
  /// Requests that were never answered end.
  void EndLostRequests();
  /// Every fault ends: each request is answered from now on, and those are that have been lost.
  void EndFaults();
  /// Turns until the device says that everything is done, which it has to do within three minutes,
  /// and to say for a while. False if it does not.
  [[nodiscard]] bool AwaitDone();

  /// For whoever reads a failure: what the device still has to do, and what differs.
  std::string WhatIsNotDone() const;

  /// Forgets the calls and the log, so that what the process holds is the device's.
  void ForgetTheLog();

  keepers::Interfaces& GetInterfaces() { return m_interfaces; }
  const apply::Reloader& GetReloader() const { return m_reloader; }

  /// What has been logged at a level since the log was forgotten; the folder's lines are not in it.
  const test_support::TraceCapture& GetTraces() const { return m_traces; }

  /// The stack's tables except for the router ids, which the stack chooses once, the library's
  /// VLANs, and assertions that have failed.
  std::string Tables();
  /// The same, and what the device has asked of the library: routes and rules.
  std::string State();

 private:
  apply::Asker AskerInto(Answer& answer);
  static bool TakeRefusal(std::vector<std::string>& lines);
  void TurnWhile(const std::function<bool()>& isGoingOn);
  void AwaitEnd();
  void AwaitSuccessors();
  bool IsDone() const;

  std::uint64_t m_turnMilliseconds;
  uv_sem_t m_reached;        // posted by the pool
  unsigned int m_marks = 0;  // of AwaitPool that the loop has not heard of
  test_support::TraceCapture m_traces;
  ::loop::Loop m_loop;
  std::vector<std::string> m_logged;
  keepers::Interfaces m_interfaces;
  ports::SoftwareStackPort m_port;
  ports::ProtocolRows m_protocolRows;
  apply::Reloader m_reloader;
};

}  // namespace convergence

#endif
