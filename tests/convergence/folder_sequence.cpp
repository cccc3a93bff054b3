#include "tests/convergence/folder_sequence.h"

#include <iterator>

#include "tarsel/address.h"

namespace convergence {

namespace {

using routing_stack::Answer;
using routing_stack::RowType;
using test_support::ScratchFolder;

constexpr unsigned int MOST_STEPS = 25;
constexpr unsigned int MANY_ROUTES = 40;  // more than wait for a repeat at a time
constexpr unsigned int FIRST_OF_MANY = 100;
constexpr unsigned int FIRST_MARK = 1000;
constexpr unsigned int OSPF_TABLE = 3;  // whose rows have two more numbers in their keys
constexpr unsigned int EVERY_REQUEST = 1000000;

const char* NameOf(RowType type) {
  static const char* const NAMES[] = {"instance", "interface", "address",
                                      "route",    "rule",      "protocol row"};
  return NAMES[static_cast<std::size_t>(type)];
}

std::string RowLine(unsigned short vlan, std::size_t protocol, unsigned int id) {
  const FolderProtocol& known = FOLDER_PROTOCOLS[protocol];
  return "protocol " + std::to_string(vlan + (known.ip6 ? 0x8000U : 0U)) + " " +
         std::to_string(known.table) + " \"" + std::to_string(id) +
         (known.table == OSPF_TABLE ? ".0.0\" " : "\" ");
}

documents::Ip4Network NetworkOf(const std::string& address) {
  documents::Ip4Network network = {{}, Tarsel::Ip4Addr(255, 255, 255, 0)};
  Tarsel::Parse_IpAddr()(network.address, address.c_str());
  return network;
}

// With its host bits, which reading a prefix would cut off.
Tarsel::Ip6Prefix PrefixOf(const std::string& text) {
  Tarsel::Ip6Addr address;
  address.FromString(Tarsel::string(text.c_str()));
  return {address, LENGTH6};
}

}  // namespace

void WriteFiles(const FolderFiles& files, const ScratchFolder& folder) {
  for (const auto& [name, text] : files) folder.Write(name, text);
}

FolderSequence::FolderSequence(unsigned int seed) : m_engine(seed) {
  m_model.mark = FIRST_MARK;
  DrawFirst();
  NoteRows();
  m_first = m_last = m_model.Files();
  for (unsigned int i = 5 + Below(MOST_STEPS - 5); i > 0; --i) {
    DrawStep();
    DrawWait();
  }
}

std::string FolderSequence::Text() const {
  std::string text;
  for (const auto& [name, content] : m_first) text += name + ": " + content;
  unsigned int number = 0;
  for (const FolderStep& step : m_steps) {
    text += std::to_string(number++) + ": " + step.text + "\n";
  }
  return text;
}

std::set<std::string> FolderSequence::LeftBehind() const {
  std::set<std::string> all;
  for (const auto& [id, vlan] : m_model.vlans) {
    const auto found = m_disabledRows.find(id);
    if (found == m_disabledRows.end()) continue;
    std::set<std::string> left = found->second;
    for (const auto& [protocol, rows] : vlan.protocols) {
      for (const auto& row : rows) left.erase(RowLine(id, protocol, row.first));
    }
    all.merge(left);
  }
  return all;
}

void FolderSequence::Add(const std::string& kind, const std::string& text,
                         std::function<void(FolderHost&, const ScratchFolder&)> apply) {
  m_steps.push_back({kind, text, std::move(apply), {}});
}

void FolderSequence::DrawFirst() {
  m_model.vlans[10] = DrawNewVlan(10);
  for (const unsigned short id : {20, 30}) {
    if (Percent(60)) m_model.vlans[id] = DrawNewVlan(id);
  }
  for (const unsigned short id : {10, 20, 30}) {
    m_model.interfaces[{id, id + 1U}] = {true, Percent(20), 1500, 1, Percent(50) ? 1U : 0U};
  }
}

void FolderSequence::DrawStep() {
  const unsigned int kind = Below(100);
  if (kind < 28) {
    DrawReload();
  } else if (kind < 48) {
    DrawInterfaceEvent();
  } else if (kind < 53) {
    DrawFlaps();
  } else if (kind < 73) {
    DrawAnswers();
  } else if (kind < 80) {
    DrawBusyTime();
  } else if (kind < 90) {
    DrawHold();
  } else if (kind < 94) {
    Add("end of lost requests", "requests that were never answered end",
        [](FolderHost& host, const ScratchFolder&) { host.EndLostRequests(); });
  } else {
    Add("restart", "the stack restarts",
        [](FolderHost& host, const ScratchFolder&) { host.RestartTheStack(); });
  }
}

// Most steps follow each other soon; the others find earlier ones in any state.
void FolderSequence::DrawWait() {
  if (Percent(30)) return;
  const unsigned int kind = Below(10);
  const unsigned int milliseconds = kind < 5 ? Below(15) : kind < 8 ? Below(300) : Below(3000);
  Add("wait", "wait " + std::to_string(milliseconds) + " ms",
      [milliseconds](FolderHost& host, const ScratchFolder&) { host.LetTimePass(milliseconds); });
}

// --- the folder ---

std::map<unsigned int, unsigned int> FolderSequence::DrawRows(unsigned short id) {
  std::map<unsigned int, unsigned int> rows;
  for (unsigned int i = Below(3); i > 0; --i) rows[id + 1 + Below(3)] = 1 + Below(9);
  return rows;
}

FolderVlan FolderSequence::DrawNewVlan(unsigned short id) {
  FolderVlan vlan;
  vlan.distances = Below(3);
  vlan.hasProfile = Percent(60);
  for (std::size_t i = 0; i < std::size(FOLDER_PROTOCOLS); ++i) {
    if (Percent(40)) vlan.protocols[i] = DrawRows(id);
  }
  for (unsigned int i = Below(4); i > 0; --i) RouteChanges(vlan);
  if (Percent(15)) ManyRoutesComeOrGo(vlan);
  return vlan;
}

void FolderSequence::DrawReload() {
  ++m_model.mark;
  std::string text = "reload:";
  for (unsigned int i = 1 + Below(4); i > 0; --i) text += " " + DrawChange() + ";";
  NoteRows();
  m_last = m_model.Files();
  Add("reload", text, [files = m_last](FolderHost& host, const ScratchFolder& folder) {
    host.AwaitPool();
    WriteFiles(files, folder);
    host.AskForReload();
  });
}

std::string FolderSequence::DrawChange() {
  const unsigned short id = DrawVlan();
  const unsigned int kind = Below(100);
  const std::string name = "VLAN " + std::to_string(id) + " ";
  if (kind < 20) return name + VlanComesOrGoes(id);
  if (kind < 40) return name + InterfaceOfFolderChanges(id);
  const auto found = m_model.vlans.find(id);
  if (found == m_model.vlans.end()) return name + VlanComesOrGoes(id);
  if (kind < 65) return name + RouteChanges(found->second);
  if (kind < 70) return name + ManyRoutesComeOrGo(found->second);
  if (kind < 85) return name + ProtocolChanges(id, found->second);
  if (kind < 95) return name + RuleChanges(found->second);
  found->second.distances = Below(3);
  return name + "has other distances";
}

std::string FolderSequence::VlanComesOrGoes(unsigned short id) {
  if (m_model.vlans.count(id) == 0) {
    m_model.vlans[id] = DrawNewVlan(id);
    return "comes";
  }
  if (id == 10) return "stays";
  for (const auto& protocol : m_model.vlans[id].protocols) NoteDisabled(id, protocol.first);
  m_model.vlans.erase(id);
  return "goes";
}

std::string FolderSequence::InterfaceOfFolderChanges(unsigned short id) {
  const std::pair<unsigned short, unsigned int> key = {id, id + 1U + Below(2)};
  const std::string name = InterfaceName(key.second);
  const auto found = m_model.interfaces.find(key);
  if (found != m_model.interfaces.end() && Percent(40)) {
    m_model.interfaces.erase(found);
    return "loses " + name;
  }
  m_model.interfaces[key] = {Percent(80), Percent(30), 1400 + 100 * Below(3), Below(3), Below(3)};
  return "gets or changes " + name;
}

std::string FolderSequence::RouteChanges(FolderVlan& vlan) {
  const bool isRemote = Percent(25);
  std::map<FolderRoute, unsigned int>& routes = isRemote ? vlan.remoteRoutes : vlan.routes;
  FolderRoute route = {Percent(35), Below(3), Below(2), Percent(50)};
  if (isRemote) route.network += 10;
  const auto found = routes.find(route);
  if (found != routes.end() && Percent(60)) {
    routes.erase(found);
    return "loses a route";
  }
  routes[route] = 1 + Below(3);
  return "gets or changes a route";
}

std::string FolderSequence::ManyRoutesComeOrGo(FolderVlan& vlan) {
  const bool hasThem = vlan.routes.count({false, FIRST_OF_MANY, 0, false}) != 0;
  for (unsigned int i = 0; i < MANY_ROUTES; ++i) {
    const FolderRoute route = {false, FIRST_OF_MANY + i, 0, false};
    if (hasThem) {
      vlan.routes.erase(route);
    } else {
      vlan.routes[route] = 1;
    }
  }
  return hasThem ? "loses many routes" : "gets many routes";
}

std::string FolderSequence::ProtocolChanges(unsigned short id, FolderVlan& vlan) {
  const std::size_t protocol = Below(std::size(FOLDER_PROTOCOLS));
  const std::string name = FOLDER_PROTOCOLS[protocol].member;
  const auto found = vlan.protocols.find(protocol);
  if (found == vlan.protocols.end()) {
    vlan.protocols[protocol] = DrawRows(id);
    return "enables " + name;
  }
  if (Percent(50)) {
    found->second = DrawRows(id);
    return "has other rows of " + name;
  }
  NoteDisabled(id, protocol);
  vlan.protocols.erase(found);
  return "disables " + name;
}

// A VLAN that goes and comes back before the folder is read again has only lost its protocols. And
// what a row was withdrawn by may not have been read, or not been answered, when the protocol goes.
void FolderSequence::NoteDisabled(unsigned short id, std::size_t protocol) {
  for (const unsigned int row : m_rows[{id, protocol}]) {
    m_disabledRows[id].insert(RowLine(id, protocol, row));
  }
}

// The rows that the folder has now.
void FolderSequence::NoteRows() {
  for (const auto& [id, vlan] : m_model.vlans) {
    for (const auto& [protocol, rows] : vlan.protocols) {
      for (const auto& row : rows) m_rows[{id, protocol}].insert(row.first);
    }
  }
}

std::string FolderSequence::RuleChanges(FolderVlan& vlan) {
  if (Percent(30)) {
    vlan.hasProfile = !vlan.hasProfile;
    return vlan.hasProfile ? "gets rules" : "loses its rules";
  }
  static const char* const SOURCES[] = {"static", "connected", "rip", "ospf", "bgp"};
  const std::string source = SOURCES[Below(std::size(SOURCES))];
  if (vlan.closedSources.erase(source) == 0) vlan.closedSources.insert(source);
  return "has other rules for " + source;
}

// --- interfaces ---

void FolderSequence::DrawInterfaceEvent() {
  const unsigned short id = DrawVlan();
  const std::pair<unsigned short, unsigned int> key = {id, id + 1U + (Percent(80) ? 0U : 1U)};
  const std::string name = InterfaceName(key.second);
  const unsigned int number = 1 + Below(2);
  const documents::Ip4Network network = NetworkOf(Address4(id, key.second, number));
  const Tarsel::Ip6Prefix prefix = PrefixOf(Address6(id, key.second, number));
  const bool isOn = Percent(50);
  const std::string which = " address " + std::to_string(number);
  switch (Below(6)) {
    case 0:
    case 1:
      Add("status changes", name + (isOn ? " goes up" : " goes down"),
          [=](FolderHost& host, const auto&) { host.GetInterfaces().SetStatus(key, isOn); });
      break;
    case 2:
      Add("joined changes", name + (isOn ? " is joined" : " is left"),
          [=](FolderHost& host, const auto&) { host.GetInterfaces().SetJoined(key, isOn); });
      break;
    case 3:
      Add("address comes or changes", name + (isOn ? " gets" : " changes to") + which,
          [=](FolderHost& host, const auto&) {
            const auto call =
                isOn ? static_cast<void (apply::Interfaces::*)(const documents::InterfaceKey&,
                                                               const documents::Ip4Network&)>(
                           &apply::Interfaces::AddAddress)
                     : &apply::Interfaces::ChangeAddress;
            (host.GetInterfaces().*call)(key, network);
          });
      break;
    case 4:
      Add("address goes", name + " loses" + which,
          [=](FolderHost& host, const auto&) { host.GetInterfaces().DeleteAddress(key, network); });
      break;
    default:
      Add("IPv6 address comes or goes", name + (isOn ? " gets IPv6" : " loses IPv6") + which,
          [=](FolderHost& host, const auto&) {
            isOn ? host.GetInterfaces().AddAddress(key, prefix)
                 : host.GetInterfaces().DeleteAddress(key, prefix);
          });
  }
  m_steps.back().interface = key;
}

void FolderSequence::DrawFlaps() {
  const unsigned short id = DrawVlan();
  const std::pair<unsigned short, unsigned int> key = {id, id + 1U};
  const std::string name = InterfaceName(key.second);
  for (unsigned int i = 2 + Below(4); i > 0; --i) {
    Add("flap", name + (i % 2 == 0 ? " flaps down" : " flaps up"),
        [key, isUp = i % 2 != 0](FolderHost& host, const auto&) {
          host.GetInterfaces().SetStatus(key, isUp);
        });
    m_steps.back().interface = key;
    if (i > 1) DrawWait();
  }
}

// --- the stack ---

// Ten tries of each of a few rows are what the library makes.
void FolderSequence::DrawAnswers() {
  const auto type = static_cast<RowType>(Below(routing_stack::kRowTypes));
  Answer answer;
  unsigned int times = 1 + Below(4);
  std::string kind;
  switch (Below(5)) {
    case 0:
      kind = "busy";
      times = 1 + Below(60);
      break;
    case 1:
      kind = "refused";
      answer.status = 3;
      break;
    case 2:
      kind = "late";
      answer = {Answer::kLate, 0, 1 + Below(Percent(70) ? 50 : 2500)};
      break;
    case 3:
      kind = "twice";
      answer.kind = Answer::kTwice;
      break;
    default:
      kind = "never";
      answer.kind = Answer::kNever;
      times = 1 + Below(2);
  }
  Add(kind,
      kind + ": the next " + std::to_string(times) + " requests for rows of kind " + NameOf(type) +
          (answer.kind == Answer::kLate ? ", " + std::to_string(answer.delayMs) + " ms" : ""),
      [=](FolderHost& host, const auto&) { host.Control().Script(type, answer, times); });
}

void FolderSequence::DrawBusyTime() {
  const unsigned int milliseconds = 1 + Below(2000);
  Add("busy for a time", "busy for " + std::to_string(milliseconds) + " ms",
      [milliseconds](FolderHost& host, const auto&) {
        for (std::size_t type = 0; type < routing_stack::kRowTypes; ++type) {
          host.Control().Script(static_cast<RowType>(type), {Answer::kStatus, 5, 0}, EVERY_REQUEST);
        }
        host.LetTimePass(milliseconds);
        host.Control().ClearScripts();
      });
}

void FolderSequence::DrawHold() {
  if (Percent(50)) {
    Add("hold", "hold", [](FolderHost& host, const auto&) { host.Control().Hold(); });
  } else {
    Add("release", "release", [](FolderHost& host, const auto&) { host.Control().Release(); });
  }
}

}  // namespace convergence
