#include "tests/convergence/folder_sequence.h"

#include <filesystem>
#include <iterator>

#include "tarsel/address.h"

namespace convergence {

namespace {

using routing_stack::Answer;
using routing_stack::RowType;
using test_support::ScratchFolder;

constexpr unsigned int MOST_STEPS = 25;
constexpr unsigned int MANY_ROUTES = 40;  // more than wait for a repeat at a time
constexpr unsigned int FIRST_REMOTE_NETWORK = 10;
constexpr unsigned int FIRST_OF_MANY = 100;
constexpr unsigned int FIRST_MARK = 1000;
constexpr const char* REMOTES[] = {"remote/one.json", "remote/two.json"};
constexpr unsigned int EVERY_REQUEST = 1000000;

const char* NameOf(RowType type) {
  static const char* const NAMES[] = {"instance", "interface", "address",
                                      "route",    "rule",      "protocol row"};
  return NAMES[static_cast<std::size_t>(type)];
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
  for (const char* const name : REMOTES) {
    if (files.count(name) == 0 && std::filesystem::exists(folder.PathOf(name))) folder.Remove(name);
  }
  for (const auto& [name, text] : files) folder.Write(name, text);
}

FolderSequence::FolderSequence(unsigned int seed) : m_engine(seed) {
  m_model.mark = FIRST_MARK;
  DrawFirst();
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

void FolderSequence::Add(const std::string& kind, const std::string& text,
                         std::function<void(FolderHost&, const ScratchFolder&)> apply) {
  m_steps.push_back({kind, text, std::move(apply), {}});
}

void FolderSequence::DrawFirst() {
  m_model.vlans[10] = DrawNewVlan(10);
  for (const unsigned short id : {20, 30}) {
    if (Percent(60)) m_model.vlans[id] = DrawNewVlan(id);
  }
  for (unsigned int i = Below(4); i > 0; --i) RemoteChanges();
  for (const unsigned short id : {10, 20, 30}) {
    m_model.interfaces[{id, id + 1U}] = {true, Percent(20), 1500, 1, Percent(50) ? 1U : 0U};
  }
}

void FolderSequence::DrawStep() {
  const unsigned int kind = Below(100);
  if (kind < 30) {
    DrawReload();
  } else if (kind < 32) {
    DrawTypo();
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

FolderRows FolderSequence::DrawRows(unsigned short id) {
  FolderRows rows;
  for (unsigned int i = Below(3); i > 0; --i) rows[id + 1 + Below(3)] = 1 + Below(9);
  return rows;
}

FolderMember FolderSequence::DrawMember(unsigned short id) { return {Percent(80), DrawRows(id)}; }

FolderRemoteEntry FolderSequence::DrawRemoteEntry(unsigned short id) {
  FolderRemoteEntry entry;
  for (std::size_t i = 0; i < std::size(FOLDER_PROTOCOLS); ++i) {
    if (Percent(40)) entry.protocols[i] = DrawMember(id);
  }
  if (Percent(40)) RouteChanges(entry.routes, FIRST_REMOTE_NETWORK);
  return entry;
}

FolderVlan FolderSequence::DrawNewVlan(unsigned short id) {
  FolderVlan vlan;
  vlan.distances = Below(3);
  vlan.hasProfile = Percent(60);
  for (std::size_t i = 0; i < std::size(FOLDER_PROTOCOLS); ++i) {
    if (Percent(40)) vlan.protocols[i] = DrawMember(id);
  }
  for (unsigned int i = Below(4); i > 0; --i) RouteChanges(vlan.routes, 0);
  if (Percent(15)) ManyRoutesComeOrGo(vlan);
  return vlan;
}

void FolderSequence::DrawReload() {
  ++m_model.mark;
  std::string text = "reload:";
  for (unsigned int i = 1 + Below(4); i > 0; --i) text += " " + DrawChange() + ";";
  m_last = m_model.Files();
  Add("reload", text, [files = m_last](FolderHost& host, const ScratchFolder& folder) {
    host.AwaitPool();
    WriteFiles(files, folder);
    host.AskForReload();
  });
}

// The mistake is mended before anything else changes: a reload that waits reads what there is then.
void FolderSequence::DrawTypo() {
  FolderFiles broken = m_last;
  std::string& text = std::next(broken.begin(), Below(broken.size()))->second;
  text += "}";
  Add("typo", "reload with a typo", [broken](FolderHost& host, const ScratchFolder& folder) {
    host.AwaitPool();
    WriteFiles(broken, folder);
    host.AskForReload();
  });
  DrawWait();
  ++m_model.mark;  // what has happened to interfaces is undone
  m_last = m_model.Files();
  Add("mending", "reload as before",
      [files = m_last](FolderHost& host, const ScratchFolder& folder) {
        host.AwaitPool();
        WriteFiles(files, folder);
        host.AskForReload();
      });
}

std::string FolderSequence::Change(const std::string& kind) {
  m_changes.push_back(kind);
  return kind;
}

std::string FolderSequence::DrawChange() {
  const unsigned short id = DrawVlan();
  const unsigned int kind = Below(100);
  const std::string name = "VLAN " + std::to_string(id) + " ";
  if (kind < 20) return RemoteChanges();
  if (kind < 35) return name + VlanComesOrGoes(id);
  if (kind < 48) return name + InterfaceOfFolderChanges(id);
  const auto found = m_model.vlans.find(id);
  if (found == m_model.vlans.end()) return name + VlanComesOrGoes(id);
  if (kind < 62) return name + RouteChanges(found->second.routes, 0);
  if (kind < 67) return name + ManyRoutesComeOrGo(found->second);
  if (kind < 87) return name + ProtocolChanges(id, found->second.protocols);
  if (kind < 95) return name + RuleChanges(found->second);
  found->second.distances = Below(3);
  return name + "has other distances";
}

std::string FolderSequence::VlanComesOrGoes(unsigned short id) {
  if (m_model.vlans.count(id) == 0) {
    const auto gone = m_gone.find(id);
    const bool isAsBefore = gone != m_gone.end() && Percent(50);
    m_model.vlans[id] = isAsBefore ? gone->second : DrawNewVlan(id);
    return Change(isAsBefore ? "a VLAN comes back" : "a VLAN comes");
  }
  if (id == 10) return "stays";
  m_gone[id] = m_model.vlans[id];
  m_model.vlans.erase(id);
  return Change("a VLAN goes");
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

std::string FolderSequence::RouteChanges(std::map<FolderRoute, unsigned int>& routes,
                                         unsigned int firstNetwork) {
  const FolderRoute route = {Percent(35), firstNetwork + Below(3), Below(2), Percent(50)};
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

std::string FolderSequence::ProtocolChanges(unsigned short id, FolderMembers& protocols) {
  const bool isOneOfThem = !protocols.empty() && Percent(70);
  const std::size_t protocol =
      isOneOfThem
          ? std::next(protocols.begin(), Below(static_cast<unsigned int>(protocols.size())))->first
          : Below(std::size(FOLDER_PROTOCOLS));
  const std::string name = std::string(" ") + FOLDER_PROTOCOLS[protocol].member;
  const auto found = protocols.find(protocol);
  if (found == protocols.end()) {
    protocols[protocol] = DrawMember(id);
    return Change("a protocol is named") + name;
  }
  switch (Below(4)) {
    case 0:
      protocols.erase(found);
      return Change("a protocol is named no more") + name;
    case 1:
      found->second.isEnabled = !found->second.isEnabled;
      return Change(found->second.isEnabled ? "a protocol is enabled" : "a protocol is disabled") +
             name;
    default:
      found->second.rows = DrawRows(id);
      return Change("a protocol has other rows") + name;
  }
}

std::string FolderSequence::RemoteChanges() {
  const std::string name = REMOTES[Below(std::size(REMOTES))];
  const unsigned short id = static_cast<unsigned short>(10 * (1 + Below(4)));
  const auto found = m_model.remotes.find(name);
  if (found == m_model.remotes.end()) {
    FolderRemote& remote = m_model.remotes[name];
    for (unsigned int i = Below(3); i > 0; --i) RemoteEntryChanges(DrawVlan(), remote);
    return name + ": " + Change("a remote document comes");
  }
  if (Percent(20)) {
    m_model.remotes.erase(found);
    return name + ": " + Change("a remote document goes");
  }
  return name + ": VLAN " + std::to_string(id) + " " + RemoteEntryChanges(id, found->second);
}

std::string FolderSequence::RemoteEntryChanges(unsigned short id, FolderRemote& remote) {
  const auto entry = remote.find(id);
  if (entry == remote.end()) {
    remote[id] = DrawRemoteEntry(id);
    return Change(m_model.vlans.count(id) != 0 ? "an entry comes" : "an entry without VLAN comes");
  }
  const unsigned int kind = Below(10);
  if (kind < 3) {
    remote.erase(entry);
    return Change("an entry goes");
  }
  return kind < 5 ? RouteChanges(entry->second.routes, FIRST_REMOTE_NETWORK)
                  : "remotely: " + ProtocolChanges(id, entry->second.protocols);
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
                isOn ? static_cast<void (keepers::Interfaces::*)(const documents::InterfaceKey&,
                                                                 const documents::Ip4Network&)>(
                           &keepers::Interfaces::AddAddress)
                     : &keepers::Interfaces::ChangeAddress;
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
