// Rules of the kernel, which say in which table a packet is looked up, as plain data.
#ifndef DEVICE_KERNEL_RULE_H
#define DEVICE_KERNEL_RULE_H

#include <cstdint>
#include <string>
#include <tuple>

#include "route.h"

namespace kernel {

/// Where rules of ours stand among all rules ("pref" in `ip rule`): before the one that leads to the
/// main table. They have the number OUR_PROTOCOL as well, and are ours only by that.
constexpr std::uint32_t LOOKUP_PRIORITY = 22000;
constexpr std::uint32_t END_PRIORITY = 22001;

/// What happens to packets that come in over an interface.
struct Rule {
  bool isIp6 = false;
  std::string interface;    // the kernel's name of it; it need not be there
  std::uint32_t table = 0;  // they are looked up there; 0: their lookup ends here, without a route
  /// Of a rule under our number that is none of these, the message that asks for its end; else empty.
  /// Such a one is never wanted.
  std::string oddMessage;

  bool EndsLookup() const { return table == 0 && oddMessage.empty(); }

  friend bool operator==(const Rule& a, const Rule& b) {
    return std::tie(a.isIp6, a.interface, a.table, a.oddMessage) ==
           std::tie(b.isIp6, b.interface, b.table, b.oddMessage);
  }
  friend bool operator<(const Rule& a, const Rule& b) {
    return std::tie(a.isIp6, a.interface, a.table, a.oddMessage) <
           std::tie(b.isIp6, b.interface, b.table, b.oddMessage);
  }
};

/// "iif eth1 lookup 40020", "iif eth1 unreachable", "iif eth1 lookup 40020 of IPv6".
std::string DescribeRule(const Rule& rule);

}  // namespace kernel

#endif
