// The device that the targets share, and what two runs of one input are compared by.
#ifndef FUZZ_SUPPORT_DEVICE_H
#define FUZZ_SUPPORT_DEVICE_H

#include <functional>
#include <string>

#include "tests/support/device_fixture.h"
#include "tests/support/trace_capture.h"

namespace fuzz {

/// One device for the process, in virtual time. It is never destroyed, as the library's singletons are
/// not; an input takes it to nothing at its end, and IsEmpty says whether it did.
class Device : public test_support::Device {
 public:
  static Device& Get();

  /// Everything that was observed since the last call: stack calls, log, assertions, descriptors.
  std::string TakeTrace();
  /// A line of the target's own in the trace.
  void Note(const std::string& line) { m_notes += line + "\n"; }
  /// Time goes on to the next whole second, so that no timer's phase differs from input to input.
  void Align();
  /// Whether the library has neither VLANs nor pending items and the stack no rows.
  bool IsEmpty();
  /// Rows that were never answered go on, then the library forgets its queues. What still waits in
  /// them at that moment is lost (and found as a leak), so all of it has to come to its end before.
  void EndRequests();
  /// Withdraws the document.
  void Withdraw(const std::string& name, Tarsel::DclConfigObject::OptionType type);

 private:
  Device();

  test_support::TraceCapture m_traces;
  std::string m_notes;
};

/// Runs an input twice and demands the same trace. `run` leaves the device as it found it.
void RunTwice(const std::function<void()>& run);

}  // namespace fuzz

#endif
