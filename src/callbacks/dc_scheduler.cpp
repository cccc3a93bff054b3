// The timer that runs the routing stack.
//
// The stack does its work inside nbb_scheduler() and says each time for how long it may sleep. The
// timer is set only here and by the stack's own request for an early run, so from the first request
// on one expiry always leads to the next. A request during a run has set the timer before the run
// returns; the flag then keeps the expiry handler from setting it again.

#include "vantacore/dc_scheduler.h"

#include "stack/sms.h"
#include "tarsel/trace.h"

namespace Tarsel {

namespace {

constexpr unsigned int RESCHEDULE_MS = 5;
constexpr unsigned int IDLE_MS = 100;
constexpr int SHORTEST_MS = 10;

unsigned int NextDelay(int wanted) {
  if (wanted < 0) {
    return IDLE_MS;
  }
  return static_cast<unsigned int>(wanted < SHORTEST_MS ? SHORTEST_MS : wanted);
}

}  // namespace

DcScheduler::DcScheduler() : m_rescheduled(false), m_timer("DcScheduler") {
  TRACE(10, "Creating DC Scheduler\n");
  m_timer.SetCallback(
      new MemberCallback2<DcScheduler, unsigned int, void*>(this, &DcScheduler::OnTimeout));
}

DcScheduler::~DcScheduler() { TRACE(10, "Deleting DC Scheduler\n"); }

void DcScheduler::init() {
  TRACE(10, "Starting Metaswitch\n");
  char components[] = "ripv2 ripng bgp ospf ospfv3 igmp pim";
  smsi_init(components);
}

void DcScheduler::StartTimer(unsigned int ms) {
  TRACE(10, "Starting Scheduler Timer for %d ms\n", static_cast<int>(ms));
  m_timer.Start(ms);
}

void DcScheduler::OnTimeout(unsigned int, void*) {
  TRACE(10, "Scheduling Timer Expired!!! Scheduling Metaswitch\n");
  m_rescheduled = false;
  const int wanted = nbb_scheduler();
  if (m_rescheduled) {
    TRACE(10,
          "No starting next scheduler timer !!! since Metaswitch restarted it for some action\n");
    return;
  }
  StartTimer(NextDelay(wanted));
}

void DcScheduler::SchedNBase() {
  TRACE(10, "Scheduling Metaswitch\n");
  nbb_scheduler();
}

void DcScheduler::RescheduleNBase() {
  TRACE(10, "Rescheduling Metaswitch\n");
  if (m_rescheduled) {
    return;
  }
  m_rescheduled = true;
  StartTimer(RESCHEDULE_MS);
}

}  // namespace Tarsel
