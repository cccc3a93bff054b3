// A device with a configuration folder, in virtual time.
#ifndef TESTS_CONVERGENCE_FOLDER_HOST_H
#define TESTS_CONVERGENCE_FOLDER_HOST_H

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "device/apply/interfaces.h"
#include "device/apply/reloader.h"
#include "device/loop/loop.h"
#include "device/loop/settled_wait.h"
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
  /// Comes back when it has been applied or refused and everything has been answered.
  Answer Reload();

  /// The stack's tables except for the router ids, which the stack chooses once, what the device
  /// has asked of the library (VLANs, routes and rules), and assertions that have failed.
  std::string State();

 private:
  apply::Asker AskerInto(Answer& answer);
  void TurnWhile(const std::function<bool()>& isGoingOn);
  void AwaitEnd();

  const std::uint64_t m_turnMilliseconds;
  test_support::TraceCapture m_traces;
  ::loop::Loop m_loop;
  std::vector<std::string> m_logged;
  apply::Interfaces m_interfaces;
  ::loop::SettledWait m_answers;
  apply::Reloader m_reloader;
};

}  // namespace convergence

#endif
