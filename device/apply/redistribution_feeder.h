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

  /// Makes `wanted` the rules of the device. Returns how many requests it has made; more may follow
  /// when protocols become ready.
  std::size_t Push(const intent::Rules& wanted);
  /// Asks for the withdrawal of the rules that `wanted` lacks, and for nothing new. Before a protocol
  /// is disabled this has to be called, and its requests answered. Returns how many it has made.
  std::size_t Withdraw(const intent::Rules& wanted);
  /// From now on no rule counts as asked for: the stack has lost them all.
  void Forget() { m_asked.clear(); }
  /// The rules that have been asked for.
  const intent::Rules& GetAsked() const { return m_asked; }
  /// Whether rules wait for a protocol to become ready.
  bool IsWaiting() const { return !m_waiting.empty(); }

 private:
  std::size_t Look(const intent::Destination& destination);
  void SetAsked(const intent::Destination& destination, intent::Sources sources);
  void LookAgain(unsigned int, void*);
  void WatchOrRest();

  intent::Rules m_wanted;
  intent::Rules m_asked;
  std::set<intent::Destination> m_waiting;
  Tarsel::PeriodicTimer m_timer;
};

}  // namespace apply

#endif
