// The timer that runs the routing stack.
#ifndef VANTACORE_DC_SCHEDULER_H
#define VANTACORE_DC_SCHEDULER_H

#include "tarsel/timer.h"
#include "vantacore/export.h"

namespace Tarsel {

/// Starts the routing stack and drives its cooperative scheduler from one one-shot timer. After
/// each run the timer is set to the time that the stack says it may sleep, but at least 10 ms; it
/// is set to 100 ms if the stack has nothing scheduled. The stack may ask for a run in 5 ms. The
/// one DcScheduler of the process is a member of DcRouterMgr.
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
  /// Runs the stack once, now. Leaves the timer, and a run that was asked for, as they are.
  void SchedNBase();
  /// Asks for a run in 5 ms. Repeated requests before the timer expires change nothing.
  void RescheduleNBase();
  /// Whether RescheduleNBase has asked for a run that has not begun.
  bool IsRescheduled() const { return m_rescheduled; }

 private:
  bool m_rescheduled;
  OneShotTimer m_timer;
};

}  // namespace Tarsel

#endif
