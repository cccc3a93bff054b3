// What a rule is made of: its destination in the library, and its source among all.
#ifndef DEVICE_ROUTES_RULE_ROWS_H
#define DEVICE_ROUTES_RULE_ROWS_H

#include <cstdint>
#include <iterator>

#include "device/rows/row.h"

namespace routes {

/// 0 for a source that no rule has.
intent::Sources BitOf(std::uint32_t source);

/// 0 for a destination without rules.
intent::Sources SourcesOf(const intent::Rules& rules, const intent::Destination& destination);

/// Calls back with each row of the destination whose source is among these.
template <class Call>
void ForEachRow(const intent::Destination& destination, intent::Sources sources, Call call) {
  for (unsigned int i = 0; i < std::size(intent::SOURCE_CODES); ++i) {
    if (sources & 1u << i) {
      call(rows::RuleRow{destination, intent::SOURCE_CODES[i]});
    }
  }
}

/// Whether the protocol is ready, so that a rule can be requested.
bool CanTakeRules(const intent::Destination& destination);

/// Whether the protocol is enabled, and the stack has not taken it up.
bool IsStillWaiting(const intent::Destination& destination);

/// Whether the library has the destination's instance.
bool HasInstance(const intent::Destination& destination);

}  // namespace routes

#endif
