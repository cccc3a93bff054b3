#include "route_messages.h"

#include <linux/rtnetlink.h>
#include <sys/socket.h>

#include <algorithm>
#include <cstring>

#include "message_reading.h"

namespace kernel {

namespace {

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
  if (route.rtm_type == RTN_UNICAST && !attributes.hasSeveralNextHops && ifIndex != 0) {
    found.nextHop = NextHop{AddressOf(attributes.gateway), ifIndex};
  }
  return found;
}

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
  MessageBatch::Append(bytes, header.nlmsg_len);  // a multiple of four
}

void Batch::Add(const RouteKey& key, const NextHop& nextHop, std::uint32_t priority,
                std::uint32_t sequence) {
  Append(RTM_NEWROUTE, NLM_F_CREATE | NLM_F_EXCL, sequence, key, &nextHop, priority);
}

void Batch::Delete(const RouteKey& key, const NextHop* nextHop, std::uint32_t priority,
                   std::uint32_t sequence) {
  Append(RTM_DELROUTE, 0, sequence, key, nextHop, priority);
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
