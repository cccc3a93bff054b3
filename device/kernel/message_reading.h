// What the readers of single messages share. Only the sources of this folder include it.
#ifndef DEVICE_KERNEL_MESSAGE_READING_H
#define DEVICE_KERNEL_MESSAGE_READING_H

#include <libmnl/libmnl.h>
#include <linux/netlink.h>

#include <cstdint>
#include <optional>

#include "link_messages.h"
#include "route_messages.h"
#include "rule_messages.h"

namespace kernel {

// A message of ours is about 90 bytes long.
constexpr std::size_t MOST_MESSAGE_BYTES = 256;

inline std::size_t AddressSize(bool isIp6) { return isIp6 ? 16 : 4; }

/// Calls `take` for each whole attribute from `attribute` up to `end`.
template <typename Take>
void ForEachAttributeIn(const nlattr* attribute, const char* end, const Take& take) {
  while (mnl_attr_ok(attribute, static_cast<int>(end - reinterpret_cast<const char*>(attribute)))) {
    take(*attribute);
    attribute = mnl_attr_next(attribute);
  }
}

/// Calls `take` for each whole attribute of a message, after a header of its own of `before` bytes.
template <typename Take>
void ForEachAttribute(const nlmsghdr& header, std::size_t before, const Take& take) {
  ForEachAttributeIn(static_cast<const nlattr*>(mnl_nlmsg_get_payload_offset(&header, before)),
                     reinterpret_cast<const char*>(&header) + header.nlmsg_len, take);
}

/// The same for the attributes inside of one.
template <typename Take>
void ForEachNested(const nlattr& nest, const Take& take) {
  const auto* const first = static_cast<const char*>(mnl_attr_get_payload(&nest));
  ForEachAttributeIn(reinterpret_cast<const nlattr*>(first),
                     first + mnl_attr_get_payload_len(&nest), take);
}

/// An address in network order, of an attribute that has its size; all zero for null.
Address AddressOf(const nlattr* attribute);

// Each returns nothing if the message makes no sense as one of these, or is of no interest.

std::optional<FoundRoute> ReadRoute(const nlmsghdr& header);
std::optional<FoundRule> ReadRule(const nlmsghdr& header);  // one under our number
std::optional<FoundLink> ReadLink(const nlmsghdr& header);
std::optional<FoundAddress> ReadAddress(const nlmsghdr& header);

}  // namespace kernel

#endif
