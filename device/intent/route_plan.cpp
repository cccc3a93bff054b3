#include "route_plan.h"

#include <utility>

namespace intent {

RoutePlan PlanRoutes(SharedRoutes present, SharedRoutes wanted) {
  RoutePlan plan{std::move(present), std::move(wanted), {}, {}};
  auto have = plan.present->begin();
  auto want = plan.wanted->begin();
  const auto haveEnd = plan.present->end();
  const auto wantEnd = plan.wanted->end();
  while (have != haveEnd || want != wantEnd) {
    if (want == wantEnd || (have != haveEnd && have->ComesBefore(*want))) {
      plan.remove.push_back(&*have++);
    } else if (have == haveEnd || want->ComesBefore(*have)) {
      plan.add.push_back(&*want++);
    } else {
      if (have->metric != want->metric) {
        plan.add.push_back(&*want);
      }
      ++have;
      ++want;
    }
  }
  return plan;
}

}  // namespace intent
