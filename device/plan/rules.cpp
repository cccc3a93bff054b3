#include <iterator>

#include "comparisons.h"
#include "device/intent/redistribution_plan.h"
#include "words.h"

namespace plan {

using intent::Destination;
using intent::Rules;

namespace {

// Only the VLAN document has profiles, and only it can enable a protocol.
Rules RulesOf(const VlanSide& side) {
  if (!side.Exists()) {
    return {};
  }
  const documents::ConfigFile& file = *side.entries.front().file;
  const auto profile = file.profiles.find(side.vlan);
  const auto enabled = file.protocols.find(side.vlan);
  if (profile == file.profiles.end() || enabled == file.protocols.end()) {
    return {};
  }
  return intent::PlanRules({*profile}, {*enabled});
}

documents::Place OriginOf(const VlanSide& side) {
  const auto& profiles = side.entries.front().file->profiles;
  return profiles.at(side.vlan).origin;
}

intent::Sources SourcesOf(const Rules& rules, const Destination& destination) {
  const auto found = rules.find(destination);
  return found == rules.end() ? 0 : found->second;
}

}  // namespace

void CompareRules(const VlanPair& pair, Teller& teller) {
  const Rules now = RulesOf(pair.now);
  const Rules then = RulesOf(pair.then);
  Rules all = now;
  all.insert(then.begin(), then.end());
  for (const auto& rule : all) {
    const Destination& destination = rule.first;
    const intent::Sources before = SourcesOf(now, destination);
    const intent::Sources changed = before ^ SourcesOf(then, destination);
    for (unsigned int i = 0; i < std::size(intent::SOURCE_CODES); ++i) {
      if ((changed & 1u << i) == 0) {
        continue;
      }
      const bool isRemoved = (before & 1u << i) != 0;
      teller.To().AddRequests(1);
      teller.Tell(Thing::RULE, isRemoved ? How::REMOVED : How::ADDED, [&] {
        return Line(std::string("redistribution of ") +
                        intent::NameOfSource(intent::SOURCE_CODES[i]) + " routes to " +
                        intent::NameOf(destination),
                    {}, isRemoved ? documents::Place() : OriginOf(pair.then));
      });
    }
  }
}

}  // namespace plan
