#include "standings.h"

namespace rows {

Standing StandingOf(const StackPort& port, const Row& row, Standing::Kind found) {
  Standing standing;
  if (port.HasUnfinished() && port.IsUnfinished(row)) {
    standing.kind = Standing::Kind::UNDER_WAY;
    standing.since = port.UnfinishedSince(row);
    return standing;
  }
  standing.kind = port.KnowsTables() ? found : Standing::Kind::EQUAL;
  if (!standing.IsDifference()) {
    return standing;
  }
  if (!port.IsReady()) {
    standing.kind = Standing::Kind::UNDER_WAY;
    return standing;
  }
  standing.status = port.GetRefusal(row);
  return standing;
}

}  // namespace rows
