#include "kernel_routes.h"

#include <algorithm>
#include <iterator>
#include <stdexcept>
#include <utility>

#include "device/program/counted.h"

namespace machine {

using routing_stack::ForwardingChange;
using routing_stack::NextHopBeside;
using routing_stack::RouteCandidate;

namespace {

constexpr std::uint32_t IP6_BIT = 0x8000;               // of an instance
constexpr std::uint32_t CODE_CONNECTED = 2;             // of stack/rows.h
constexpr const char* ROUTES = "routes in the kernel";  // as `verify` calls them
constexpr std::size_t CANDIDATES_A_TURN = 2000;

kernel::Address AddressOf(const unsigned char (&bytes)[16]) {
  kernel::Address address;
  std::copy(std::begin(bytes), std::end(bytes), address.begin());
  return address;
}

routing_stack::RoutePrefix PrefixOf(const RouteCandidate& candidate) {
  routing_stack::RoutePrefix prefix;
  std::copy(std::begin(candidate.destination), std::end(candidate.destination), prefix.destination);
  prefix.length = candidate.prefixLength;
  return prefix;
}

// Its table is still to be said.
kernel::RouteKey KeyOf(std::uint32_t instance, const unsigned char (&destination)[16],
                       std::uint32_t length) {
  return {0, (instance & IP6_BIT) != 0, static_cast<unsigned char>(length), AddressOf(destination)};
}

}  // namespace

KernelRoutes::KernelRoutes(uv_loop_s* loop, ports::SoftwareStackPort& port,
                           const routing_stack::Facts& facts, unsigned int sweepAfterSeconds,
                           Hooks hooks)
    : m_loop(loop),
      m_port(port),
      m_facts(facts),
      m_sweepAfterSeconds(sweepAfterSeconds),
      m_hooks(std::move(hooks)),
      m_reading(loop),
      m_sweep(loop) {}

KernelRoutes::~KernelRoutes() { m_port.RemoveTap(*this); }

void KernelRoutes::Apply(const documents::Device& device, const KernelTables& tables) {
  const documents::KernelSettings old = std::exchange(m_settings, device.kernel);
  m_port.SetMostNextHops(device.kernel.writesRoutes ? device.kernel.multipath
                                                    : documents::KernelSettings().multipath);
  m_problem.clear();
  if (!m_settings.writesRoutes) {
    if (old.writesRoutes && m_sink) {
      m_port.RemoveTap(*this);
      m_sink->ForgoAllForNow();
      m_isToRead = false;
      m_instancesToRead.clear();
      m_oldTables.clear();
      m_sweep.Stop();
      m_isWaiting = true;
    }
    m_tables = tables;
    return;
  }
  if (m_sink && m_settings.HasSamePlaces(old)) {
    Move(tables);
    return;
  }
  m_tables = tables;
  if (!m_sink && !Open()) {
    return;
  }
  if (!old.writesRoutes) {
    m_port.AddTap(*this);
  }
  ReadAnew();
}

void KernelRoutes::ReadAnew() {
  m_sink->ForgoAllForNow();
  m_isToRead = !m_facts.Instances().empty();
  WaitForSettled();
}

void KernelRoutes::Move(const KernelTables& tables) {
  const KernelTables old = std::exchange(m_tables, tables);
  if (!m_sink || !m_settings.writesRoutes) {
    return;
  }
  std::set<unsigned short> vlans;
  for (const KernelTables* const each : {&old, &tables}) {
    for (const auto& [vlan, table] : each->GetVrfTables()) {
      if (old.Of(vlan) != tables.Of(vlan) || old.HasVrf(vlan) != tables.HasVrf(vlan)) {
        vlans.insert(vlan);
      }
    }
  }
  for (const unsigned short vlan : vlans) {
    const auto from = old.Of(vlan);
    const auto to = tables.Of(vlan);
    if (from) {
      m_oldTables[vlan].insert(*from);
    }
    if (to) {
      m_oldTables[vlan].erase(*to);
    }
  }
  if (IsMoveBlocked()) {
    ReadAnew();
    return;
  }
  for (const unsigned short vlan : vlans) {
    ReadVlan(vlan);
  }
}

// What two VLANs have one after the other cannot be told apart.
bool KernelRoutes::IsMoveBlocked() const {
  return std::any_of(m_oldTables.begin(), m_oldTables.end(), [this](const auto& entry) {
    return std::any_of(entry.second.begin(), entry.second.end(), [&](std::uint32_t table) {
      const auto owner = m_tables.FindOwner(table);
      return owner && *owner != entry.first;
    });
  });
}

// The last one of the list is being read, and has to be read again if it is one of these.
void KernelRoutes::ReadVlan(unsigned short vlan) {
  if (m_instancesToRead.empty()) {
    m_lastRead.reset();
  }
  for (const std::uint32_t instance : {std::uint32_t{vlan}, vlan | IP6_BIT}) {
    const auto end =
        m_instancesToRead.empty() ? m_instancesToRead.end() : std::prev(m_instancesToRead.end());
    if (std::find(m_instancesToRead.begin(), end, instance) == end) {
      m_instancesToRead.insert(m_instancesToRead.begin(), instance);
    }
  }
  m_reading.Post([this] { ReadSlice(); });
}

bool KernelRoutes::Open() {
  try {
    m_sink = std::make_unique<kernel::RouteSink>(m_loop, m_hooks.now, m_hooks.open, m_hooks.log);
    m_sink->SetCompared(m_hooks.compared);
    return true;
  } catch (const std::runtime_error& problem) {
    m_hooks.log(std::string("No routes are written into the kernel: ") + problem.what());
    m_problem = problem.what();
    m_settings.writesRoutes = false;  // the next reload tries again
    return false;
  }
}

// A device that does not settle must not keep routes of an earlier run for ever.
void KernelRoutes::WaitForSettled() {
  m_isWaiting = true;
  m_isOverdue = false;
  m_instancesToRead.clear();
  m_oldTables.clear();
  m_sweep.Start(std::uint64_t{m_sweepAfterSeconds} * 1000, [this] {
    m_hooks.log("The device has not settled in " +
                program::Counted(m_sweepAfterSeconds, "second", "seconds") +
                ": what the kernel has of an earlier run is removed");
    m_isOverdue = true;
  });
}

void KernelRoutes::LookWhetherSettled() {
  if (!m_sink) {
    m_isWaiting = false;
    return;
  }
  if (!m_settings.writesRoutes) {
    End();
    return;
  }
  if (!m_instancesToRead.empty() || (!m_isOverdue && !m_hooks.isSettled())) {
    return;
  }
  if (std::exchange(m_isToRead, false)) {
    m_instancesToRead = m_facts.Instances();
    m_lastRead.reset();
    m_reading.Post([this] { ReadSlice(); });
  } else {
    Sweep();
  }
}

// Whether everything that the stack has installed is known.
bool KernelRoutes::IsChosen() const { return !m_facts.HasWork() && m_instancesToRead.empty(); }

void KernelRoutes::LookWhetherChosen() {
  if (IsChosen()) {
    if (!m_facts.IsHeld()) {  // else some of its work is still to be told of
      m_oldTables.clear();
    }
    for (const auto& call : std::exchange(m_whenChosen, {})) {
      call();
    }
  }
}

// First everything goes, then so does the sink.
void KernelRoutes::End() {
  if (m_sink->GetLedger().IsLearning()) {
    m_sink->Sweep();
  } else if (m_sink->IsSettled() && m_sink->GetLedger().CountRefused() == 0) {
    m_sink.reset();
    m_isWaiting = false;
  }
}

void KernelRoutes::Sweep() {
  m_isWaiting = false;
  m_sweep.Stop();
  m_sink->Sweep();
}

// Changes that come meanwhile are heard as always, so each slice is right when it is read.
void KernelRoutes::ReadSlice() {
  if (m_instancesToRead.empty()) {
    return;
  }
  const std::uint32_t instance = m_instancesToRead.back();
  const std::uint32_t vlan = instance & ~IP6_BIT;
  const std::vector<RouteCandidate> slice =
      m_facts.CandidatesAfter(instance, m_lastRead ? &*m_lastRead : nullptr, CANDIDATES_A_TURN);
  for (const RouteCandidate& candidate : slice) {
    if (candidate.isInstalled) {
      const kernel::RouteKey key = KeyOf(instance, candidate.destination, candidate.prefixLength);
      LeaveOldTables(vlan, key);
      Want(vlan, key, candidate.protocol == routing_stack::RouteProtocol::kConnected,
           candidate.nextHop, candidate.ifIndex,
           m_facts.NextHopsBeside(instance, PrefixOf(candidate)));
    }
  }
  if (slice.empty()) {
    m_instancesToRead.pop_back();
    m_lastRead.reset();
  } else {
    m_lastRead = slice.back();
  }
  m_reading.Post([this] { ReadSlice(); });
}

std::optional<kernel::RouteKey> KernelRoutes::FindKey(unsigned short vlan, bool isIp6,
                                                      const kernel::Address& destination,
                                                      unsigned char length) const {
  const auto table = m_tables.Of(vlan);
  if (!m_sink || !table) {
    return std::nullopt;
  }
  return kernel::RouteKey{*table, isIp6, length, destination};
}

void KernelRoutes::LeaveOldTables(std::uint32_t vlan, kernel::RouteKey key) {
  const auto old = m_oldTables.find(vlan);
  if (old != m_oldTables.end()) {
    for (const std::uint32_t table : old->second) {
      key.table = table;
      m_sink->Forgo(key);
    }
  }
}

void KernelRoutes::Forgo(std::uint32_t vlan, kernel::RouteKey key) {
  if (const auto table = m_tables.Of(vlan)) {
    key.table = *table;
    m_sink->Forgo(key);
  }
}

// The kernel puts the networks of its own addresses into its main table itself, and into those of
// VRF devices.
void KernelRoutes::Want(std::uint32_t vlan, kernel::RouteKey key, bool isConnected,
                        const unsigned char (&nextHop)[16], std::uint32_t ifIndex,
                        const std::vector<NextHopBeside>& beside) {
  const auto table = m_tables.Of(vlan);
  if (!table || ifIndex == 0 || (isConnected && m_tables.HasKernelsNetworks(vlan))) {
    Forgo(vlan, key);
    return;
  }
  key.table = *table;
  if (isConnected) {
    m_sink->Want(key, kernel::NextHop{{}, ifIndex});
  } else if (beside.empty()) {
    m_sink->Want(key, kernel::NextHop{AddressOf(nextHop), ifIndex});
  } else {
    std::vector<kernel::NextHop> all{{AddressOf(nextHop), ifIndex}};
    for (const NextHopBeside& hop : beside) {
      all.push_back({AddressOf(hop.nextHop), hop.ifIndex});
    }
    m_sink->Want(key, kernel::NextHops(all));
  }
}

void KernelRoutes::ForwardingChanged(ForwardingChange change, const amb_cipr_rtm_route& route,
                                     const std::vector<NextHopBeside>& beside,
                                     routing_stack::RowType) {
  const std::uint32_t vlan = route.instance & ~IP6_BIT;
  const kernel::RouteKey key = KeyOf(route.instance, route.destination, route.prefix_length);
  LeaveOldTables(vlan, key);
  if (change == ForwardingChange::kGone) {
    Forgo(vlan, key);
  } else {
    Want(vlan, key, route.route_proto == CODE_CONNECTED, route.next_hop, route.if_index, beside);
  }
}

// Packets go on where they went until the stack has been told everything again.
void KernelRoutes::Restarted() {
  m_sink->ForgoAllForNow();
  m_isToRead = false;
  WaitForSettled();
}

bool KernelRoutes::Shut() {
  if (!m_sink) {
    return false;
  }
  m_port.RemoveTap(*this);
  m_instancesToRead.clear();
  m_sweep.Stop();
  m_isWaiting = false;
  m_sink->Shut();
  m_sink.reset();
  return true;
}

void KernelRoutes::Verify(std::size_t mostLines,
                          std::function<void(std::optional<rows::Verdict>)> done) {
  if (!m_sink) {
    std::optional<rows::Verdict> verdict;
    if (!m_problem.empty()) {
      verdict = rows::Verdict{ROUTES, 0, 1, {"kernel: no routes are written: " + m_problem}};
    }
    done(std::move(verdict));
    return;
  }
  if (!IsChosen()) {
    m_whenChosen.push_back([this, mostLines, done = std::move(done)] { Verify(mostLines, done); });
    return;
  }
  m_sink->Compare([this, mostLines,
                   done = std::move(done)](const kernel::RouteSink::Result& result) {
    const kernel::RouteLedger& ledger = m_sink->GetLedger();
    rows::Verdict verdict;
    verdict.kind = ROUTES;
    verdict.rows = ledger.CountWanted();
    const auto add = [&](const std::string& line) {
      if (verdict.lines.size() < mostLines) {
        verdict.lines.push_back("kernel: " + line);
      }
    };
    if (!result.isComplete) {
      ++verdict.fails;
      add("its tables could not be read");
    }
    const kernel::Comparison& comparison = result.comparison;
    const std::size_t absent = ledger.CountWanted() - ledger.CountStanding();
    verdict.fails +=
        std::max(absent, comparison.missing) + comparison.strays + ledger.CountRefusedDeletions();
    for (const kernel::RouteKey& key : comparison.missingKeys) {
      add("route " + kernel::DescribeKey(key) + " was missing, put back now");
    }
    for (const kernel::RouteKey& key : comparison.strayKeys) {
      add("route " + kernel::DescribeKey(key) + " was there and nobody wants it, removed now");
    }
    ledger.TellRefusals(mostLines,
                        [&](const kernel::RouteKey& key, const kernel::Refusal& refusal) {
                          add("route " + kernel::DescribeKey(key) +
                              (refusal.isOfDeletion ? " is not given up: " : " is refused: ") +
                              kernel::DescribeRefusal(refusal));
                        });
    const std::size_t told =
        comparison.missing + ledger.CountRefused() - ledger.CountRefusedDeletions();
    if (absent > told) {
      verdict.besides = verdict.lines.size() < mostLines ? absent - told - 1 : 0;
      add(program::Counted(absent - told, "route is", "routes are") + " under way");
    }
    done(std::move(verdict));
  });
}

}  // namespace machine
