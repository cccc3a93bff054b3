// One configured static route as a document states it.
#ifndef VANTACORE_ROUTE_CONFIG_H
#define VANTACORE_ROUTE_CONFIG_H

#include "tarsel/address.h"
#include "tarsel/options.h"
#include "tarsel/string.h"
#include "vantacore/export.h"

namespace Tarsel {

/// An IPv4 static route. A value class with virtual operations, whose order is fixed. `operator<`
/// means less or equal: do not use it for sorted containers or std::sort.
class VANTACORE_API Ip4RouteConfig {
 public:
  /// VLAN 0, metric 1, the rest empty or zero.
  Ip4RouteConfig();
  /// A copy.
  Ip4RouteConfig(const Ip4RouteConfig& other);
  /// The interface is left empty and the metric stored as it is.
  Ip4RouteConfig(unsigned short vlan, const Ip4Addr& network, const Ip4Addr& netmask,
                 const Ip4Addr& gateway, unsigned char metric);
  virtual ~Ip4RouteConfig();

  /// Copies every field.
  virtual Ip4RouteConfig& operator=(const Ip4RouteConfig& other);
  /// All fields equal.
  virtual bool operator==(const Ip4RouteConfig& other) const;
  /// Equal except for the interface. If this record's metric is 255, it matches any metric.
  virtual bool operator()(const Ip4RouteConfig& other) const;
  /// Compare(*this, other).
  virtual bool operator<(const Ip4RouteConfig& other) const;
  /// By masked network, then gateway (as the words lie in memory), then metric. Returns true if `a`
  /// sorts before `b` or equal to it.
  static bool Compare(const Ip4RouteConfig& a, const Ip4RouteConfig& b);

  /// Reads "interface", "network", "netmask", "gateway", "metric" and "routemetricmode". The metric
  /// is stored plus one, cut to 8 bits (255 becomes 0), unless "routemetricmode" begins with
  /// "passthrough". Returns false at the first value that cannot be read; the fields read before it
  /// have changed.
  bool ParseGroup(unsigned short vid, const OptionsNode& group);

  /// The VLAN that the route is in.
  unsigned short vlan;
  /// The outgoing interface by name; empty for none.
  string interface;
  /// The destination, host bits as the document gives them.
  Ip4Addr network;
  /// The destination's mask; any bits.
  Ip4Addr netmask;
  /// The next hop.
  Ip4Addr gateway;
  /// The metric, 0 to 255; as read plus one unless it is passed through.
  unsigned char metric;
};

/// An IPv6 static route; the same contract with these differences: the prefix is read from
/// "network" and "prefix" (the length), the metric is stored as it is, and the order is by prefix
/// address, prefix length, gateway (big-endian) and metric.
class VANTACORE_API Ip6RouteConfig {
 public:
  /// VLAN 0, metric 1, the rest empty or zero.
  Ip6RouteConfig();
  /// A copy.
  Ip6RouteConfig(const Ip6RouteConfig& other);
  /// The interface is left empty and the metric stored as it is.
  Ip6RouteConfig(unsigned short vlan, const Ip6Addr& network, const Ip6Prefix& prefix,
                 const Ip6Addr& gateway, unsigned char metric);
  virtual ~Ip6RouteConfig();

  /// Copies every field.
  virtual Ip6RouteConfig& operator=(const Ip6RouteConfig& other);
  /// All fields equal.
  virtual bool operator==(const Ip6RouteConfig& other) const;
  /// Equal except for the interface. If this record's metric is 255, it matches any metric.
  virtual bool operator()(const Ip6RouteConfig& other) const;
  /// Compare(*this, other).
  virtual bool operator<(const Ip6RouteConfig& other) const;
  /// Returns true if `a` sorts before `b` or equal to it.
  static bool Compare(const Ip6RouteConfig& a, const Ip6RouteConfig& b);

  /// Reads "interface", "network", "prefix", "gateway" and "metric". Returns false at the first
  /// value that cannot be read; the fields read before it have changed.
  bool ParseGroup(unsigned short vid, const OptionsNode& group);

  /// The VLAN that the route is in.
  unsigned short vlan;
  /// The outgoing interface by name; empty for none.
  string interface;
  /// The destination, host bits as the document gives them.
  Ip6Addr network;
  /// The destination with its length.
  Ip6Prefix prefix;
  /// The next hop.
  Ip6Addr gateway;
  /// The metric as read, 0 to 255.
  unsigned char metric;
};

}  // namespace Tarsel

#endif
