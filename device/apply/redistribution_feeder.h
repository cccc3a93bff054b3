// Carries out redistribution plans.
#ifndef DEVICE_APPLY_REDISTRIBUTION_FEEDER_H
#define DEVICE_APPLY_REDISTRIBUTION_FEEDER_H

#include <cstddef>
#include <set>

#include "device/intent/redistribution_plan.h"
#include "tarsel/timer.h"

namespace apply {

/// Knows which rules have been requested, and requests the rest. If the destination protocol is not
/// ready, the library drops a request, for a withdrawal as well as for a new rule, and tells
/// nobody. So requests are made only for protocols that are ready. The others are checked again in
/// each period of the library's scheduler until they are ready.
class RedistributionFeeder {
 public:
  RedistributionFeeder();
  RedistributionFeeder(const RedistributionFeeder&) = delete;
  RedistributionFeeder& operator=(const RedistributionFeeder&) = delete;

  /// Makes `wanted` the rules of the device. Returns the number of requests that it has made; more
  /// may follow when protocols become ready.
  std::size_t Push(const intent::Rules& wanted);
  /// Requests the withdrawal of the rules that `wanted` lacks, and nothing new. Before a protocol
  /// is disabled this has to be called, and its requests have to be answered. Returns the number of
  /// requests that it has made.
  std::size_t Withdraw(const intent::Rules& wanted);
  /// Forgets which rules have been requested: the stack has lost them all.
  void Forget() { m_asked.clear(); }
  /// The rules that have been requested.
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
