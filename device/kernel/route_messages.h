// Routes as messages to and from the kernel (rtnetlink).
#ifndef DEVICE_KERNEL_ROUTE_MESSAGES_H
#define DEVICE_KERNEL_ROUTE_MESSAGES_H

#include <cstdint>
#include <optional>
#include <vector>

#include "message_batch.h"
#include "next_hops.h"
#include "route.h"

namespace kernel {

/// Requests for routes.
class Batch : public MessageBatch {
 public:
  /// Asks for the route, unless one stands already for its key with this priority, whoever made it.
  void Add(const RouteKey& key, const NextHops& nextHops, std::uint32_t priority,
           std::uint32_t sequence);
  /// Asks for the end of our route with this priority, to these next hops; none known for any. A route of
  /// another program is not meant; but where it has the same priority in IPv6, the kernel takes both
  /// for one route with two next hops, so what is known has to be named. In IPv4 the kernel takes the
  /// priority 0 for any.
  void Delete(const RouteKey& key, const NextHops& nextHops, std::uint32_t priority,
              std::uint32_t sequence);

 private:
  void Append(unsigned short type, unsigned short flags, std::uint32_t sequence,
              const RouteKey& key, const NextHops& nextHops, std::uint32_t priority);
};

/// A message that asks for all routes of ours of a family. It is sent alone.
std::vector<char> MakeDump(bool isIp6, std::uint32_t sequence);

/// A route that the kernel has. It is one of ours only by its protocol number.
struct FoundRoute {
  RouteKey key;
  unsigned char protocol = 0;
  std::uint32_t priority = 0;
  /// Nothing if it leads anywhere else than a route of ours can: nowhere, to no interface, to more
  /// than NextHops::MOST, or to several in shares that are not equal.
  std::optional<NextHops> nextHops;
  /// One of several is out of use: its link is down. No packet goes there, and it comes back with
  /// the link.
  bool hasDeadNextHop = false;
};

}  // namespace kernel

#endif
