// The rates are meant to be those of a large access site: a provider's edge or a campus with a VLAN
// per customer, whose static routes are set by a controller.
//
// - Routes: one change in four seconds. 50,000 customers' routes that each change three times a week
//   are 150,000 changes; that is one in four seconds.
// - Links: one flap in a minute. Each of 4,094 links then goes down two or three times a week: work on
//   the customer's side, a plug, a power cut. Most are back within a minute.
// - Addresses: one renumbering in an hour.
// - Documents: one change in a quarter of an hour, by people and scripts in working hours; the same
//   document once more every hour, as tools do that enforce a configuration.
// - VLANs: twenty customers at most move away and come back, once in six hours.
// - The stack: busy for a moment every ten minutes, which asks for a retry; a refusal for good every
//   hour, as when a forwarding table is full.
// - Console: a monitoring system that asks every five minutes, the usual period.
//
// A smaller population keeps these rates: it lives faster.
#include "bench/soak/network.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <utility>

#include "device/base/trace_control.h"
#include "tests/support/vlan_document.h"
#include "vantacore/cfg_items.h"
#include "vantacore/dc_interface_console_command.h"
#include "vantacore/dc_interface_mgr.h"
#include "vantacore/rtm_commands.h"
#include "vantacore/static_routes.h"

namespace soak {

namespace {

using routing_stack::Answer;
using routing_stack::RowType;
using Tarsel::DcInterfaceMgr;
using Tarsel::Ip4Addr;

constexpr std::uint64_t SECOND = 1000;
constexpr std::uint64_t MINUTE = 60 * SECOND;
constexpr std::uint64_t HOUR = 60 * MINUTE;
constexpr std::uint64_t SETTLE_LIMIT = 4 * HOUR;
constexpr unsigned int RETRY_LATER = 5;
constexpr unsigned int NO_ROOM = 3;
constexpr unsigned int STATIC_PROTO = 3;
constexpr unsigned int MOST_VLANS_AWAY = 20;

struct Rate {
  const char* name;
  std::uint64_t mean;
};

const Rate RATES[KINDS] = {
    {"route changes", 4 * SECOND},     {"interface flaps", MINUTE}, {"address changes", HOUR},
    {"document changes", 15 * MINUTE}, {"document repeats", HOUR},  {"VLANs go and come", 6 * HOUR},
    {"stack is busy", 10 * MINUTE},    {"stack refuses", HOUR},     {"console walks", 5 * MINUTE},
};

// Links and VLANs have the same numbers: one link to each VLAN.
std::string LinkName(unsigned int vlan) { return "eth" + std::to_string(vlan); }

Ip4Addr InVlan(unsigned int vlan, unsigned int host) {
  return Ip4Addr(10, (vlan >> 8) & 0xFF, vlan & 0xFF, host);
}

Ip4Addr Mask24() { return Ip4Addr(255, 255, 255, 0); }

Ip4Addr Destination(unsigned int route) {
  return Ip4Addr(20 + (route >> 16), (route >> 8) & 0xFF, route & 0xFF, 0);
}

// The inverse.
unsigned int RouteTo(unsigned int first, unsigned int second, unsigned int third) {
  return (first - 20) << 16 | second << 8 | third;
}

[[noreturn]] void Die(const char* what) {
  std::fprintf(stderr, "soak: %s\n", what);
  std::exit(2);
}

}  // namespace

const char* Network::NameOf(Kind kind) { return RATES[kind].name; }

Network::Network(unsigned int vlans, unsigned int routes, unsigned int seed, std::size_t leakBytes)
    : m_vlans(vlans),
      m_routes(routes),
      m_leakBytes(leakBytes),
      m_engine(seed),
      m_routeAsked(routes) {
  Tarsel::SetTraceLevel(0);
  Tarsel::SetTraceSink([](int, const std::string&) {});
  // The VLANs have no primary interface, which the stack's question for one reports each time.
  Tarsel::SetAssertSink([](const char*, const char*, int) {});
  m_device.Start(1);
  if (!m_device.Settle()) Die("the device does not start");
  Load(m_vlans, 0);
  AddInterfaces();
  if (!m_device.Settle(SETTLE_LIMIT)) Die("the VLANs do not come");
  AddRoutesOf(1);
  if (!m_device.Settle(SETTLE_LIMIT)) Die("the routes do not come");
  for (int kind = 0; kind < KINDS; ++kind) {
    Recur(static_cast<Kind>(kind));
  }
}

void Network::Run(std::uint64_t milliseconds) {
  const std::uint64_t end = m_now + milliseconds;
  while (!m_due.empty() && m_due.begin()->first <= end) {
    const auto next = m_due.begin();
    m_device.loop.AdvanceMilliseconds(next->first - m_now);
    m_now = next->first;
    const std::function<void()> what = std::move(next->second);
    m_due.erase(next);
    what();
  }
  m_device.loop.AdvanceMilliseconds(end - m_now);
  m_now = end;
  ForgetEndedWalks();
}

void Network::Rehearse() {
  for (int kind = 0; kind < KINDS; ++kind) {
    Happen(static_cast<Kind>(kind));
  }
  Run(10 * MINUTE);
}

std::uint64_t Network::RouteRequests() {
  return m_device.Control().CountOf(routing_stack::Call::kSmsUpdateRoute);
}

void Network::Recur(Kind kind) {
  In(Gap(kind), [this, kind] {
    Happen(kind);
    Recur(kind);
  });
}

void Network::In(std::uint64_t milliseconds, std::function<void()> what) {
  m_due.emplace(m_now + milliseconds, std::move(what));
}

std::uint64_t Network::Gap(Kind kind) {
  std::exponential_distribution<double> gap(1.0 / static_cast<double>(RATES[kind].mean));
  return 1 + static_cast<std::uint64_t>(gap(m_engine));
}

unsigned int Network::Below(unsigned int below) {
  return std::uniform_int_distribution<unsigned int>(0, below - 1)(m_engine);
}

// --- what happens ---

void Network::Happen(Kind kind) {
  ++m_happened[kind];
  switch (kind) {
    case ROUTE_CHANGES: {
      const unsigned int route = Below(m_routes);
      SetRoute(route, false);
      In(SECOND + Below(5 * MINUTE), [this, route] { SetRoute(route, true); });
      break;
    }
    case INTERFACE_FLAPS: {
      const unsigned int vlan = 1 + Below(m_vlans);
      SetLink(vlan, false);
      In(SECOND + Below(MINUTE), [this, vlan] { SetLink(vlan, true); });
      break;
    }
    case ADDRESS_CHANGES: {
      const unsigned int vlan = 1 + Below(m_vlans);
      ChangeAddress(vlan, 3);
      In(10 * MINUTE, [this, vlan] { ChangeAddress(vlan, 1); });
      break;
    }
    case DOCUMENT_CHANGES:
      Load(m_vlans - m_vlansAway, 1 + Below(m_vlans - m_vlansAway));
      break;
    case DOCUMENT_REPEATS:
      Load(m_vlans - m_vlansAway, 0);
      break;
    case VLANS_GO:
      VlansGo();
      break;
    case STACK_IS_BUSY:
      m_device.Control().Script(RowType::kRoute, {Answer::kStatus, RETRY_LATER, 0}, 1 + Below(20));
      m_device.Control().Script(RowType::kProtocol, {Answer::kStatus, RETRY_LATER, 0}, 2);
      break;
    case STACK_REFUSES:
      m_device.Control().Script(RowType::kRoute, {Answer::kStatus, NO_ROOM, 0}, 1 + Below(3));
      break;
    default:
      Walk();
  }
}

void Network::Load(unsigned int vlans, unsigned int changed) {
  if (!m_device.Reload(test_support::VlanDocument(vlans, changed), "vlans.json")) {
    Die("a document is refused");
  }
}

void Network::SetRoute(unsigned int route, bool there) {
  const unsigned int vlan = route % m_vlans + 1;
  ++m_routesAsked;
  m_routeAsked[route] = there;
  if (there) {
    Tarsel::AddRoute(static_cast<unsigned short>(vlan), Destination(route), Mask24(),
                     InVlan(vlan, 2), vlan, 5, Tarsel::PATH_TYPE_STATIC, 1);
  } else {
    Tarsel::RemoveRoute(static_cast<unsigned short>(vlan), Destination(route), Mask24(),
                        InVlan(vlan, 2), vlan);
  }
}

void Network::SetLink(unsigned int vlan, bool up) {
  const auto id = static_cast<unsigned short>(vlan);
  const std::string name = LinkName(vlan);
  DcInterfaceMgr* const registry = DcInterfaceMgr::GetInstance();
  if (up) {
    m_device.ipInterface.up.insert({id, vlan});
    registry->SetInterfaceUp(id, vlan, name.c_str());
  } else {
    m_device.ipInterface.up.erase({id, vlan});
    registry->SetInterfaceDown(id, vlan, name.c_str());
    if (m_leakBytes != 0 && ::operator new(m_leakBytes, std::nothrow) == nullptr) Die("no memory");
  }
  m_device.Manager().ProcessInterfaceStatusChange(id, vlan, up ? 1 : 2);
}

void Network::ChangeAddress(unsigned int vlan, unsigned int host) {
  DcInterfaceMgr::GetInstance()->ChangeIpAddress(static_cast<unsigned short>(vlan), vlan,
                                                 InVlan(vlan, host), Mask24());
}

// Whatever is there: an address of a change under way is withdrawn.
void Network::AddInterfaces() {
  DcInterfaceMgr* const registry = DcInterfaceMgr::GetInstance();
  for (unsigned int vlan = 1; vlan <= m_vlans; ++vlan) {
    const auto id = static_cast<unsigned short>(vlan);
    m_device.ipInterface.up.insert({id, vlan});
    registry->AddInterface(id, vlan, LinkName(vlan).c_str(), DcInterfaceMgr::INTF_TYPE_NONE, 8,
                           1500, 1);
    // Every protocol makes its record of the link now, not at the link's first flap.
    m_device.Manager().ProcessInterfaceStatusChange(id, vlan, 1);
    registry->DeleteIpAddress(id, vlan, InVlan(vlan, 3), Mask24());
    registry->AddIpAddress(id, vlan, InVlan(vlan, 1), Mask24());
  }
}

void Network::AddRoutesOf(unsigned int firstVlan) {
  for (unsigned int route = 0; route < m_routes; ++route) {
    if (route % m_vlans + 1 >= firstVlan) SetRoute(route, true);
  }
}

// Half of the time the routes are withdrawn first; otherwise they go with their VLAN.
void Network::VlansGo() {
  if (m_vlansAway != 0) return;
  m_vlansAway = 1 + Below(std::min(MOST_VLANS_AWAY, m_vlans - 1));
  const unsigned int stay = m_vlans - m_vlansAway;
  if (Below(2) == 0) {
    for (unsigned int route = 0; route < m_routes; ++route) {
      if (route % m_vlans + 1 > stay) SetRoute(route, false);
    }
  }
  In(10 * SECOND, [this, stay] { Load(stay, 0); });
  In(5 * MINUTE, [this, stay] {
    m_vlansAway = 0;
    Load(m_vlans, 0);
    AddInterfaces();
    AddRoutesOf(stay + 1);
  });
}

void Network::Walk() {
  ForgetEndedWalks();
  const auto log = test_support::NewConsoleLog(static_cast<unsigned short>(1 + Below(m_vlans)));
  auto* const console = new test_support::RecordingConsole(log);
  Tarsel::DcConsoleCommand* command = nullptr;
  switch (Below(3)) {
    case 0:
      command = new Tarsel::RtmRouteCommand(console, 0);
      break;
    case 1:
      command = new Tarsel::RtmRibCommand(console, 0);
      break;
    default:
      command = new Tarsel::DcInterfaceConsoleCommand(console, log->vlan, false);
  }
  if (command->Parse(0, nullptr)) {
    m_walks.push_back(log);
  } else {
    delete command;  // its VLAN is away
  }
}

void Network::ForgetEndedWalks() {
  const auto ended = [this](const std::shared_ptr<test_support::ConsoleLog>& log) {
    if (!log->destroyed) return false;
    m_linesPrinted +=
        static_cast<std::uint64_t>(std::count(log->output.begin(), log->output.end(), '\n'));
    return true;
  };
  m_walks.erase(std::remove_if(m_walks.begin(), m_walks.end(), ended), m_walks.end());
}

// --- as it was ---

void Network::CountRefused() {
  std::vector<bool> there(m_routes);
  for (const amb_cipr_rtm_rib& row : m_device.Control().Rib()) {
    const unsigned char* const bytes = row.destination;
    if (row.route_proto == STATIC_PROTO) there[RouteTo(bytes[0], bytes[1], bytes[2])] = true;
  }
  for (unsigned int route = 0; route < m_routes; ++route) {
    if (there[route] != m_routeAsked[route]) ++m_routesRefused;
  }
}

std::string Network::Restore() {
  m_device.Control().ClearScripts();
  if (!m_device.Settle(SETTLE_LIMIT)) return "the device does not settle";
  if (m_vlansAway == 0) CountRefused();
  m_vlansAway = 0;
  Load(m_vlans, 0);
  AddInterfaces();
  if (!m_device.Settle(SETTLE_LIMIT)) return "the VLANs are not answered";
  AddRoutesOf(1);
  if (!m_device.Settle(SETTLE_LIMIT)) return "the routes are not answered";
  ForgetEndedWalks();
  if (!m_walks.empty()) return "a console command does not end";
  std::size_t installed = 0;
  for (const amb_cipr_rtm_rib& row : m_device.Control().Rib()) {
    if (row.route_proto == STATIC_PROTO && row.fib_flag == 1) ++installed;
  }
  if (installed != m_routes) {
    return std::to_string(installed) + " of " + std::to_string(m_routes) + " routes are installed";
  }
  if (m_device.Control().Addresses().size() != m_vlans) {
    return std::to_string(m_device.Control().Addresses().size()) + " addresses of " +
           std::to_string(m_vlans);
  }
  return "";
}

}  // namespace soak
