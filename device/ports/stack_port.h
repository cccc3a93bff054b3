// The software routing stack as the keepers see it.
#ifndef DEVICE_PORTS_STACK_PORT_H
#define DEVICE_PORTS_STACK_PORT_H

#include <cstdint>
#include <functional>
#include <map>
#include <vector>

#include "device/rows/stack_port.h"
#include "device/stack/facts.h"
#include "device/stack/routing_stack.h"

namespace ports {

/// Forwards to the stack's facts and to its upkeep. It is the stack's listener as long as it lives,
/// and keeps by row which requests were refused last.
class SoftwareStackPort final : public rows::StackPort, private routing_stack::Listener {
 public:
  /// The stack is borrowed. `now` is the clock that the stack was made with.
  SoftwareStackPort(routing_stack::RoutingStack& stack, std::function<std::uint64_t()> now);
  SoftwareStackPort(const SoftwareStackPort&) = delete;
  SoftwareStackPort& operator=(const SoftwareStackPort&) = delete;
  ~SoftwareStackPort() override;

  std::uint64_t Now() const override { return m_now(); }
  void SetListener(rows::StackListener* listener) override { m_listener = listener; }
  /// Lets another one hear what the stack tells, before the listener does. It is borrowed until
  /// RemoveTap, and asked for WantsForwarding now. Neither from inside the stack's run.
  void AddTap(routing_stack::Listener& tap);
  /// One that is not there is passed over.
  void RemoveTap(routing_stack::Listener& tap);

  bool IsReady() const override;
  bool IsHeld() const override;
  rows::AnswerCounts CountAnswers() const override { return m_answers; }
  bool HasUnfinished() const override;
  bool IsUnfinished(const rows::Row& row) const override;
  std::uint64_t UnfinishedSince(const rows::Row& row) const override;
  unsigned int GetRefusal(const rows::Row& row) const override;

  std::vector<rows::StackInstance> ReadInstances(const rows::StackInstance* last,
                                                 std::size_t most) const override;
  std::optional<rows::StackInstance> FindInstance(const rows::InstanceRow& row) const override;
  std::vector<amb_stubs_i3_ei> ReadInterfaces(const amb_stubs_i3_ei* last,
                                              std::size_t most) const override;
  std::optional<amb_stubs_i3_ei> FindInterface(unsigned int instance,
                                               std::uint32_t ifIndex) const override;
  std::vector<amb_stubs_i3_ea> ReadAddresses(const amb_stubs_i3_ea* last,
                                             std::size_t most) const override;
  std::optional<amb_stubs_i3_ea> FindAddress(const rows::AddressRow& row) const override;
  std::vector<rows::StackRoute> ReadRoutes(const rows::StackRoute* last,
                                           std::size_t most) const override;
  std::optional<rows::StackRoute> FindRoute(const rows::RouteRow& row) const override;
  std::vector<rows::RuleRow> ReadRules(const rows::RuleRow* last, std::size_t most) const override;
  bool HasRule(const rows::RuleRow& row) const override;

  /// How many next hops routes have, by VLAN; 1 for those that are not named.
  void SetMostNextHops(const std::map<unsigned short, unsigned char>& most);

  /// Runs the stack that is current, which has to be this one.
  bool EndLostRequests() override;

 private:
  void ListenAnewUnless(bool isAsBefore);
  void Answered(const routing_stack::RowName& row, int rowStatus, unsigned int status) override;
  void Restarted() override;
  bool WantsForwarding() const override { return !m_forwardingTaps.empty(); }
  void ForwardingChanged(routing_stack::ForwardingChange change, const amb_cipr_rtm_route& route,
                         const std::vector<routing_stack::NextHopBeside>& beside,
                         routing_stack::RowType cause) override;

  routing_stack::RoutingStack& m_stack;
  const routing_stack::Facts& m_facts;
  const std::function<std::uint64_t()> m_now;
  rows::StackListener* m_listener = nullptr;
  std::map<unsigned short, unsigned char> m_mostNextHops;
  std::vector<routing_stack::Listener*> m_taps;
  std::vector<routing_stack::Listener*> m_forwardingTaps;  // of these, those that want to know
  std::map<routing_stack::RowName, unsigned int> m_refusals;
  rows::AnswerCounts m_answers;
};

}  // namespace ports

#endif
