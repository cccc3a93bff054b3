// A socket to the kernel's routing (rtnetlink).
#ifndef DEVICE_KERNEL_NETLINK_SOCKET_H
#define DEVICE_KERNEL_NETLINK_SOCKET_H

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "device/program/owned_descriptor.h"
#include "messages.h"

namespace kernel {

/// The way to the kernel and back. Neither direction waits.
class Channel {
 public:
  virtual ~Channel() = default;

  /// Sends a batch or a dump. The kernel has worked a batch off when this returns; its answers can
  /// be received then. Returns 0 or an errno: then nothing of it was done.
  virtual int Send(const std::vector<char>& bytes) = 0;

  enum class Outcome {
    MESSAGES,  // `received` has what came, which may be nothing of interest
    NOTHING,   // is there for now
    OVERRUN,   // more came than the socket holds: something was lost
    FAILED     // nothing will come any more
  };
  virtual Outcome Receive(Received& received) = 0;

  /// Becomes readable when something can be received.
  virtual int GetDescriptor() const = 0;
};

/// What a socket hears without having asked.
enum class Subscription { NOTHING, LINKS_AND_ADDRESSES };

/// Makes a way to the kernel. Throws std::runtime_error, with the cause, if there is none.
using OpenChannel = std::function<std::unique_ptr<Channel>(Subscription)>;

/// In the network namespace that the process is in when it is made.
class NetlinkSocket final : public Channel {
 public:
  /// Throws std::runtime_error, with the cause, if the system gives no such socket.
  explicit NetlinkSocket(Subscription subscription);

  int Send(const std::vector<char>& bytes) override;
  Outcome Receive(Received& received) override;
  int GetDescriptor() const override { return m_descriptor.Get(); }

 private:
  const program::OwnedDescriptor m_descriptor;
  std::vector<std::uint32_t> m_buffer;  // aligned as the messages are
};

/// An OpenChannel for NetlinkSocket.
std::unique_ptr<Channel> OpenNetlinkSocket(Subscription subscription);

}  // namespace kernel

#endif
