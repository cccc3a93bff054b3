// The timer that runs the routing stack.
#ifndef VANTACORE_DC_SCHEDULER_H
#define VANTACORE_DC_SCHEDULER_H

#include "tarsel/timer.h"
#include "vantacore/export.h"

namespace Tarsel {

/// Starts the routing stack and drives its cooperative scheduler from one one-shot timer. After
/// each run the timer is set for as long as the stack says it may sleep: at least 10 ms, 100 ms
/// when it has nothing scheduled. The stack may ask for a run in 5 ms. The one DcScheduler of the
/// process is a member of DcRouterMgr.
class VANTACORE_API DcScheduler {
 public:
  DcScheduler();
  DcScheduler(const DcScheduler&) = delete;
  DcScheduler& operator=(const DcScheduler&) = delete;
  ~DcScheduler();

  /// Starts the stack's components. The timer is first armed when the stack asks for a run.
  void init();
  /// Sets the timer to `ms` milliseconds from now, also if it is running.
  void StartTimer(unsigned int ms);
  /// The timer's expiry; both arguments are ignored.
  void OnTimeout(unsigned int, void*);
  /// Runs the stack once, now. The timer and a pending request are not changed.
  void SchedNBase();
  /// Asks for a run in 5 ms. Repeated requests before the timer expires change nothing.
  void RescheduleNBase();
  /// Whether such a request is pending.
  bool IsRescheduled() const { return m_rescheduled; }

 private:
  bool m_rescheduled;
  OneShotTimer m_timer;
};

}  // namespace Tarsel

#endif
