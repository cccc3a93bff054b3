// The way to a FakeKernel, with everything that can go wrong on it.
#ifndef TESTS_UNIT_KERNEL_FAKE_CHANNEL_H
#define TESTS_UNIT_KERNEL_FAKE_CHANNEL_H

#include <sys/eventfd.h>

#include <deque>
#include <mutex>
#include <utility>
#include <vector>

#include "device/program/owned_descriptor.h"
#include "fake_kernel.h"

namespace test_kernel {

class FakeChannel : public ::kernel::Channel {
 public:
  explicit FakeChannel(FakeKernel& kernel) : m_kernel(kernel) {}

  int Send(const std::vector<char>& bytes) override;
  Outcome Receive(::kernel::Received& received) override;
  int GetDescriptor() const override { return m_descriptor.Get(); }

  /// Lets this be received next.
  void Tell(Outcome outcome, ::kernel::Received received = {});

  std::vector<int> sendErrors;  // of the next sends, the last one first
  /// What becomes of the next answers and dumps, the last one first.
  enum class Accident { NONE, OVERRUN, INTERRUPTED, REFUSED, WITHOUT_FAMILY, LATE };
  std::vector<Accident> accidents;
  /// Answers a dump that is LATE.
  void AnswerLate() { Tell(Outcome::MESSAGES, std::exchange(m_late, {})); }
  std::size_t batches = 0;
  std::size_t dumps = 0;
  std::function<void()> afterDump;

 private:
  Accident TakeAccident();
  void SendDump(::kernel::Received rows, std::uint32_t sequence);

  FakeKernel& m_kernel;
  ::kernel::Received m_late;
  std::mutex m_mutex;  // of m_waiting
  std::deque<std::pair<Outcome, ::kernel::Received>> m_waiting;
  const program::OwnedDescriptor m_descriptor{eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC)};
};

}  // namespace test_kernel

#endif
