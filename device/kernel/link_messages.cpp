#include "link_messages.h"

#include <linux/if_addr.h>
#include <linux/if_link.h>
#include <linux/rtnetlink.h>
#include <net/if.h>
#include <sys/socket.h>

#include <cstring>

#include "message_reading.h"

namespace kernel {

namespace {

template <typename Header>
std::vector<char> MakeDumpOf(unsigned short type, std::uint32_t sequence, bool isWithoutCounts) {
  alignas(nlmsghdr) char bytes[MOST_MESSAGE_BYTES];
  nlmsghdr& header = *mnl_nlmsg_put_header(bytes);
  header.nlmsg_type = type;
  header.nlmsg_flags = NLM_F_REQUEST | NLM_F_DUMP;
  header.nlmsg_seq = sequence;
  mnl_nlmsg_put_extra_header(&header, sizeof(Header));
  if (isWithoutCounts) {  // of packets, which are most of the message
    mnl_attr_put_u32(&header, IFLA_EXT_MASK, RTEXT_FILTER_SKIP_STATS);
  }
  return {bytes, bytes + header.nlmsg_len};
}

// News are no answer: they have the number 0, or that of somebody else's request.
std::uint32_t DumpOf(const nlmsghdr& header) {
  return (header.nlmsg_flags & NLM_F_MULTI) != 0 ? header.nlmsg_seq : 0;
}

// At most as long as the attribute says, whether it ends with a zero byte or not.
std::string TextOf(const nlattr& attribute) {
  const auto* const text = static_cast<const char*>(mnl_attr_get_payload(&attribute));
  return {text, strnlen(text, mnl_attr_get_payload_len(&attribute))};
}

// A number in an attribute that has its size, else what it was.
template <typename Number>
void TakeNumber(const nlattr& attribute, Number& number) {
  if (mnl_attr_get_payload_len(&attribute) == sizeof number) {
    std::memcpy(&number, mnl_attr_get_payload(&attribute), sizeof number);
  }
}

// What a link is besides a link: its kind, then what that kind says of it. An attribute of this
// number means another thing for each kind, so the data count once the kind is known; the kernel
// may tell them in any order.
void ReadKind(const nlattr& information, Link& link) {
  std::string kind;
  const nlattr* data = nullptr;
  ForEachNested(information, [&](const nlattr& attribute) {
    if (mnl_attr_get_type(&attribute) == IFLA_INFO_KIND) {
      kind = TextOf(attribute);
    } else if (mnl_attr_get_type(&attribute) == IFLA_INFO_DATA) {
      data = &attribute;
    }
  });
  const auto forEach = [data](unsigned short type, const auto& take) {
    if (data != nullptr) {
      ForEachNested(*data, [&](const nlattr& attribute) {
        if (mnl_attr_get_type(&attribute) == type) {
          take(attribute);
        }
      });
    }
  };
  if (kind == "vlan") {
    forEach(IFLA_VLAN_ID, [&link](const nlattr& attribute) {
      TakeNumber(attribute, link.tag.emplace(std::uint16_t{0}));
    });
  } else if (kind == "vrf") {
    link.vrfTable = 0;
    forEach(IFLA_VRF_TABLE,
            [&link](const nlattr& attribute) { TakeNumber(attribute, *link.vrfTable); });
  }
}

}  // namespace

std::vector<char> MakeLinkDump(std::uint32_t sequence) {
  return MakeDumpOf<ifinfomsg>(RTM_GETLINK, sequence, true);
}

std::vector<char> MakeAddressDump(std::uint32_t sequence) {
  return MakeDumpOf<ifaddrmsg>(RTM_GETADDR, sequence, false);
}

// Drivers tell of themselves in messages that say little of the link; those are passed over.
// A bridge tells of its ports in messages of its own, under the same numbers: the end of a port is
// not that of the link.
std::optional<FoundLink> ReadLink(const nlmsghdr& header) {
  if (mnl_nlmsg_get_payload_len(&header) < sizeof(ifinfomsg)) {
    return std::nullopt;
  }
  const auto& message = *static_cast<const ifinfomsg*>(mnl_nlmsg_get_payload(&header));
  if (message.ifi_family != AF_UNSPEC || message.ifi_index <= 0) {
    return std::nullopt;
  }
  FoundLink found;
  found.isGone = header.nlmsg_type == RTM_DELLINK;
  found.sequence = DumpOf(header);
  Link& link = found.link;
  link.index = static_cast<std::uint32_t>(message.ifi_index);
  link.isUp = (message.ifi_flags & IFF_UP) != 0 && (message.ifi_flags & IFF_RUNNING) != 0;
  link.isLoopback = (message.ifi_flags & IFF_LOOPBACK) != 0;
  link.isPointToPoint = (message.ifi_flags & IFF_POINTOPOINT) != 0;
  link.isBroadcast = (message.ifi_flags & IFF_BROADCAST) != 0;
  link.isMulticast = (message.ifi_flags & IFF_MULTICAST) != 0;
  bool isWhole = found.isGone;
  ForEachAttribute(header, sizeof(ifinfomsg), [&](const nlattr& attribute) {
    switch (mnl_attr_get_type(&attribute)) {
      case IFLA_IFNAME:
        link.name = TextOf(attribute);
        break;
      case IFLA_MTU:
        isWhole = true;
        TakeNumber(attribute, link.mtu);
        break;
      case IFLA_MASTER:
        TakeNumber(attribute, link.master);
        break;
      case IFLA_LINKINFO:
        ReadKind(attribute, link);
        break;
      default:
        break;
    }
  });
  return isWhole ? std::optional(found) : std::nullopt;
}

// An address of IPv4 that leads to one other end has the latter as "address": the own one is the
// "local" one. IPv6 has the same, and without another end no "local" one.
std::optional<FoundAddress> ReadAddress(const nlmsghdr& header) {
  if (mnl_nlmsg_get_payload_len(&header) < sizeof(ifaddrmsg)) {
    return std::nullopt;
  }
  const auto& message = *static_cast<const ifaddrmsg*>(mnl_nlmsg_get_payload(&header));
  const bool isIp6 = message.ifa_family == AF_INET6;
  if ((message.ifa_family != AF_INET && !isIp6) || message.ifa_index == 0 ||
      message.ifa_prefixlen > 8 * AddressSize(isIp6)) {
    return std::nullopt;
  }
  const nlattr* address = nullptr;
  const nlattr* local = nullptr;
  std::uint32_t flags = message.ifa_flags;
  ForEachAttribute(header, sizeof(ifaddrmsg), [&](const nlattr& attribute) {
    const bool isAddress = mnl_attr_get_payload_len(&attribute) == AddressSize(isIp6);
    if (mnl_attr_get_type(&attribute) == IFA_ADDRESS && isAddress) {
      address = &attribute;
    } else if (mnl_attr_get_type(&attribute) == IFA_LOCAL && isAddress) {
      local = &attribute;
    } else if (mnl_attr_get_type(&attribute) == IFA_FLAGS) {
      TakeNumber(attribute, flags);
    }
  });
  if (address == nullptr && local == nullptr) {
    return std::nullopt;
  }
  const bool isTentative = (flags & IFA_F_TENTATIVE) != 0 && (flags & IFA_F_OPTIMISTIC) == 0;
  FoundAddress found;
  found.ifIndex = message.ifa_index;
  const Address own = AddressOf(local != nullptr ? local : address);
  const Address other = !isIp6 && address != nullptr ? AddressOf(address) : own;
  found.address = {isIp6,
                   own,
                   other,
                   message.ifa_prefixlen,
                   !isIp6 && (flags & IFA_F_SECONDARY) != 0,
                   message.ifa_scope};
  found.isGone = header.nlmsg_type == RTM_DELADDR || isTentative || (flags & IFA_F_DADFAILED) != 0;
  found.sequence = DumpOf(header);
  return found;
}

}  // namespace kernel
