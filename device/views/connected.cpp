#include "connected.h"

#include "names.h"

namespace views {

namespace {

using rows::Standing;

std::string DescribeDifference(const std::string& what, const Standing& standing) {
  if (standing.status != 0) {
    return what + " is refused: " + rows::DescribeStatus(standing.status);
  }
  return what + (standing.kind == Standing::Kind::OTHER ? " has other values in the stack"
                                                        : " is missing in the stack");
}

}  // namespace

std::optional<Prefix> FindLongestConnected(const keepers::Interfaces& interfaces,
                                           unsigned short vlan, const Address& address) {
  std::optional<Prefix> longest;
  const auto offer = [&](const Prefix& prefix) {
    if (Holds(prefix, address) && (!longest || prefix.length > longest->length)) {
      longest = prefix;
    }
  };
  const documents::Interfaces& all = interfaces.Get();
  for (auto at = all.lower_bound({vlan, 0}); at != all.end() && at->first.first == vlan; ++at) {
    for (const documents::Ip4Network& network : at->second.ip4) {
      offer(PrefixOf(network));
    }
    for (const Tarsel::Ip6Prefix& network : at->second.ip6) {
      offer(PrefixOf(network));
    }
  }
  return longest;
}

// What an address needs comes first.
std::string DescribeTrouble(const Sources& sources, const rows::AddressRow& row) {
  const documents::Interfaces& all = sources.interfaces.Get();
  const auto interface = all.find({row.vlan, row.ifIndex});
  if (interface != all.end() && !interface->second.up) {
    return interface->second.name + " is down";
  }
  const rows::Differences& differences = sources.GetDifferences();
  if (const auto* difference = differences.Find(rows::InterfaceRow{row.vlan, row.ifIndex})) {
    return DescribeDifference("the interface", difference->standing);
  }
  if (const auto* difference = differences.Find(row)) {
    return DescribeDifference("the address", difference->standing);
  }
  return sources.stack.IsUnfinished(row) ? "the address waits for the stack's answer" : "";
}

}  // namespace views
