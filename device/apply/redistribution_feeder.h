// Carries out redistribution plans.
#ifndef DEVICE_APPLY_REDISTRIBUTION_FEEDER_H
#define DEVICE_APPLY_REDISTRIBUTION_FEEDER_H

#include <cstddef>
#include <set>

#include "device/intent/redistribution_plan.h"
#include "tarsel/timer.h"

namespace apply {

/// Knows which rules have been asked of the library, and asks for the rest. The library throws a
/// request away when the protocol that the routes are for is not ready, a withdrawal as well as a new
/// rule, and tells nobody. So requests are made only for protocols that are ready; the others are
/// looked at again, once in each period of the library's scheduler, until they are.
class RedistributionFeeder {
 public:
  RedistributionFeeder();
  RedistributionFeeder(const RedistributionFeeder&) = delete;
  RedistributionFeeder& operator=(const RedistributionFeeder&) = delete;

  /// Makes `wanted` the rules of the device. The number of requests made at once.
  std::size_t Push(const intent::Rules& wanted);
  /// Asks for the withdrawal of what `wanted` lacks, and for nothing new: to be done, and waited
  /// for, before a protocol is disabled. The number of requests made at once.
  std::size_t Withdraw(const intent::Rules& wanted);
  /// Nothing counts as asked for any more.
  void Forget() { m_asked.clear(); }
  /// Everything that is asked for.
  const intent::Rules& GetAsked() const { return m_asked; }
  /// Whether rules wait for a protocol to become ready.
  bool IsWaiting() const { return !m_waiting.empty(); }

 private:
  std::size_t Look(const intent::Destination& destination);
  void LookAgain(unsigned int, void*);
  void WatchOrRest();

  intent::Rules m_wanted;
  intent::Rules m_asked;
  std::set<intent::Destination> m_waiting;
  Tarsel::PeriodicTimer m_timer;
};

}  // namespace apply

#endif
