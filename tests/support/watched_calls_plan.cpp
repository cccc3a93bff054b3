#include <sstream>

#include "tests/support/watched_calls.h"

namespace test_support {

std::string PlanVariable(const CallPlan& plan, const std::string& log) {
  std::ostringstream text;
  text << PLAN_VARIABLE << "=" << plan.at << " " << static_cast<int>(plan.fate) << " "
       << plan.problem << " " << plan.folder << " " << log;
  return text.str();
}

}  // namespace test_support
