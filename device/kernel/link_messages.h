// Links and their addresses as messages to and from the kernel (rtnetlink).
#ifndef DEVICE_KERNEL_LINK_MESSAGES_H
#define DEVICE_KERNEL_LINK_MESSAGES_H

#include <cstdint>
#include <vector>

#include "link.h"

namespace kernel {

/// Messages that ask for all links of the network namespace, and for all of their addresses. Each
/// is sent alone.
std::vector<char> MakeLinkDump(std::uint32_t sequence);
std::vector<char> MakeAddressDump(std::uint32_t sequence);

/// A link that the kernel has, or has no more. It comes without its addresses.
struct FoundLink {
  Link link;
  bool isGone = false;
  std::uint32_t sequence = 0;  // of the dump that it belongs to; 0 for news
};

/// An address of a link that the kernel has, or has no more. One that may not be used (it is being
/// looked whether somebody else has it, or somebody has) counts as none.
struct FoundAddress {
  std::uint32_t ifIndex = 0;
  LinkAddress address;
  bool isGone = false;
  std::uint32_t sequence = 0;  // as above
};

}  // namespace kernel

#endif
