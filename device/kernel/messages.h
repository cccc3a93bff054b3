// Messages of the kernel's routing (rtnetlink), as they are read.
//
// What comes from the kernel is not trusted: whatever the bytes are, reading them ends, stays
// inside them, and gives a message or nothing.
#ifndef DEVICE_KERNEL_MESSAGES_H
#define DEVICE_KERNEL_MESSAGES_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <variant>
#include <vector>

#include "link_messages.h"
#include "route_messages.h"
#include "rule_messages.h"

namespace kernel {

/// The kernel's answer to a message of ours.
struct Answer {
  std::uint32_t sequence = 0;
  int error = 0;       // an errno, positive; 0 for success
  std::string reason;  // the kernel's own words; often none
};

/// The end of what a dump tells.
struct DumpEnd {
  std::uint32_t sequence = 0;
  int error = 0;  // an errno, positive; 0 for success
};

using Message = std::variant<Answer, DumpEnd, FoundRoute, FoundRule, FoundLink, FoundAddress>;

/// What one receive has brought.
struct Received {
  std::vector<Message> messages;
  /// The tables changed under a dump in such a way that routes may be missing in it or come twice.
  bool isInterrupted = false;
};

/// `bytes` is aligned as the kernel's messages are, to four. What is not one of these messages, or
/// makes no sense as one, is passed over.
Received ReadMessages(const void* bytes, std::size_t size);

}  // namespace kernel

#endif
