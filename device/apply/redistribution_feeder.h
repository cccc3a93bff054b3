// Carries out redistribution plans.
#ifndef DEVICE_APPLY_REDISTRIBUTION_FEEDER_H
#define DEVICE_APPLY_REDISTRIBUTION_FEEDER_H

#include <cstddef>
#include <memory>
#include <set>
#include <vector>

#include "device/intent/redistribution_plan.h"
#include "tarsel/timer.h"

namespace apply {

/// Knows which rules have been requested, and requests the rest. If the destination protocol is not
/// ready, the library drops a request, for a withdrawal as well as for a new rule, and tells
/// nobody. So requests are made only for protocols that are ready. The others are checked again in
/// each period of the library's scheduler until they are ready.
class RedistributionFeeder {
 public:
  using SharedRules = std::shared_ptr<const intent::Rules>;

  RedistributionFeeder();
  RedistributionFeeder(const RedistributionFeeder&) = delete;
  RedistributionFeeder& operator=(const RedistributionFeeder&) = delete;

  /// Begins to make `wanted` the rules of the device. Its requests are made by Continue; more may
  /// follow when protocols become ready. Before a protocol is disabled, what has to go has to be
  /// withdrawn in this way (intent::FindStayingRules), and the requests have to be answered.
  void Begin(SharedRules wanted);
  /// Looks at up to `most` of the destinations that are concerned. Returns the number of requests
  /// that it has made.
  std::size_t Continue(std::size_t most);
  /// Whether Continue has looked at all of them.
  bool IsDone() const { return m_concerned.empty(); }
  /// Forgets which rules have been requested: the stack has lost them all.
  void Forget();
  /// The rules that Begin was given last. Never null.
  const SharedRules& GetWanted() const { return m_wanted; }
  /// The rules that have been requested.
  const intent::Rules& GetAsked() const { return m_asked; }
  /// Whether rules wait for a protocol to become ready.
  bool IsWaiting() const { return !m_waiting.empty(); }

 private:
  std::size_t Look(const intent::Destination& destination);
  void SetAsked(const intent::Destination& destination, intent::Sources sources);
  void LookAgain(unsigned int, void*);
  void WatchOrRest();

  SharedRules m_wanted = std::make_shared<const intent::Rules>();
  intent::Rules m_asked;
  std::vector<intent::Destination> m_concerned;  // still to be looked at, the last one first
  std::set<intent::Destination> m_waiting;
  Tarsel::PeriodicTimer m_timer;
};

}  // namespace apply

#endif
