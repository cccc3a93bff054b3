// The redistribution rules: what is wanted, what has been asked for, and what came of it.
#ifndef DEVICE_ROUTES_RULE_KEEPER_H
#define DEVICE_ROUTES_RULE_KEEPER_H

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <set>

#include "asked_rule.h"
#include "device/intent/redistribution_plan.h"
#include "device/loop/loop_handles.h"
#include "device/rows/differences.h"
#include "device/rows/keeper.h"
#include "device/rows/stack_port.h"
#include "tarsel/timer.h"

namespace routes {

/// Knows which rules have been requested, requests the rest and withdraws what is not wanted any
/// more, in slices of the loop's turns. One request of a row is under way at a time, and at most
/// WINDOW of all.
///
/// A rule is requested when its protocol is ready: until then it waits, and is looked at in each
/// period of the library's scheduler. A rule that waits counts as equal. A withdrawal needs the RTM
/// instance only. Rules of an instance that the library does not know go with it: they are neither
/// withdrawn nor differences.
///
/// A request that is given up (refused for good, or ten times for now) becomes a difference, which
/// is asked for again by Differences. So do rules that a comparison finds missing, and strays.
class RuleKeeper : public rows::Keeper {
 public:
  using SharedRules = std::shared_ptr<const intent::Rules>;
  static constexpr std::size_t WINDOW = 4096;
  /// How many destinations are looked at in one turn of the loop: each may take a few requests of
  /// two microseconds, or ten when they are logged.
  static constexpr std::size_t DESTINATIONS_A_TURN = 250;

  RuleKeeper(uv_loop_s* loop, const rows::StackPort& port, rows::Differences& differences);
  RuleKeeper(const RuleKeeper&) = delete;
  RuleKeeper& operator=(const RuleKeeper&) = delete;

  /// Begins to make `wanted` the rules of the device.
  void SetWanted(SharedRules wanted);
  /// The rules that SetWanted was given last. Never null.
  const SharedRules& GetWanted() const { return m_wanted; }
  /// The rules that the stack has or may have: they have been requested and not withdrawn.
  const intent::Rules& GetAsked() const { return m_asked; }
  /// Whether rules wait for a protocol to become ready.
  bool IsWaiting() const { return !m_waiting.empty(); }
  /// The destinations whose rules do.
  const std::set<intent::Destination>& GetWaiting() const { return m_waiting; }
  /// The requests that are under way or have come to nothing.
  const std::map<rows::RuleRow, RuleRequest>& GetRequests() const { return m_requests.GetAll(); }
  /// Whether a withdrawal of any rule of the VLAN is still to be made or under way. One that has
  /// been given up does not count.
  bool HasLeavingRules(unsigned short vlan) const;
  /// Whether a withdrawal of any rule into one of these protocols is still to be sent, and can be.
  bool IsToWithdraw(const documents::ProtocolSets& from) const;
  /// Forgets what has been asked for, what the stack has and what is wanted: for a stack that has
  /// lost everything.
  void Forget();
  /// The stack has lost the rules of the VLAN, which has gone or whose instances have been made
  /// anew. Those that are wanted are asked for again.
  void ForgetVlan(unsigned short vlan);

  /// How many requests are without an answer, those of known differences left out; one more while
  /// it is looked which requests are to be made.
  std::size_t CountOpen() const;
  /// A number that grows with each request and each answer.
  std::uint64_t GetProgress() const { return m_requests.GetProgress(); }
  /// How many requests the stack has answered for good: with success, or with a refusal after which
  /// the library tries no more.
  std::uint64_t CountConcluded() const { return m_requests.CountConcluded(); }
  /// How many items wait in the library's scheduler to be sent, or for their answer, and how many
  /// of these are being retried.
  std::size_t CountUnderWay() const { return m_requests.CountUnderWay(); }
  std::size_t CountRetried() const { return m_requests.CountRetried(); }

  const char* GetName() const override { return "redistribution rules"; }
  std::size_t CountWanted() const override { return m_countWanted; }
  void BeginPass() override;
  bool ContinuePass(std::size_t most, const Found& found) override;
  rows::Standing Look(const rows::Row& row) const override;
  void AskAgain(const rows::Row& row) override;

 private:
  using Destination = intent::Destination;

  void Post();
  void Turn();
  void TakeIn(const RuleRequests::Outcome& outcome);
  std::size_t LookAtWaiting(std::size_t most);
  std::size_t LookAtAll(std::size_t most);
  bool HasRoom() const { return m_requests.CountUnderWay() < WINDOW; }

  void LookAt(const Destination& destination);
  void Decide(const rows::RuleRow& row);
  void DecideWanted(const rows::RuleRow& row, const RuleRequest* request);
  void DecideUnwanted(const rows::RuleRow& row, const RuleRequest* request);
  void Close(const rows::RuleRow& row);

  bool IsWanted(const rows::RuleRow& row) const;
  bool IsAsked(const rows::RuleRow& row) const;
  void SetAsked(const rows::RuleRow& row, bool isAsked);
  bool IsUnderWay(const RuleRequest& request) const;
  bool KnowsStack() const { return m_port.IsReady() && m_port.KnowsTables(); }
  bool HasStack(const rows::RuleRow& row) const;
  bool IsToBeLookedAt(const Destination& destination) const;

  std::optional<Destination> NextDestination(const std::optional<Destination>& last) const;
  bool PassOverWanted(std::size_t most, const Found& found);
  bool PassOverStack(std::size_t most, const Found& found);
  void PassOverRequests(const Found& found);
  void Tell(const rows::RuleRow& row, const Found& found) const;

  void WhenPeriodEnds(unsigned int, void*);
  void LookForLost(unsigned int, void*);
  void StartTimers();

  const rows::StackPort& m_port;
  rows::Differences& m_differences;
  loop::Task m_turn;
  RuleRequests m_requests;

  SharedRules m_wanted = std::make_shared<const intent::Rules>();
  std::size_t m_countWanted = 0;
  std::uint64_t m_wantedSince = 0;
  intent::Rules m_asked;
  // All destinations are looked at, one after the other.
  bool m_isLooking = false;
  std::optional<Destination> m_looked;  // the last one
  // Those whose protocol is not ready are, in each period.
  std::set<Destination> m_waiting;
  bool m_isLookingAgain = false;
  std::optional<Destination> m_lookedAgain;
  Tarsel::PeriodicTimer m_period;
  Tarsel::OneShotTimer m_lost;

  // A pass goes over the wanted rules, then over the stack's, then over the requests.
  enum class Pass { WANTED, STACK, REQUESTS };
  Pass m_pass = Pass::WANTED;
  std::optional<Destination> m_passed;
  std::optional<rows::RuleRow> m_passedRow;
};

}  // namespace routes

#endif
