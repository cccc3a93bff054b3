#include "route_messages.h"

#include <libmnl/libmnl.h>
#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>

#include <algorithm>
#include <cstring>

namespace kernel {

namespace {

// A route's message is about 90 bytes long.
constexpr std::size_t MOST_MESSAGE_BYTES = 256;

std::size_t AddressSize(bool isIp6) { return isIp6 ? 16 : 4; }

/// Calls `take` for each whole attribute of a message, after a header of its own of `before` bytes.
template <typename Take>
void ForEachAttribute(const nlmsghdr& header, std::size_t before, const Take& take) {
  const auto* const end = reinterpret_cast<const char*>(&header) + header.nlmsg_len;
  const auto* attribute = static_cast<const nlattr*>(mnl_nlmsg_get_payload_offset(&header, before));
  while (mnl_attr_ok(attribute, static_cast<int>(end - reinterpret_cast<const char*>(attribute)))) {
    take(*attribute);
    attribute = mnl_attr_next(attribute);
  }
}

/// The attributes of a route's message, each only if it has the size that its meaning needs.
struct RouteAttributes {
  const nlattr* destination = nullptr;
  const nlattr* gateway = nullptr;
  const nlattr* interface = nullptr;
  const nlattr* priority = nullptr;
  const nlattr* table = nullptr;
  bool hasSeveralNextHops = false;
  bool isUnderstood = true;
};

const nlattr* Sized(const nlattr& attribute, std::size_t size, bool& isUnderstood) {
  isUnderstood = isUnderstood && mnl_attr_get_payload_len(&attribute) == size;
  return &attribute;
}

RouteAttributes FindAttributes(const nlmsghdr& header, bool isIp6) {
  RouteAttributes found;
  ForEachAttribute(header, sizeof(rtmsg), [&](const nlattr& attribute) {
    switch (mnl_attr_get_type(&attribute)) {
      case RTA_DST:
        found.destination = Sized(attribute, AddressSize(isIp6), found.isUnderstood);
        break;
      case RTA_GATEWAY:
        found.gateway = Sized(attribute, AddressSize(isIp6), found.isUnderstood);
        break;
      case RTA_OIF:
        found.interface = Sized(attribute, sizeof(std::uint32_t), found.isUnderstood);
        break;
      case RTA_PRIORITY:
        found.priority = Sized(attribute, sizeof(std::uint32_t), found.isUnderstood);
        break;
      case RTA_TABLE:
        found.table = Sized(attribute, sizeof(std::uint32_t), found.isUnderstood);
        break;
      case RTA_MULTIPATH:
      case RTA_VIA:
      case RTA_ENCAP:
        found.hasSeveralNextHops = true;
        break;
      default:
        break;
    }
  });
  return found;
}

Address AddressOf(const nlattr* attribute) {
  Address address{};
  if (attribute != nullptr) {
    std::memcpy(address.data(), mnl_attr_get_payload(attribute),
                mnl_attr_get_payload_len(attribute));
  }
  return address;
}

std::uint32_t NumberOf(const nlattr* attribute, std::uint32_t otherwise) {
  return attribute != nullptr ? mnl_attr_get_u32(attribute) : otherwise;
}

bool HasHostBits(const RouteKey& key) {
  for (std::size_t bit = key.length; bit < 8 * key.destination.size(); ++bit) {
    if ((key.destination[bit / 8] >> (7 - bit % 8) & 1) != 0) {
      return true;
    }
  }
  return false;
}

std::optional<FoundRoute> ReadRoute(const nlmsghdr& header) {
  if (mnl_nlmsg_get_payload_len(&header) < sizeof(rtmsg)) {
    return std::nullopt;
  }
  const auto& route = *static_cast<const rtmsg*>(mnl_nlmsg_get_payload(&header));
  const bool isIp6 = route.rtm_family == AF_INET6;
  const bool isCloned = (route.rtm_flags & RTM_F_CLONED) != 0;  // a cache's
  if ((route.rtm_family != AF_INET && !isIp6) || isCloned ||
      route.rtm_dst_len > 8 * AddressSize(isIp6) || route.rtm_src_len != 0 || route.rtm_tos != 0) {
    return std::nullopt;
  }
  const RouteAttributes attributes = FindAttributes(header, isIp6);
  if (!attributes.isUnderstood) {
    return std::nullopt;
  }
  FoundRoute found;
  found.key = {NumberOf(attributes.table, route.rtm_table), isIp6, route.rtm_dst_len,
               AddressOf(attributes.destination)};
  if (HasHostBits(found.key)) {
    return std::nullopt;
  }
  found.protocol = route.rtm_protocol;
  found.priority = NumberOf(attributes.priority, 0);
  const std::uint32_t ifIndex = NumberOf(attributes.interface, 0);
  if (route.rtm_type == RTN_UNICAST && !attributes.hasSeveralNextHops && ifIndex != 0) {
    found.nextHop = NextHop{AddressOf(attributes.gateway), ifIndex};
  }
  return found;
}

// The kernel's words are a text that ends with a zero byte, after the copy of the header that the
// answer is for.
std::string ReadReason(const nlmsghdr& header) {
  const std::size_t before = sizeof(nlmsgerr);
  if ((header.nlmsg_flags & NLM_F_ACK_TLVS) == 0 || (header.nlmsg_flags & NLM_F_CAPPED) == 0 ||
      mnl_nlmsg_get_payload_len(&header) < before) {
    return {};
  }
  std::string reason;
  ForEachAttribute(header, before, [&](const nlattr& attribute) {
    if (mnl_attr_get_type(&attribute) == NLMSGERR_ATTR_MSG) {
      const auto* const text = static_cast<const char*>(mnl_attr_get_payload(&attribute));
      reason.assign(text, strnlen(text, mnl_attr_get_payload_len(&attribute)));
    }
  });
  return reason;
}

int PositiveError(int error) { return error < 0 && error > -4096 ? -error : 0; }

std::optional<Answer> ReadAnswer(const nlmsghdr& header) {
  if (mnl_nlmsg_get_payload_len(&header) < sizeof(nlmsgerr)) {
    return std::nullopt;
  }
  const auto& answer = *static_cast<const nlmsgerr*>(mnl_nlmsg_get_payload(&header));
  return Answer{header.nlmsg_seq, PositiveError(answer.error), ReadReason(header)};
}

DumpEnd ReadEnd(const nlmsghdr& header) {
  int error = 0;
  if (mnl_nlmsg_get_payload_len(&header) >= sizeof error) {
    std::memcpy(&error, mnl_nlmsg_get_payload(&header), sizeof error);
  }
  return {header.nlmsg_seq, PositiveError(error)};
}

void TakeMessage(const nlmsghdr& header, Received& received) {
  received.isInterrupted |= (header.nlmsg_flags & NLM_F_DUMP_INTR) != 0;
  if (header.nlmsg_type == RTM_NEWROUTE) {
    if (auto route = ReadRoute(header)) {
      received.messages.emplace_back(*route);
    }
  } else if (header.nlmsg_type == NLMSG_ERROR) {
    if (auto answer = ReadAnswer(header)) {
      received.messages.emplace_back(std::move(*answer));
    }
  } else if (header.nlmsg_type == NLMSG_DONE) {
    received.messages.emplace_back(ReadEnd(header));
  }
}

}  // namespace

void Batch::Append(unsigned short type, unsigned short flags, std::uint32_t sequence,
                   const RouteKey& key, const NextHop* nextHop, std::uint32_t priority) {
  alignas(nlmsghdr) char bytes[MOST_MESSAGE_BYTES];
  nlmsghdr& header = *mnl_nlmsg_put_header(bytes);
  header.nlmsg_type = type;
  header.nlmsg_flags = static_cast<unsigned short>(NLM_F_REQUEST | flags);
  header.nlmsg_seq = sequence;
  auto& route = *static_cast<rtmsg*>(mnl_nlmsg_put_extra_header(&header, sizeof(rtmsg)));
  route.rtm_family = key.isIp6 ? AF_INET6 : AF_INET;
  route.rtm_dst_len = key.length;
  route.rtm_protocol = OUR_PROTOCOL;
  route.rtm_table = RT_TABLE_UNSPEC;  // a number of more than a byte stands in an attribute
  const auto size = static_cast<std::size_t>(AddressSize(key.isIp6));
  mnl_attr_put_u32(&header, RTA_TABLE, key.table);
  mnl_attr_put(&header, RTA_DST, size, key.destination.data());
  mnl_attr_put_u32(&header, RTA_PRIORITY, priority);
  if (type == RTM_DELROUTE) {
    route.rtm_scope = RT_SCOPE_NOWHERE;  // any
  } else {
    route.rtm_type = RTN_UNICAST;
    route.rtm_scope = nextHop->HasGateway() ? RT_SCOPE_UNIVERSE : RT_SCOPE_LINK;
  }
  if (nextHop != nullptr) {
    mnl_attr_put_u32(&header, RTA_OIF, nextHop->ifIndex);
    if (nextHop->HasGateway()) {
      mnl_attr_put(&header, RTA_GATEWAY, size, nextHop->gateway.data());
    }
  }
  m_last = m_bytes.size();
  m_bytes.insert(m_bytes.end(), bytes, bytes + header.nlmsg_len);  // a multiple of four
}

void Batch::Add(const RouteKey& key, const NextHop& nextHop, std::uint32_t priority,
                std::uint32_t sequence) {
  Append(RTM_NEWROUTE, NLM_F_CREATE | NLM_F_EXCL, sequence, key, &nextHop, priority);
}

void Batch::Delete(const RouteKey& key, const NextHop* nextHop, std::uint32_t priority,
                   std::uint32_t sequence) {
  Append(RTM_DELROUTE, 0, sequence, key, nextHop, priority);
}

const std::vector<char>& Batch::Finish() {
  nlmsghdr last;
  std::memcpy(&last, m_bytes.data() + m_last, sizeof last);
  last.nlmsg_flags |= NLM_F_ACK;
  std::memcpy(m_bytes.data() + m_last, &last, sizeof last);
  return m_bytes;
}

// The kernel filters by protocol only if it was asked to be strict (NetlinkSocket does).
std::vector<char> MakeDump(bool isIp6, std::uint32_t sequence) {
  alignas(nlmsghdr) char bytes[MOST_MESSAGE_BYTES];
  nlmsghdr& header = *mnl_nlmsg_put_header(bytes);
  header.nlmsg_type = RTM_GETROUTE;
  header.nlmsg_flags = NLM_F_REQUEST | NLM_F_DUMP;
  header.nlmsg_seq = sequence;
  auto& route = *static_cast<rtmsg*>(mnl_nlmsg_put_extra_header(&header, sizeof(rtmsg)));
  route.rtm_family = isIp6 ? AF_INET6 : AF_INET;
  route.rtm_protocol = OUR_PROTOCOL;
  return {bytes, bytes + header.nlmsg_len};
}

// Not with mnl_nlmsg_ok, which takes a length of more than two gigabytes for a negative one.
Received ReadMessages(const void* bytes, std::size_t size) {
  Received received;
  const auto* at = static_cast<const char*>(bytes);
  while (size >= sizeof(nlmsghdr)) {
    const auto& header = *reinterpret_cast<const nlmsghdr*>(at);
    if (header.nlmsg_len < sizeof header || header.nlmsg_len > size) {
      break;
    }
    TakeMessage(header, received);
    const std::size_t length = std::min<std::size_t>(NLMSG_ALIGN(header.nlmsg_len), size);
    at += length;
    size -= length;
  }
  return received;
}

}  // namespace kernel
