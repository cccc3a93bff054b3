// The port of a host that knows nothing of its routing stack.
#ifndef DEVICE_ROWS_NO_STACK_PORT_H
#define DEVICE_ROWS_NO_STACK_PORT_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <utility>
#include <variant>
#include <vector>

#include "stack_port.h"

namespace rows {

/// With this port everything counts as answered that the library was told, except routes and rules:
/// their answers reach the host's own items. A route or a rule that the stack refuses for good, or
/// ten times for now, is a difference, which is asked for again and ends when the stack takes it.
/// Nothing else is ever a difference, and nothing that the stack has is taken for a stray. What is
/// lost:
///
/// - an instance, an interface or an address that the stack refuses is neither told nor asked for
///   again; nor is a route or a rule that the stack has dropped by itself;
/// - a route or a rule that is never answered stays under way: the device does not settle then;
/// - a route that another one of its prefix replaces goes when that one is accepted, whether its
///   next hop is reached or not;
/// - a restart of the stack is noticed only if the host tells it (Restarted).
///
/// A host that knows more derives from this class and overrides what its stack can tell. One that
/// can read the stack's tables overrides KnowsTables and all that reads; half of the tables will
/// not do.
class NoStackPort : public StackPort {
 public:
  /// `now` is copied: milliseconds on a clock that never goes back.
  explicit NoStackPort(std::function<std::uint64_t()> now) : m_now(std::move(now)) {}
  NoStackPort(const NoStackPort&) = delete;
  NoStackPort& operator=(const NoStackPort&) = delete;

  /// The host calls this when the stack has lost everything and has begun anew: the listener then
  /// has it told everything again, in a later turn of the loop. May be called from inside the
  /// stack's run.
  void Restarted() {
    if (m_listener != nullptr) {
      m_listener->Restarted();
    }
  }

  std::uint64_t Now() const override { return m_now(); }
  void SetListener(StackListener* listener) override { m_listener = listener; }

  bool KnowsTables() const override { return false; }
  bool IsReady() const override { return true; }
  bool HasUnfinished() const override { return false; }
  bool IsUnfinished(const Row& row) const override {
    return std::holds_alternative<RouteRow>(row) || std::holds_alternative<RuleRow>(row);
  }
  unsigned int GetRefusal(const Row&) const override { return 0; }

  std::vector<StackInstance> ReadInstances(const StackInstance*, std::size_t) const override {
    return {};
  }
  std::optional<StackInstance> FindInstance(const InstanceRow&) const override { return {}; }
  std::vector<amb_stubs_i3_ei> ReadInterfaces(const amb_stubs_i3_ei*, std::size_t) const override {
    return {};
  }
  std::optional<amb_stubs_i3_ei> FindInterface(unsigned int, std::uint32_t) const override {
    return {};
  }
  std::vector<amb_stubs_i3_ea> ReadAddresses(const amb_stubs_i3_ea*, std::size_t) const override {
    return {};
  }
  std::optional<amb_stubs_i3_ea> FindAddress(const AddressRow&) const override { return {}; }
  std::vector<StackRoute> ReadRoutes(const StackRoute*, std::size_t) const override { return {}; }
  std::optional<StackRoute> FindRoute(const RouteRow&) const override { return {}; }
  std::vector<RuleRow> ReadRules(const RuleRow*, std::size_t) const override { return {}; }
  bool HasRule(const RuleRow&) const override { return false; }

  /// What the library had queued for requests of the old stack is not freed.
  bool EndLostRequests() override { return false; }

 private:
  const std::function<std::uint64_t()> m_now;
  StackListener* m_listener = nullptr;
};

}  // namespace rows

#endif
