#include "knowledge.h"

#include <utility>

#include "vantacore/dc_router_mgr.h"

namespace keepers {

namespace {

constexpr unsigned int ANSWER_DONE = 1;
constexpr unsigned int LOOK_MILLISECONDS = 10;
constexpr unsigned int LATE_LOOK_MILLISECONDS = 100;
constexpr std::uint64_t PATIENCE_MILLISECONDS = 1000;
constexpr std::size_t INTERFACES_A_TURN = 250;

rows::InterfaceNames NamesOf(const Interfaces& interfaces) {
  return [&interfaces](unsigned short vlan, std::uint32_t ifIndex) {
    const auto found = interfaces.Get().find({vlan, ifIndex});
    return found == interfaces.Get().end() ? std::string() : found->second.name;
  };
}

}  // namespace

Knowledge::Knowledge(uv_loop_s* loop, Interfaces& interfaces, const rows::StackPort& port,
                     rows::ProtocolRowsPort& protocolRows,
                     const std::function<void(const std::string&)>& report,
                     std::uint64_t keepOldMilliseconds)
    : m_port(port),
      m_protocolRows(protocolRows),
      m_differences(
          loop, port, report,
          [this](const rows::Row& row) -> rows::Keeper& { return KeeperOf(row); },
          NamesOf(interfaces)),
      m_instances(port),
      m_interfaces(port, interfaces),
      m_addresses(port, interfaces),
      m_protocolRowKeeper(protocolRows),
      m_routes(loop, port, m_differences, {keepOldMilliseconds, report, NamesOf(interfaces)}),
      m_rules(loop, port, m_differences),
      m_comparer(
          loop, port,
          {&m_instances, &m_interfaces, &m_addresses, &m_protocolRowKeeper, &m_routes, &m_rules},
          m_differences),
      m_timer("Knowledge"),
      m_turn(loop) {
  m_timer.SetCallback(new Tarsel::MemberCallback2<Knowledge, unsigned int, void*>(
      this, &Knowledge::LookWhetherSettled));
}

rows::Keeper& Knowledge::KeeperOf(const rows::Row& row) {
  struct Choice {
    Knowledge& all;
    rows::Keeper& operator()(const rows::InstanceRow&) const { return all.m_instances; }
    rows::Keeper& operator()(const rows::InterfaceRow&) const { return all.m_interfaces; }
    rows::Keeper& operator()(const rows::AddressRow&) const { return all.m_addresses; }
    rows::Keeper& operator()(const rows::ProtocolRow&) const { return all.m_protocolRowKeeper; }
    rows::Keeper& operator()(const rows::RouteRow&) const { return all.m_routes; }
    rows::Keeper& operator()(const rows::RuleRow&) const { return all.m_rules; }
  };
  Choice choice{*this};
  return std::visit(choice, row);
}

// A success is news, too. The requests for an instance have no order, so that one that was
// destroyed late may have been created before. A stack that has been restarted may do what was
// asked of the one before it. And an event of an interface may leave an address in the stack that
// nobody wants: a second one, or one of an interface that has gone. Only rows of protocols have
// keepers of their own, who hear of it.
void Knowledge::Heard(const rows::Row& row, unsigned int status) {
  const rows::Differences::Difference* const difference = m_differences.Find(row);
  const auto* const instance = std::get_if<rows::InstanceRow>(&row);
  if (instance && status == ANSWER_DONE && difference &&
      difference->standing.kind == rows::Standing::Kind::MISSING) {
    m_remade.insert(instance->vlan);
    Post();
  }
  const auto* const interface = std::get_if<rows::InterfaceRow>(&row);
  const auto* const address = std::get_if<rows::AddressRow>(&row);
  if (interface || address) {
    m_touched.insert(interface ? documents::InterfaceKey(interface->vlan, interface->ifIndex)
                               : documents::InterfaceKey(address->vlan, address->ifIndex));
    m_routes.LookAtKeptSoon();
    Post();
  }
  if (status != ANSWER_DONE || !std::holds_alternative<rows::ProtocolRow>(row) ||
      m_differences.Count() != 0) {
    m_differences.Heard(row);
  }
}

void Knowledge::Post() {
  m_turn.Post([this] { Turn(); });
}

void Knowledge::Turn() {
  if (!m_remade.empty()) {
    ForgetRemade();
  }
  LookAtTouched();
}

// With an instance that was lost everything in it was lost.
// One that has gone in the meantime has been forgotten already, and nothing is to be asked of it.
void Knowledge::ForgetRemade() {
  const auto& vlans = Tarsel::DcRouterMgr::GetInstance()->GetVlans();
  for (const unsigned short vlan : std::exchange(m_remade, {})) {
    if (vlans.count(vlan) != 0) {
      m_routes.ForgetVlan(vlan);
      m_rules.ForgetVlan(vlan);
    }
  }
  CompareWhenSettled();
}

// What is under way will be answered, and looked at again then.
void Knowledge::LookAtTouched() {
  for (std::size_t i = 0; i < INTERFACES_A_TURN && !m_touched.empty(); ++i) {
    const documents::InterfaceKey key = *m_touched.begin();
    m_touched.erase(m_touched.begin());
    m_addresses.LookAtInterface(key, [this](const rows::Row& row, const rows::Standing& standing) {
      m_differences.Note(row, standing);
    });
  }
  if (!m_touched.empty()) {
    Post();
  }
}

void Knowledge::CompareWhenSettled() {
  m_isComparisonDue = true;
  m_hasComparedEarly = false;
  m_progressAt = m_port.Now();
  m_timer.Start(LOOK_MILLISECONDS);
}

// What has not been answered for long does not keep the rest from being compared. When it has been
// answered at last, everything is compared once more: an answer may show what nobody wants any
// more.
void Knowledge::LookWhetherSettled(unsigned int, void*) {
  const std::uint64_t now = m_port.Now();
  if (const std::uint64_t progress = GetProgress(); progress != m_progress) {
    m_progress = progress;
    m_progressAt = now;
  }
  m_isComparisonDue = !AreAnswered();
  const bool isEarly = m_isComparisonDue && now - m_progressAt >= PATIENCE_MILLISECONDS;
  if (!m_isComparisonDue || (isEarly && !m_hasComparedEarly)) {
    m_hasComparedEarly = isEarly;
    m_comparer.Compare();
    m_differences.LookAtAll();
  }
  if (m_isComparisonDue) {
    m_timer.Start(m_hasComparedEarly ? LATE_LOOK_MILLISECONDS : LOOK_MILLISECONDS);
  }
}

void Knowledge::Forget() {
  m_comparer.Stop();
  m_routes.Forget();
  m_rules.Forget();
  m_differences.Forget();
  m_remade.clear();
  m_touched.clear();
  m_isComparisonDue = false;
  m_timer.Stop();
}

bool Knowledge::AreAnswered() const {
  return m_port.IsReady() && !m_port.HasUnfinished() && CountOpen() == 0;
}

bool Knowledge::IsSettled() const {
  return AreAnswered() && !IsComparing() && !m_differences.IsRetrying();
}

// Routes of a VLAN without its instances wait for them, however long.
std::size_t Knowledge::CountWaiting() const {
  std::size_t count = 0;
  unsigned short last = 0;
  for (const auto& [row, difference] : m_differences.GetAll()) {
    const rows::InstanceRow* const instance = std::get_if<rows::InstanceRow>(&row);
    if (!instance) {
      break;  // they come first
    }
    if (difference.standing.kind == rows::Standing::Kind::MISSING && instance->vlan != last) {
      last = instance->vlan;
      count += m_routes.CountOpen(last);
    }
  }
  return count;
}

std::size_t Knowledge::CountOpen() const {
  return m_routes.CountOpen() - CountWaiting() + m_rules.CountOpen() +
         m_protocolRows.CountUnderWay(
             [this](const rows::ProtocolRow& row) { return m_differences.Find(row) == nullptr; });
}

Knowledge::Kinds Knowledge::GetKinds() const {
  const std::array<const rows::Keeper*, std::variant_size_v<rows::Row>> keepers = {
      &m_instances, &m_interfaces, &m_addresses, &m_protocolRowKeeper, &m_routes, &m_rules};
  Kinds kinds;
  for (std::size_t i = 0; i < kinds.size(); ++i) {
    kinds[i] = {keepers[i]->GetName(), keepers[i]->CountWanted(), m_differences.GetCounts()[i]};
  }
  return kinds;
}

std::uint64_t Knowledge::GetProgress() const {
  return m_routes.GetProgress() + m_rules.GetProgress();
}

}  // namespace keepers
