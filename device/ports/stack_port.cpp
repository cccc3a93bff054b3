#include "stack_port.h"

#include <algorithm>
#include <utility>

#include "device/stack/upkeep.h"
#include "stack_rows.h"
#include "vantacore/dc_router_mgr.h"

namespace ports {

using routing_stack::InstanceEntry;
using routing_stack::NextHopBeside;
using routing_stack::RedistributionRow;
using routing_stack::RowName;
using routing_stack::RowType;
using routing_stack::StaticRoute;

namespace {

// What the stack's answers say, and what its requests ask for.
constexpr unsigned int STATUS_DONE = 1;
constexpr unsigned int STATUS_ABSENT = 6;
constexpr int ROW_STATUS_DESTROY = 6;

// For the end of lost requests. A run takes at most four milliseconds.
constexpr std::uint64_t LONGEST_MILLISECONDS = 10;
constexpr std::uint64_t LONGEST_RUN_MILLISECONDS = 4;

bool IsRouteOrRule(const RowName& row) {
  return row.type == RowType::kRoute || row.type == RowType::kRedistribution;
}

}  // namespace

SoftwareStackPort::SoftwareStackPort(routing_stack::RoutingStack& stack,
                                     std::function<std::uint64_t()> now)
    : m_stack(stack), m_facts(stack.GetFacts()), m_now(std::move(now)) {
  m_stack.SetListener(this);
}

SoftwareStackPort::~SoftwareStackPort() { m_stack.SetListener(nullptr); }

void SoftwareStackPort::AddTap(routing_stack::Listener& tap) {
  const bool wanted = WantsForwarding();
  m_taps.push_back(&tap);
  if (tap.WantsForwarding()) {
    m_forwardingTaps.push_back(&tap);
  }
  ListenAnewUnless(wanted == WantsForwarding());
}

void SoftwareStackPort::RemoveTap(routing_stack::Listener& tap) {
  const bool wanted = WantsForwarding();
  for (auto* const taps : {&m_taps, &m_forwardingTaps}) {
    taps->erase(std::remove(taps->begin(), taps->end(), &tap), taps->end());
  }
  ListenAnewUnless(wanted == WantsForwarding());
}

// The stack asks its listener when it gets it what is to be told. One that it gets anew does not
// hear of the end of routes that are just leaving with their instance, so the taps that stay keep
// the one they have.
void SoftwareStackPort::ListenAnewUnless(bool isAsBefore) {
  if (!isAsBefore) {
    m_stack.SetListener(this);
  }
}

bool SoftwareStackPort::IsReady() const { return m_facts.IsReady(); }
bool SoftwareStackPort::IsHeld() const { return m_facts.IsHeld(); }
bool SoftwareStackPort::HasUnfinished() const { return m_facts.HasUnfinished(); }

bool SoftwareStackPort::IsUnfinished(const rows::Row& row) const {
  if (!m_facts.HasUnfinished()) {
    return false;
  }
  const std::vector<RowName> names = NamesOf(row);
  return std::any_of(names.begin(), names.end(),
                     [this](const RowName& name) { return m_facts.IsUnfinished(name); });
}

std::uint64_t SoftwareStackPort::UnfinishedSince(const rows::Row& row) const {
  std::optional<std::uint64_t> first;
  for (const RowName& name : NamesOf(row)) {
    const std::optional<std::uint64_t> since = m_facts.UnfinishedSince(name);
    if (since && (!first || *since < *first)) {
      first = since;
    }
  }
  return first.value_or(0);
}

unsigned int SoftwareStackPort::GetRefusal(const rows::Row& row) const {
  if (m_refusals.empty()) {
    return 0;
  }
  for (const RowName& name : NamesOf(row)) {
    const auto refusal = m_refusals.find(name);
    if (refusal != m_refusals.end()) {
      return refusal->second;
    }
  }
  return 0;
}

std::vector<rows::StackInstance> SoftwareStackPort::ReadInstances(const rows::StackInstance* last,
                                                                  std::size_t most) const {
  const InstanceEntry key = last == nullptr ? InstanceEntry{} : KeyOf(last->row);
  std::vector<rows::StackInstance> instances;
  for (const InstanceEntry& entry :
       m_facts.InstancesAfter(last == nullptr ? nullptr : &key, most)) {
    instances.push_back(ToInstance(entry));
  }
  return instances;
}

std::optional<rows::StackInstance> SoftwareStackPort::FindInstance(
    const rows::InstanceRow& row) const {
  const std::optional<InstanceEntry> entry = m_facts.FindInstance(KeyOf(row).instance);
  return entry ? std::optional(ToInstance(*entry)) : std::nullopt;
}

std::vector<amb_stubs_i3_ei> SoftwareStackPort::ReadInterfaces(const amb_stubs_i3_ei* last,
                                                               std::size_t most) const {
  return m_facts.InterfacesAfter(last, most);
}

std::optional<amb_stubs_i3_ei> SoftwareStackPort::FindInterface(unsigned int instance,
                                                                std::uint32_t ifIndex) const {
  return m_facts.FindInterface(instance, ifIndex);
}

std::vector<amb_stubs_i3_ea> SoftwareStackPort::ReadAddresses(const amb_stubs_i3_ea* last,
                                                              std::size_t most) const {
  return m_facts.AddressesAfter(last, most);
}

std::optional<amb_stubs_i3_ea> SoftwareStackPort::FindAddress(const rows::AddressRow& row) const {
  return m_facts.FindAddress(KeyOf(row));
}

std::vector<rows::StackRoute> SoftwareStackPort::ReadRoutes(const rows::StackRoute* last,
                                                            std::size_t most) const {
  const StaticRoute key =
      last == nullptr ? StaticRoute{} : KeyOf(last->route.target, last->route.ifIndex);
  const std::vector<StaticRoute> slice =
      m_facts.StaticRoutesAfter(last == nullptr ? nullptr : &key, most);
  std::vector<rows::StackRoute> routes;
  routes.reserve(slice.size());
  std::transform(slice.begin(), slice.end(), std::back_inserter(routes), ToRoute);
  return routes;
}

std::optional<rows::StackRoute> SoftwareStackPort::FindRoute(const rows::RouteRow& row) const {
  const std::optional<StaticRoute> route = m_facts.FindStaticRoute(KeyOf(row.target, row.ifIndex));
  return route ? std::optional(ToRoute(*route)) : std::nullopt;
}

// An empty slice would be the end, so one in which all are down is passed over.
std::vector<rows::RuleRow> SoftwareStackPort::ReadRules(const rows::RuleRow* last,
                                                        std::size_t most) const {
  std::vector<rows::RuleRow> rules;
  std::vector<RedistributionRow> slice =
      last == nullptr ? m_facts.RedistributionsAfter(nullptr, most) : std::vector{KeyOf(*last)};
  if (last != nullptr) {
    slice = m_facts.RedistributionsAfter(&slice.front(), most);
  }
  while (rules.empty() && !slice.empty()) {
    for (const RedistributionRow& row : slice) {
      if (row.isUp) {
        rules.push_back(ToRule(row));
      }
    }
    const RedistributionRow end = slice.back();
    slice = m_facts.RedistributionsAfter(&end, most);
  }
  return rules;
}

bool SoftwareStackPort::HasRule(const rows::RuleRow& row) const {
  const std::optional<RedistributionRow> rule = m_facts.FindRedistribution(KeyOf(row));
  return rule && rule->isUp;
}

void SoftwareStackPort::SetMostNextHops(const std::map<unsigned short, unsigned char>& most) {
  for (const auto& [vlan, before] : std::exchange(m_mostNextHops, most)) {
    if (most.count(vlan) == 0) {
      m_stack.GetUpkeep().SetMostNextHops(vlan, 1);
    }
  }
  for (const auto& [vlan, number] : most) {
    m_stack.GetUpkeep().SetMostNextHops(vlan, number);
  }
}

// Each end may let the library issue what waited for its row, whose answers come from the next
// runs.
bool SoftwareStackPort::EndLostRequests() {
  const std::uint64_t begin = m_now();
  m_stack.GetUpkeep().EndLostRequests();
  while (m_facts.HasUnfinished() && m_facts.HasWork() &&
         m_now() - begin + LONGEST_RUN_MILLISECONDS <= LONGEST_MILLISECONDS) {
    Tarsel::DcRouterMgr::GetInstance()->GetScheduler().SchedNBase();
    m_stack.GetUpkeep().EndLostRequests();
  }
  return !m_facts.HasUnfinished();
}

// The answers for routes and rules reach the host's own items; there may be very many of them. A
// row that is to go and is not there is as it should be.
void SoftwareStackPort::Answered(const RowName& row, int rowStatus, unsigned int status) {
  for (routing_stack::Listener* const tap : m_taps) {
    tap->Answered(row, rowStatus, status);
  }
  const bool isGone = rowStatus == ROW_STATUS_DESTROY && status == STATUS_ABSENT;
  const bool isDone = status == STATUS_DONE || isGone;
  m_answers.done += isDone ? 1 : 0;
  m_answers.refused += !isDone && status != 0 ? 1 : 0;
  if (status != 0 && IsRouteOrRule(row)) {
    return;
  }
  if (isDone) {
    m_refusals.erase(row);
  } else if (status != 0) {
    m_refusals[row] = status;
  }
  if (m_listener != nullptr) {
    m_listener->Answered(RowOf(row), status);
  }
}

void SoftwareStackPort::Restarted() {
  for (routing_stack::Listener* const tap : m_taps) {
    tap->Restarted();
  }
  m_refusals.clear();
  if (m_listener != nullptr) {
    m_listener->Restarted();
  }
}

void SoftwareStackPort::ForwardingChanged(routing_stack::ForwardingChange change,
                                          const amb_cipr_rtm_route& route,
                                          const std::vector<NextHopBeside>& beside, RowType cause) {
  for (routing_stack::Listener* const tap : m_forwardingTaps) {
    tap->ForwardingChanged(change, route, beside, cause);
  }
}

}  // namespace ports
