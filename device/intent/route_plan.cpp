#include "route_plan.h"

namespace intent {

RoutePlan PlanRoutes(const ResolvedRoutes& present, const ResolvedRoutes& wanted) {
  RoutePlan plan;
  auto have = present.begin();
  auto want = wanted.begin();
  while (have != present.end() || want != wanted.end()) {
    if (want == wanted.end() || (have != present.end() && have->first < want->first)) {
      plan.remove.push_back((have++)->first);
    } else if (have == present.end() || want->first < have->first) {
      plan.add.push_back(*want++);
    } else {
      if (have->second != want->second) {
        plan.add.push_back(*want);
      }
      ++have;
      ++want;
    }
  }
  return plan;
}

}  // namespace intent
