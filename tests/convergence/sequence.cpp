#include "tests/convergence/sequence.h"

#include <iterator>
#include <utility>

#include "vantacore/dc_interface_mgr.h"

namespace convergence {

namespace {

constexpr unsigned int MOST_EVENTS = 80;
constexpr unsigned int MOST_REFUSALS = 6;

std::string Named(const InterfaceKey& key) {
  return NameOf(key.second) + " of VLAN " + std::to_string(key.first);
}

std::string Named(unsigned short vlan, const Route& route) {
  return route.destination + "/" + std::to_string(route.length) + " via " + route.nextHop + " if " +
         std::to_string(route.ifIndex) + " of VLAN " + std::to_string(vlan);
}

std::string With(const std::string& address, unsigned int length) {
  return address + "/" + std::to_string(length);
}

}  // namespace

// A stack that calls back from inside of calls loses a retry, so it refuses nothing.
Sequence::Sequence(unsigned int seed)
    : m_engine(seed), m_synchronous(Percent(20)), m_refusals(m_synchronous ? 0 : MOST_REFUSALS) {
  if (m_synchronous) {
    Add("synchronous", "the stack calls back from inside of calls",
        [](Host& host) { host.Control().SetSynchronous(true); });
  }
  const unsigned int events = 1 + Below(MOST_EVENTS);
  for (unsigned int i = 0; i < events; ++i) {
    DrawEvent();
    DrawWait();
  }
}

std::string Sequence::Text() const {
  std::string text;
  for (const Step& step : m_steps) {
    text += step.text + "\n";
  }
  return text;
}

unsigned int Sequence::Below(unsigned int below) {
  return std::uniform_int_distribution<unsigned int>(0, below - 1)(m_engine);
}

unsigned short Sequence::DrawVlan() { return static_cast<unsigned short>(10 * (1 + Below(3))); }

// Mostly one that is there, which more can happen to.
InterfaceKey Sequence::DrawInterface() {
  const auto& there = m_configuration.interfaces;
  if (!there.empty() && Percent(60)) {
    return std::next(there.begin(), Below(there.size()))->first;
  }
  const unsigned short vlan = DrawVlan();
  return {vlan, vlan + 1U + Below(2)};
}

Route Sequence::DrawRoute(unsigned short vlan) {
  const std::string id = std::to_string(vlan);
  const std::string net = std::to_string(Below(2));
  const unsigned int ifIndex = Percent(50) ? 0 : vlan + 1U + Below(2);
  const std::string hop = std::to_string(7 + Below(2));
  if (Percent(40)) {
    return {"2001:db8:f" + net + "::", 48, "2001:db8:" + id + ":" + net + "::" + hop, ifIndex};
  }
  const bool wide = Percent(30);
  return {wide ? "172.16.0.0" : "172.16." + net + ".0", wide ? 16U : 24U,
          "10." + id + "." + net + "." + hop, ifIndex};
}

void Sequence::Add(const std::string& kind, const std::string& text,
                   std::function<void(Host&)> apply) {
  m_steps.push_back({kind, text, std::move(apply)});
}

void Sequence::DrawEvent() {
  const unsigned int kind = Below(100);
  if (kind < 10) {
    VlanComesOrGoes();
  } else if (kind < 22) {
    DocumentChanges();
  } else if (kind < 27) {
    RuleChanges();
  } else if (kind < 35) {
    InterfaceComesOrGoes();
  } else if (kind < 41) {
    InterfaceIsAddedAgain();
  } else if (kind < 52) {
    StatusChanges();
  } else if (kind < 65) {
    AddressChanges();
  } else if (kind < 73) {
    Address6Changes();
  } else if (kind < 95) {
    RouteChanges();
  } else if (kind < 98) {
    DrawRefusals();
  } else {
    DrawDelays();
  }
}

// Most events follow each other at once; the others find earlier ones in any state.
void Sequence::DrawWait() {
  if (Percent(50)) {
    return;
  }
  const unsigned int milliseconds = Percent(70) ? Below(12) : Below(400);
  Add("wait", "wait " + std::to_string(milliseconds) + " ms",
      [milliseconds](Host& host) { host.loop.AdvanceMilliseconds(milliseconds); });
}

void Sequence::DrawRefusals() {
  if (m_refusals == 0) {
    return;
  }
  using routing_stack::RowType;
  static constexpr RowType TYPES[] = {RowType::kRoute, RowType::kRedistribution,
                                      RowType::kProtocol};
  const RowType type = TYPES[Below(3)];
  const unsigned int times = 1 + Below(m_refusals);
  m_refusals -= times;
  Add("refusal",
      "refuse for now " + std::to_string(times) + " requests of kind " +
          std::to_string(static_cast<int>(type)),
      [type, times](Host& host) {
        host.Control().Script(type, {routing_stack::Answer::kStatus, 5, 0}, times);
      });
}

// Late answers to routes and rules are left out: an old one that meets a newer request is a matter of
// its own.
void Sequence::DrawDelays() {
  using routing_stack::RowType;
  const RowType type = Percent(50) ? RowType::kInterface : RowType::kAddress;
  const unsigned int milliseconds = 1 + Below(50);
  Add("delay",
      "answer the next requests of kind " + std::to_string(static_cast<int>(type)) + " after " +
          std::to_string(milliseconds) + " ms",
      [type, milliseconds](Host& host) {
        host.Control().Script(type, {routing_stack::Answer::kLate, 0, milliseconds}, 3);
      });
}

// --- documents ---

void Sequence::Load(const std::string& kind, unsigned short vlan) {
  const unsigned int number = Configuration::DocumentOf(vlan);
  const std::string document = m_configuration.Document(number);
  Add(kind, "document " + std::to_string(number) + " " + document,
      [number, document](Host& host) { host.Load(number, document); });
}

void Sequence::VlanComesOrGoes() {
  const unsigned short id = DrawVlan();
  const auto found = m_configuration.vlans.find(id);
  if (found != m_configuration.vlans.end()) {
    if (Percent(50)) {
      return;  // so that most VLANs are there most of the time
    }
    WithdrawFromVlan(id, found->second);
    m_configuration.vlans.erase(found);
    Load("VLAN goes", id);
    return;
  }
  Vlan& vlan = m_configuration.vlans[id];
  vlan.distances = Below(3);
  for (int protocol = OSPF; protocol < PROTOCOL_KINDS; ++protocol) {
    if (Percent(50)) {
      vlan.protocols[static_cast<Protocol>(protocol)] = {};
    }
  }
  for (auto& [protocol, rows] : vlan.protocols) {
    rows[1 + Below(3)] = 1 + Below(9);
  }
  Load("VLAN comes", id);
}

// A pending request outlives its VLAN, and a route goes with its instance: so routes and rules are
// withdrawn first, and the VLAN goes when that has been answered.
void Sequence::WithdrawFromVlan(unsigned short id, Vlan& vlan) {
  Add("answered", "wait for the answers", [](Host& host) { host.Answered(); });
  for (const auto& rule : vlan.rules) {
    Add("rule goes", "withdraw rule into protocol " + std::to_string(rule.second),
        [id, rule](Host& host) { host.SetRule(id, rule, false); });
  }
  auto& routes = m_configuration.routes;
  for (auto route = routes.begin(); route != routes.end();) {
    const auto key = route->first;
    if (key.first != id) {
      ++route;
      continue;
    }
    Add("route goes", "remove route " + Named(id, key.second),
        [key](Host& host) { host.RemoveRoute(key.first, key.second); });
    route = routes.erase(route);
  }
  Add("answered", "wait for the answers", [](Host& host) { host.Answered(); });
}

void Sequence::DocumentChanges() {
  const unsigned short id = DrawVlan();
  const auto found = m_configuration.vlans.find(id);
  if (found == m_configuration.vlans.end()) {
    return;
  }
  Vlan& vlan = found->second;
  if (vlan.protocols.empty() || Percent(30)) {
    vlan.distances = Below(3);
    Load("distances change", id);
    return;
  }
  auto& [protocol, rows] = *std::next(vlan.protocols.begin(), Below(vlan.protocols.size()));
  const unsigned int key = 1 + Below(3);
  if (rows.erase(key) != 0 && Percent(50)) {
    Load("protocol row goes", id);
  } else {
    rows[key] = 1 + Below(9);
    Load("protocol row comes or changes", id);
  }
}

// A rule for a protocol that is not ready is dropped, so everything before it has been answered.
void Sequence::RuleChanges() {
  const unsigned short id = DrawVlan();
  const auto found = m_configuration.vlans.find(id);
  if (found == m_configuration.vlans.end() || found->second.protocols.empty()) {
    return;
  }
  Vlan& vlan = found->second;
  const Protocol protocol = std::next(vlan.protocols.begin(), Below(vlan.protocols.size()))->first;
  const std::pair<bool, Protocol> rule = {protocol == OSPFV3 || (protocol == BGP && Percent(50)),
                                          protocol};
  Add("answered", "wait for the answers", [](Host& host) { host.Answered(); });
  const bool there = vlan.rules.insert(rule).second;
  if (!there) {
    vlan.rules.erase(rule);
  }
  Add(there ? "rule comes" : "rule goes",
      std::string(there ? "add" : "withdraw") + " rule into protocol " + std::to_string(protocol) +
          (rule.first ? " for IPv6" : "") + " of VLAN " + std::to_string(id),
      [id, rule, there](Host& host) { host.SetRule(id, rule, there); });
}

// --- interfaces and addresses ---

void Sequence::InterfaceComesOrGoes() {
  const InterfaceKey key = DrawInterface();
  const auto found = m_configuration.interfaces.find(key);
  if (found == m_configuration.interfaces.end()) {
    Interface interface;
    interface.flags = 1 + Below(63);
    interface.mtu = Percent(50) ? 0 : 1400 + Below(3);
    interface.up = Percent(80);
    m_configuration.interfaces[key] = interface;
    Add("interface comes", "add " + Named(key),
        [key, interface](Host& host) { host.AddInterface(key, interface); });
    return;
  }
  if (Percent(50)) {
    return;
  }
  const Interface before = found->second;
  if (!before.address.empty()) {
    Add("address goes",
        "remove address " + With(before.address, before.length) + " of " + Named(key),
        [key, before](Host& host) { host.RemoveAddress(key, before.address, before.length); });
  }
  m_configuration.interfaces.erase(found);
  Add("interface goes", "remove " + Named(key), [key](Host&) {
    Tarsel::DcInterfaceMgr::GetInstance()->RemoveInterface(key.first, key.second,
                                                           NameOf(key.second).c_str());
  });
}

void Sequence::InterfaceIsAddedAgain() {
  const InterfaceKey key = DrawInterface();
  const auto found = m_configuration.interfaces.find(key);
  if (found == m_configuration.interfaces.end()) {
    return;
  }
  Interface& interface = found->second;
  interface.flags = 1 + Below(63);
  interface.mtu = 1400 + Below(3);
  interface.up = Percent(80);
  Add("interface changes",
      "add again " + Named(key) + " flags " + std::to_string(interface.flags) +
          (interface.up ? " up" : " down"),
      [key, now = interface](Host& host) { host.AddInterface(key, now); });
}

// Also of interfaces that are not there, where it means nothing.
void Sequence::StatusChanges() {
  const InterfaceKey key = DrawInterface();
  const bool up = Percent(75);
  const auto found = m_configuration.interfaces.find(key);
  if (found != m_configuration.interfaces.end()) {
    found->second.up = up;
  }
  Add(found == m_configuration.interfaces.end() ? "status of no interface" : "status changes",
      Named(key) + (up ? " up" : " down"), [key, up](Host& host) {
        Tarsel::DcInterfaceMgr* const registry = Tarsel::DcInterfaceMgr::GetInstance();
        const std::string name = NameOf(key.second);
        if (up) {
          registry->SetInterfaceUp(key.first, key.second, name.c_str());
        } else {
          registry->SetInterfaceDown(key.first, key.second, name.c_str());
        }
        host.Manager().ProcessInterfaceStatusChange(key.first, key.second, up ? 1 : 2);
      });
}

void Sequence::AddressChanges() {
  const InterfaceKey key = DrawInterface();
  const auto found = m_configuration.interfaces.find(key);
  if (found == m_configuration.interfaces.end()) {
    return;
  }
  Interface& interface = found->second;
  const Interface before = interface;
  if (!before.address.empty() && Percent(30)) {
    interface.address.clear();
    Add("address goes",
        "remove address " + With(before.address, before.length) + " of " + Named(key),
        [key, before](Host& host) { host.RemoveAddress(key, before.address, before.length); });
    return;
  }
  interface.address = "10." + std::to_string(key.first) + "." + std::to_string(Below(2)) + "." +
                      std::to_string(1 + Below(2));
  interface.length = Percent(50) ? 24 : 23;
  const std::string text = With(interface.address, interface.length) + " of " + Named(key);
  const bool fresh = before.address.empty() || before.address == interface.address;
  if (fresh && Percent(70)) {
    Add("address comes", "set address " + text,
        [key, now = interface](Host& host) { host.SetAddress(key, now.address, now.length); });
  } else {
    Add("address changes", "change address to " + text,
        [key, now = interface](Host& host) { host.ChangeAddress(key, now.address, now.length); });
  }
}

void Sequence::Address6Changes() {
  const InterfaceKey key = DrawInterface();
  const std::string address =
      "2001:db8:" + std::to_string(key.first) + ":" + std::to_string(Below(2)) + "::1";
  const std::pair<InterfaceKey, std::string> entry = {key, address};
  const auto found = m_configuration.addresses6.find(entry);
  const unsigned int length = Percent(80) ? 64 : 63;
  if (found != m_configuration.addresses6.end() && Percent(70)) {
    m_configuration.addresses6.erase(found);
    Add("IPv6 address goes", "remove address " + With(address, length) + " of " + Named(key),
        [key, address, length](Host& host) { host.RemoveAddress6(key, address, length); });
    return;
  }
  m_configuration.addresses6[entry] = length;
  Add("IPv6 address comes", "set address " + With(address, length) + " of " + Named(key),
      [key, address, length](Host& host) { host.SetAddress6(key, address, length); });
}

// --- routes ---

// VLANs that are not there have routes as well: requests that wait.
void Sequence::RouteChanges() {
  const unsigned short vlan = DrawVlan();
  const Route route = DrawRoute(vlan);
  const auto found = m_configuration.routes.find({vlan, route});
  if (found != m_configuration.routes.end() && Percent(60)) {
    m_configuration.routes.erase(found);
    Add("route goes", "remove route " + Named(vlan, route),
        [vlan, route](Host& host) { host.RemoveRoute(vlan, route); });
    return;
  }
  const RouteValues values = {1 + Below(3), Percent(90)};
  m_configuration.routes[{vlan, route}] = values;
  Add("route comes or changes",
      "add route " + Named(vlan, route) + " metric " + std::to_string(values.metric) +
          (values.up ? "" : " down"),
      [vlan, route, values](Host& host) { host.SetRoute(vlan, route, values); });
}

}  // namespace convergence
