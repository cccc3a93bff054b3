#include "job.h"

namespace apply {

namespace {

constexpr const char* NOTHING_OPEN = "nothing waits for its confirmation";

std::string RefuseReload(const Job& job, const History& history) {
  return job.request.confirmSeconds != 0 && history.GetInForce() == 0
             ? "what is in force could not be kept, so there is no way back"
             : "";
}

}  // namespace

std::string FindRefusal(const Job& job, const History& history, const Confirmation& confirmation) {
  if (job.IsAboutRevisions() && !history.IsKept()) {
    return "no revisions are kept: " + history.GetReason();
  }
  const auto& open = history.GetUnconfirmed();
  switch (job.kind) {
    case Job::RELOAD:
      return open ? confirmation.Describe(*open) : RefuseReload(job, history);
    case Job::UNDO:
      return open || history.FindBefore(job.number) != nullptr
                 ? ""
                 : "there is no revision that stands " + std::to_string(job.number) +
                       " before the one in force";
    case Job::CONFIRM:
      if (!open) {
        return NOTHING_OPEN;
      }
      return open->revision == job.number ? "" : confirmation.Describe(*open);
    case Job::REVISION:
    case Job::DIFF:
      return job.number == 0 || history.Find(job.number) != nullptr
                 ? ""
                 : "there is no revision " + std::to_string(job.number);
    default:
      return "";
  }
}

History::Cause CauseOf(const Job& job, unsigned int chosen, const plan::Totals& totals,
                       const History& history) {
  using revisions::Cause;
  const auto& open = history.GetUnconfirmed();
  History::Cause cause;
  cause.asker = job.askers.GetNames();
  cause.change = plan::DescribeTotals(totals);
  switch (job.kind) {
    case Job::START:
      cause.cause = chosen != 0 ? Cause::WAY_BACK : Cause::START;
      cause.of = chosen;
      break;
    case Job::RELOAD:
      cause.cause = Cause::RELOAD;
      cause.confirmSeconds = totals.IsEmpty() ? 0 : job.request.confirmSeconds;
      break;
    default:
      cause.cause = open ? Cause::WAY_BACK : Cause::UNDO;
      cause.of = open ? open->back : history.FindBefore(job.number)->number;
      break;
  }
  return cause;
}

}  // namespace apply
