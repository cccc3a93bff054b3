#include "kernel_clean.h"

#include <cstdio>

#include "device/kernel/clean.h"
#include "device/program/counted.h"
#include "device/program/exit_status.h"

namespace machine {

using program::Counted;

namespace {

/// Returns whether all are gone, and complains if they are not.
bool AreGone(const kernel::Cleaned& cleaned, const char* one, const char* several) {
  if (!cleaned.problem.empty()) {
    std::fprintf(stderr, "vantacored: what %s remain in the kernel is not known: %s\n", several,
                 cleaned.problem.c_str());
    return false;
  }
  if (cleaned.left != 0) {
    std::fprintf(stderr, "vantacored: the kernel does not give up %s: %s\n",
                 Counted(cleaned.left, one, several).c_str(), cleaned.reason.c_str());
    return false;
  }
  return true;
}

}  // namespace

int CleanKernel(const kernel::OpenChannel& open) {
  const auto forRoutes = open(kernel::Subscription::NOTHING);
  const auto forRules = open(kernel::Subscription::NOTHING);  // where no answer is a route's
  const kernel::Cleaned routes = kernel::RemoveOurRoutes(*forRoutes);
  const kernel::Cleaned rules = kernel::RemoveOurRules(*forRules);
  std::printf("%s and %s removed\n", Counted(routes.removed, "route", "routes").c_str(),
              Counted(rules.removed, "rule", "rules").c_str());
  const bool areRoutesGone = AreGone(routes, "route", "routes");
  const bool areRulesGone = AreGone(rules, "rule", "rules");
  return areRoutesGone && areRulesGone ? program::EXIT_DONE : program::EXIT_FAILED;
}

}  // namespace machine
