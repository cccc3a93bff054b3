#include "route_messages.h"

#include <linux/rtnetlink.h>
#include <sys/socket.h>

#include <algorithm>
#include <cstring>

#include "message_reading.h"

namespace kernel {

namespace {

// A message with as many next hops as there may be, each with an IPv6 address.
constexpr std::size_t MOST_ROUTE_BYTES = MOST_MESSAGE_BYTES + NextHops::MOST * 28;

/// The attributes of a route's message, each only if it has the size that its meaning needs.
struct RouteAttributes {
  const nlattr* destination = nullptr;
  const nlattr* gateway = nullptr;
  const nlattr* interface = nullptr;
  const nlattr* priority = nullptr;
  const nlattr* table = nullptr;
  const nlattr* nextHops = nullptr;  // of any size
  bool isOfAnotherForm = false;
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
        found.nextHops = &attribute;
        break;
      case RTA_VIA:
      case RTA_ENCAP:
        found.isOfAnotherForm = true;
        break;
      default:
        break;
    }
  });
  return found;
}

std::uint32_t NumberOf(const nlattr* attribute, std::uint32_t otherwise) {
  return attribute != nullptr ? mnl_attr_get_u32(attribute) : otherwise;
}

/// One of several next hops; nothing if a route of ours has none like it.
std::optional<NextHop> ReadOneOfSeveral(const rtnexthop& nextHop, bool isIp6) {
  bool isLikeOurs = nextHop.rtnh_ifindex > 0 && nextHop.rtnh_hops == 0;  // 0 is a share of one
  const nlattr* gateway = nullptr;
  const auto* const first = reinterpret_cast<const char*>(&nextHop);
  ForEachAttributeIn(reinterpret_cast<const nlattr*>(first + sizeof nextHop),
                     first + nextHop.rtnh_len, [&](const nlattr& attribute) {
                       const unsigned int type = mnl_attr_get_type(&attribute);
                       if (type == RTA_GATEWAY) {
                         gateway = Sized(attribute, AddressSize(isIp6), isLikeOurs);
                       } else if (type == RTA_VIA || type == RTA_ENCAP) {
                         isLikeOurs = false;
                       }
                     });
  if (!isLikeOurs) {
    return std::nullopt;
  }
  return NextHop{AddressOf(gateway), static_cast<std::uint32_t>(nextHop.rtnh_ifindex)};
}

/// Several next hops: structures of their own, one after the other, each with attributes.
void ReadSeveral(const nlattr& attribute, FoundRoute& found) {
  std::vector<NextHop> nextHops;
  const auto* at = static_cast<const char*>(mnl_attr_get_payload(&attribute));
  std::size_t left = mnl_attr_get_payload_len(&attribute);
  while (left >= sizeof(rtnexthop)) {
    const auto& nextHop = *reinterpret_cast<const rtnexthop*>(at);
    if (nextHop.rtnh_len < sizeof nextHop || nextHop.rtnh_len > left) {
      return;
    }
    const std::optional<NextHop> read = ReadOneOfSeveral(nextHop, found.key.isIp6);
    if (!read || nextHops.size() == NextHops::MOST) {
      return;
    }
    nextHops.push_back(*read);
    found.hasDeadNextHop = found.hasDeadNextHop || (nextHop.rtnh_flags & RTNH_F_DEAD) != 0;
    const std::size_t length = std::min<std::size_t>(RTNH_ALIGN(nextHop.rtnh_len), left);
    at += length;
    left -= length;
  }
  if (left == 0 && !nextHops.empty()) {
    found.nextHops = NextHops(nextHops);
  }
}

bool HasHostBits(const RouteKey& key) {
  for (std::size_t bit = key.length; bit < 8 * key.destination.size(); ++bit) {
    if ((key.destination[bit / 8] >> (7 - bit % 8) & 1) != 0) {
      return true;
    }
  }
  return false;
}

void PutGateway(nlmsghdr& header, const NextHop& nextHop, std::size_t size) {
  if (nextHop.HasGateway()) {
    mnl_attr_put(&header, RTA_GATEWAY, size, nextHop.gateway.data());
  }
}

void PutSeveral(nlmsghdr& header, const NextHops& nextHops, std::size_t size) {
  nlattr* const nest = mnl_attr_nest_start(&header, RTA_MULTIPATH);
  for (const NextHop& hop : nextHops) {
    auto* const begin = static_cast<char*>(mnl_nlmsg_get_payload_tail(&header));
    rtnexthop nextHop{};
    nextHop.rtnh_ifindex = static_cast<int>(hop.ifIndex);
    header.nlmsg_len += sizeof nextHop;
    PutGateway(header, hop, size);
    auto* const end = static_cast<char*>(mnl_nlmsg_get_payload_tail(&header));
    nextHop.rtnh_len = static_cast<unsigned short>(end - begin);
    std::memcpy(begin, &nextHop, sizeof nextHop);
  }
  mnl_attr_nest_end(&header, nest);
}

}  // namespace

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
  if (route.rtm_type != RTN_UNICAST || attributes.isOfAnotherForm) {
    return found;
  }
  if (attributes.nextHops != nullptr) {
    ReadSeveral(*attributes.nextHops, found);
  } else if (const NextHops one = NextHop{AddressOf(attributes.gateway), ifIndex}; one.AreKnown()) {
    found.nextHops = one;
  }
  return found;
}

void Batch::Append(unsigned short type, unsigned short flags, std::uint32_t sequence,
                   const RouteKey& key, const NextHops& nextHops, std::uint32_t priority) {
  alignas(nlmsghdr) char bytes[MOST_ROUTE_BYTES];
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
    const bool hasGateway = std::any_of(nextHops.begin(), nextHops.end(),
                                        [](const NextHop& hop) { return hop.HasGateway(); });
    route.rtm_scope = hasGateway ? RT_SCOPE_UNIVERSE : RT_SCOPE_LINK;
  }
  if (nextHops.AreSeveral()) {
    PutSeveral(header, nextHops, size);
  } else if (nextHops.AreKnown()) {
    mnl_attr_put_u32(&header, RTA_OIF, nextHops.begin()->ifIndex);
    PutGateway(header, *nextHops.begin(), size);
  }
  MessageBatch::Append(bytes, header.nlmsg_len);  // a multiple of four
}

void Batch::Add(const RouteKey& key, const NextHops& nextHops, std::uint32_t priority,
                std::uint32_t sequence) {
  Append(RTM_NEWROUTE, NLM_F_CREATE | NLM_F_EXCL, sequence, key, nextHops, priority);
}

void Batch::Delete(const RouteKey& key, const NextHops& nextHops, std::uint32_t priority,
                   std::uint32_t sequence) {
  Append(RTM_DELROUTE, 0, sequence, key, nextHops, priority);
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

}  // namespace kernel
