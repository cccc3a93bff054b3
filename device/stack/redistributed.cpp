#include "redistributed.h"

#include <algorithm>
#include <vector>

#include "walks.h"

namespace routing_stack {

namespace {

constexpr unsigned int kProtocolCodeShift = 16;

std::vector<std::uint32_t> SourcesOf(const Tables& tables, std::uint32_t instance,
                                     std::uint32_t destination) {
  std::vector<std::uint32_t> sources;
  auto rule = tables.Redistributions().lower_bound({instance, 0, 0});
  for (; rule != tables.Redistributions().end() && rule->first.instance == instance; ++rule) {
    if (rule->first.destination == destination && rule->second == 1) {
      sources.push_back(rule->first.source);
    }
  }
  return sources;
}

}  // namespace

bool NextRedistributed(const Tables& tables, std::uint64_t now, std::uint32_t instance,
                       std::uint32_t destination, const amb_cipr_rtm_route* previous,
                       amb_cipr_rtm_route* row) {
  const Instance* const found = tables.FindInstance(instance);
  const std::vector<std::uint32_t> sources = SourcesOf(tables, instance, destination);
  if (found == nullptr || sources.empty()) {
    return false;
  }
  const auto isHandedOver = [&sources](const RibEntry& entry) {
    const std::uint32_t code = static_cast<std::uint32_t>(entry.proto) << kProtocolCodeShift;
    return std::find(sources.begin(), sources.end(), code) != sources.end();
  };
  Prefix after;
  if (previous != nullptr) {
    after = Prefix::Of(Address::FromBytes(previous->destination, found->family),
                       std::min(previous->prefix_length, MaximalLength(found->family)));
  }
  const RibEntry* const entry =
      found->rib.InstalledAfter(previous != nullptr ? &after : nullptr, isHandedOver);
  if (entry == nullptr) {
    return false;
  }
  *row = ToRouteRow(instance, *entry, now);
  return true;
}

}  // namespace routing_stack
