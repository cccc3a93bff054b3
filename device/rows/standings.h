// When a row that is not as wanted counts as a difference.
#ifndef DEVICE_ROWS_STANDINGS_H
#define DEVICE_ROWS_STANDINGS_H

#include "keeper.h"
#include "stack_port.h"

namespace rows {

/// How a row stands of which the comparison with the stack says `found`. While the stack has not
/// finished a request for it, it is UNDER_WAY whatever the stack has; so is one that differs while
/// the stack is not ready. Where the stack's tables are not known (StackPort::KnowsTables) nothing
/// differs.
Standing StandingOf(const StackPort& port, const Row& row, Standing::Kind found);

}  // namespace rows

#endif
