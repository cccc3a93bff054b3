// The software routing stack as apply sees it.
#ifndef DEVICE_DAEMON_STACK_PORT_H
#define DEVICE_DAEMON_STACK_PORT_H

#include <cstdint>
#include <functional>
#include <map>

#include "device/apply/stack_port.h"
#include "device/stack/facts.h"
#include "device/stack/routing_stack.h"

namespace vantacored {

/// Forwards to the stack's facts and to its upkeep. It is the stack's listener as long as it lives,
/// and keeps by row which requests were refused last.
class SoftwareStackPort final : public apply::StackPort, private routing_stack::Listener {
 public:
  /// The stack is borrowed. `now` is the clock that the stack was made with.
  SoftwareStackPort(routing_stack::RoutingStack& stack, std::function<std::uint64_t()> now);
  SoftwareStackPort(const SoftwareStackPort&) = delete;
  SoftwareStackPort& operator=(const SoftwareStackPort&) = delete;
  ~SoftwareStackPort() override;

  std::uint64_t Now() const override { return m_now(); }
  void SetListener(apply::StackListener* listener) override { m_listener = listener; }

  bool IsReady() const override;
  bool HasUnfinished() const override;
  bool IsUnfinished(const apply::Row& row) const override;
  std::uint64_t UnfinishedSince(const apply::Row& row) const override;
  unsigned int GetRefusal(const apply::Row& row) const override;

  std::vector<apply::StackInstance> ReadInstances(const apply::StackInstance* last,
                                                  std::size_t most) const override;
  std::optional<apply::StackInstance> FindInstance(const apply::InstanceRow& row) const override;
  std::vector<amb_stubs_i3_ei> ReadInterfaces(const amb_stubs_i3_ei* last,
                                              std::size_t most) const override;
  std::optional<amb_stubs_i3_ei> FindInterface(unsigned int instance,
                                               std::uint32_t ifIndex) const override;
  std::vector<amb_stubs_i3_ea> ReadAddresses(const amb_stubs_i3_ea* last,
                                             std::size_t most) const override;
  std::optional<amb_stubs_i3_ea> FindAddress(const apply::AddressRow& row) const override;
  std::vector<apply::StackRoute> ReadRoutes(const apply::StackRoute* last,
                                            std::size_t most) const override;
  std::optional<apply::StackRoute> FindRoute(const apply::RouteRow& row) const override;
  std::vector<apply::RuleRow> ReadRules(const apply::RuleRow* last,
                                        std::size_t most) const override;
  bool HasRule(const apply::RuleRow& row) const override;

  /// Runs the stack that is current, which has to be this one.
  bool EndLostRequests() override;

 private:
  void Answered(const routing_stack::RowName& row, int rowStatus, unsigned int status) override;
  void Restarted() override;

  routing_stack::RoutingStack& m_stack;
  const routing_stack::Facts& m_facts;
  const std::function<std::uint64_t()> m_now;
  apply::StackListener* m_listener = nullptr;
  std::map<routing_stack::RowName, unsigned int> m_refusals;
};

}  // namespace vantacored

#endif
