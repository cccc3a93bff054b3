// The machine's links, for tests, and the socket that tells of them.
#ifndef TESTS_UNIT_KERNEL_FAKE_LINKS_H
#define TESTS_UNIT_KERNEL_FAKE_LINKS_H

#include <sys/eventfd.h>

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "device/kernel/netlink_socket.h"
#include "device/program/owned_descriptor.h"

namespace test_kernel {

/// An address as a test writes it: "10.1.0.1/24".
kernel::LinkAddress LinkAddressOf(const std::string& text, bool isSecondary = false);

/// Links that change, and what a kernel tells of it: news at once, and everything when it is asked.
class FakeLinks {
 public:
  /// Makes or changes a link; its addresses stay.
  void Set(std::uint32_t index, const std::string& name, bool isUp = true);
  void Remove(std::uint32_t index);
  void AddAddress(std::uint32_t index, const kernel::LinkAddress& address);
  void RemoveAddress(std::uint32_t index, const kernel::LinkAddress& address);

  std::map<std::uint32_t, kernel::Link> links;
  /// Whether nobody hears of the next changes.
  bool isSilent = false;
  std::function<void(kernel::Message)> tell = [](const kernel::Message&) {};

 private:
  void Tell(kernel::Message message);
};

class FakeLinkChannel : public kernel::Channel {
 public:
  explicit FakeLinkChannel(FakeLinks& links);
  ~FakeLinkChannel() override;

  int Send(const std::vector<char>& bytes) override;
  Outcome Receive(kernel::Received& received) override;
  int GetDescriptor() const override { return m_descriptor.Get(); }

  /// The socket is full: what has not been received stays, and tells so first. Until that has been
  /// received all news are lost without a word, as a kernel does.
  void Overrun();
  /// What was sent last cannot be received, for a reason that is no overrun.
  void Fail() { Tell(Outcome::FAILED, {}); }

  /// What becomes of the next dumps, the last one first.
  enum class Accident { NONE, INTERRUPTED, REFUSED, UNSENT };
  std::vector<Accident> accidents;
  std::size_t dumps = 0;
  std::function<void()> beforeDump = [] {};

 private:
  void Tell(Outcome outcome, kernel::Received received);

  FakeLinks& m_links;
  bool m_isFull = false;
  std::deque<std::pair<Outcome, kernel::Received>> m_waiting;
  const program::OwnedDescriptor m_descriptor{eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC)};
};

}  // namespace test_kernel

#endif
