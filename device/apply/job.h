// What the reloader has been asked for.
#ifndef DEVICE_APPLY_JOB_H
#define DEVICE_APPLY_JOB_H

#include <memory>
#include <string>

#include "asker.h"
#include "confirmation.h"
#include "device/plan/plan.h"
#include "history.h"
#include "reload_request.h"

namespace apply {

struct Job {
  enum Kind { START, RELOAD, CHECK, DIFF, UNDO, WAY_BACK, CONFIRM, HISTORY, REVISION };
  Kind kind = RELOAD;
  Askers askers = {};
  ReloadRequest request = {};
  bool isStrict = false;
  unsigned int number = 0;  // of a revision, or how far to go back; 0 for the folder
  unsigned int trial = 0;   // the open reload that is to go back; 0 for none
  /// What has come of it so far.
  std::shared_ptr<Outcome> outcome = std::make_shared<Outcome>();

  bool ChangesWhatIsInForce() const {
    return kind == START || kind == RELOAD || kind == UNDO || kind == WAY_BACK;
  }
  bool IsAboutRevisions() const {
    return kind == UNDO || kind == CONFIRM || kind == HISTORY || kind == REVISION ||
           (kind == DIFF && number != 0) || request.confirmSeconds != 0;
  }
  /// Whether one who asks for the other as well waits for this one.
  bool IsSameReload(const Job& other) const {
    return kind == RELOAD && other.kind == RELOAD && request == other.request;
  }
};

/// Why the job cannot be begun, for an operator; empty if it can.
std::string FindRefusal(const Job& job, const History& history, const Confirmation& confirmation);

/// What is noted of the revision that the job makes. `chosen` is the revision that a start has
/// taken, 0 for none.
History::Cause CauseOf(const Job& job, unsigned int chosen, const plan::Totals& totals,
                       const History& history);

}  // namespace apply

#endif
