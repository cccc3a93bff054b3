#include "tests/convergence/documents.h"

#include <json/writer.h>

#include <cctype>
#include <utility>
#include <vector>

namespace convergence {

namespace {

using Count = std::function<void(const std::string&)>;

constexpr const char* GROUP = "VLAN_CONFIGURATIONS";
constexpr unsigned short VLANS[] = {10, 20, 30};

struct Protocol {
  const char* name;
  const char* prefix;  // of the rows' names
  std::vector<const char*> lists;
};

const std::vector<Protocol>& Protocols() {
  static const std::vector<Protocol> protocols = {
      {"BGP", "BGP", {"PEERS"}},     {"OSPF", "OSPF", {"AREA_LIST", "IF_LIST"}},
      {"RIPV2", "RIP", {"IF_LIST"}}, {"OSPFV3", "OSPF", {"AREA_LIST", "IF_LIST"}},
      {"RIPNG", "RIP", {"IF_LIST"}}, {"IGMP", "IGMP", {"IF_LIST"}},
      {"MLD", "MLD", {"IF_LIST"}},
  };
  return protocols;
}

const Json::Value NONE;
const Json::Value NO_MEMBERS(Json::objectValue);
const Json::Value NO_ELEMENTS(Json::arrayValue);

bool IsEmpty(const Json::Value& value) {
  return value.isNull() || ((value.isObject() || value.isArray()) && value.empty());
}

// The entries that name a VLAN, or that name this one.
std::vector<Json::Value> EntriesOf(const Json::Value& document, int vlan = -1) {
  std::vector<Json::Value> entries;
  if (!document.isObject() || !document.isMember(GROUP)) return entries;
  const Json::Value& group = document[GROUP];
  if (!group.isObject() && !group.isArray()) return entries;
  for (const Json::Value& entry : group) {
    if (entry.isObject() && entry["vid"].isInt() &&
        (vlan < 0 || static_cast<unsigned short>(entry["vid"].asInt()) == vlan)) {
      entries.push_back(entry);
    }
  }
  return entries;
}

// --- drawing ---

class Generator {
 public:
  Generator(unsigned int seed, Count count) : m_engine(seed), m_count(std::move(count)) {}

  DocumentPair DrawPair();

 private:
  unsigned int Below(unsigned int below) {
    return std::uniform_int_distribution<unsigned int>(0, below - 1)(m_engine);
  }
  bool Percent(unsigned int percent) { return Below(100) < percent; }
  bool Wrong(const char* what, unsigned int percent = 8) {
    const bool wrong = Percent(percent);
    if (wrong) m_count(what);
    return wrong;
  }

  std::set<std::string> DrawSome(const std::set<std::string>& from, unsigned int percent);
  RunningProtocols DrawRemote(const RunningProtocols& running, const RunningProtocols& kept);
  Json::Value DrawDocument(bool isRemote, const RunningProtocols& running,
                           const RunningProtocols& runningBefore, const Json::Value& before);
  Json::Value DrawGroup(const std::vector<Json::Value>& entries);
  Json::Value DrawEntry(unsigned short vlan, bool isRemote, const std::set<std::string>& running);
  Json::Value DrawBadEntry();
  Json::Value DrawSettings();
  Json::Value DrawMember(const Protocol& protocol, unsigned short vlan);
  Json::Value DrawIdleMember(bool isRemote);
  Json::Value DrawList(const Protocol& protocol, const std::string& list, unsigned short vlan);
  Json::Value DrawRow(const Protocol& protocol, const std::string& list, unsigned short vlan);
  void DrawColumns(const Protocol& protocol, const std::string& list, unsigned int id,
                   Json::Value& row);
  Json::Value DrawOther();

  std::mt19937 m_engine;
  Count m_count;
};

// Something of another type than anybody expects.
Json::Value Generator::DrawOther() {
  switch (Below(6)) {
    case 0:
      return Json::Value("x");
    case 1:
      return Json::Value(1.5);
    case 2:
      return NO_ELEMENTS;
    case 3:
      return NO_MEMBERS;
    case 4:
      return NONE;
    default:
      return Json::Value(Json::Int64(-70000000000));
  }
}

void Generator::DrawColumns(const Protocol& protocol, const std::string& list, unsigned int id,
                            Json::Value& row) {
  const std::string name = protocol.name;
  std::vector<std::string> keys = {"enabled"};
  if (Percent(20)) row["enabled"] = Percent(50);
  if (name == "BGP") {
    const bool ip6 = Percent(30);
    if (ip6 || Percent(30)) row["afi"] = ip6 ? 1 : static_cast<int>(2 * Below(2));
    if (Percent(40)) row["safi"] = Below(5);
    row["address"] = (ip6 ? "2001:db8::" : "10.0.0.") + std::to_string(1 + Below(3));
    row["as"] = 1 + Below(3);
    if (Percent(30)) row["description"] = std::string(126 + Below(3), 'x');
    keys.insert(keys.end(), {"afi", "safi", "address", "as", "description"});
  } else if (list == "AREA_LIST") {
    if (Percent(50)) row["area"] = "0.0.0." + std::to_string(id);
    if (Percent(50)) row["type"] = Percent(50) ? "stub" : "NSSA";
    if (Percent(50)) row["default_cost"] = Below(3);
    keys.insert(keys.end(), {"area", "type", "default_cost"});
  } else if (name == "IGMP" || name == "MLD") {
    if (Percent(50)) row["version"] = 1 + Below(2);
    if (Percent(50)) row["query_interval"] = 100 + Below(3);
    if (Percent(50)) {
      row["GROUPS"]["g"]["address"] = name == "IGMP" ? "239.1.1.1" : "ff02::1";
    }
    keys.insert(keys.end(), {"version", "query_interval", "GROUPS"});
  } else {
    row["cost"] = 1 + Below(4);
    if (Percent(20)) row["passive"] = Percent(50);
    keys.insert(keys.end(), {"cost", "passive"});
  }
  if (Wrong("a column of another type")) {
    row[keys[Below(static_cast<unsigned int>(keys.size()))]] = DrawOther();
  }
}

Json::Value Generator::DrawRow(const Protocol& protocol, const std::string& list,
                               unsigned short vlan) {
  if (Wrong("an empty row", 4)) return Percent(50) ? NONE : NO_MEMBERS;
  if (Wrong("a row that is no object", 3)) return Json::Value(5);
  const unsigned int id = 1 + Below(4);
  Json::Value row(Json::objectValue);
  std::string prefix = protocol.prefix;
  if (Percent(10)) prefix[0] = static_cast<char>(std::tolower(prefix[0]));
  row["Name"] = prefix + "_" + std::to_string(vlan + (Wrong("an id of more bits", 3) ? 65536 : 0)) +
                "_" + std::to_string(id) +
                (list == "IF_LIST" && Percent(30) ? "_" + std::to_string(Below(2)) : "");
  if (Wrong("a name that is none", 4)) row["Name"] = DrawOther();
  if (Wrong("a name of another protocol", 3)) row["Name"] = "EIGHT_10_1";
  if (Wrong("a name of another VLAN", 3)) row["Name"] = prefix + "_40_1";
  if (Wrong("no name", 3)) row.removeMember("Name");
  DrawColumns(protocol, list, id, row);
  return row;
}

Json::Value Generator::DrawList(const Protocol& protocol, const std::string& list,
                                unsigned short vlan) {
  if (Wrong("a list that is none", 4)) return Percent(50) ? Json::Value(5) : Json::Value("x");
  if (Wrong("an empty list", 4)) return Percent(50) ? NO_ELEMENTS : NONE;
  const bool isArray = Percent(20);
  Json::Value rows(isArray ? Json::arrayValue : Json::objectValue);
  for (unsigned int i = Below(5); i > 0; --i) {
    if (isArray) {
      rows.append(DrawRow(protocol, list, vlan));
    } else {
      rows["r" + std::to_string(Below(9))] = DrawRow(protocol, list, vlan);
    }
  }
  return rows;
}

Json::Value Generator::DrawMember(const Protocol& protocol, unsigned short vlan) {
  Json::Value member(Json::objectValue);
  if (Percent(50)) member["enabled"] = true;
  if (Wrong("a flag that is null", 3)) member["enabled"] = NONE;
  for (const char* list : protocol.lists) {
    if (!Wrong("an absent list", 10)) member[list] = DrawList(protocol, list, vlan);
  }
  if (member.empty()) member["enabled"] = true;
  return member;
}

// A member with which the protocol does not run. One of a remote document is passed over, or empty.
Json::Value Generator::DrawIdleMember(bool isRemote) {
  const unsigned int kind = Below(isRemote ? 3 : 6);
  m_count("a protocol that does not run");
  switch (kind) {
    case 0:
      return NONE;
    case 1:
      return NO_MEMBERS;
    case 2:
      return NO_ELEMENTS;
    case 3:
      return Json::Value("on");
    default:
      Json::Value member(Json::objectValue);
      member["enabled"] = kind == 4 ? Json::Value(false) : Json::Value("true");
      member["IF_LIST"]["a"]["Name"] = "RIP_10_1";
      return member;
  }
}

Json::Value Generator::DrawSettings() {
  if (Wrong("settings that are none")) return DrawOther();
  Json::Value settings(Json::objectValue);
  if (Percent(50)) settings["dead_rpm_timer"] = 60 + Below(3);
  if (Wrong("a timer of another type")) settings["dead_rpm_timer"] = DrawOther();
  if (Percent(70)) {
    Json::Value& distances = settings["ADMIN_DISTANCE"];
    distances = NO_MEMBERS;
    for (const char* key : {"ospfv2_internal", "ospfv2_external", "ospfv3_internal",
                            "ospfv3_external", "ripv2", "ripng", "ebgp", "ibgp"}) {
      if (Percent(50)) distances[key] = 1 + Below(3);
      if (Wrong("a distance of another type", 4)) distances[key] = DrawOther();
    }
  }
  if (Wrong("distances that are none")) settings["ADMIN_DISTANCE"] = DrawOther();
  return settings;
}

Json::Value Generator::DrawBadEntry() {
  switch (Below(6)) {
    case 0:
      return NONE;
    case 1:
      return NO_ELEMENTS;
    case 2:
      return Json::Value(10);
    case 3: {
      Json::Value entry(Json::arrayValue);
      entry.append(10);
      return entry;
    }
    default:
      Json::Value entry(Json::objectValue);
      entry["RIPV2"]["IF_LIST"]["a"]["Name"] = "RIP_10_1";
      if (Percent(70)) entry["vid"] = DrawOther();
      return entry;
  }
}

Json::Value Generator::DrawEntry(unsigned short vlan, bool isRemote,
                                 const std::set<std::string>& running) {
  Json::Value entry(Json::objectValue);
  entry["vid"] = vlan + (Wrong("an id of more bits", 5) ? 65536 : 0);
  if (Percent(50)) entry["RTM"] = DrawSettings();
  for (const Protocol& protocol : Protocols()) {
    if (running.count(protocol.name) != 0) {
      entry[protocol.name] = isRemote && Wrong("a remote protocol that is no object", 4)
                                 ? Json::Value("x")
                                 : DrawMember(protocol, vlan);
    } else if (Percent(15)) {
      entry[protocol.name] = DrawIdleMember(isRemote);
    }
  }
  return entry;
}

Json::Value Generator::DrawGroup(const std::vector<Json::Value>& entries) {
  const bool isArray = Percent(20);
  Json::Value group(isArray ? Json::arrayValue : Json::objectValue);
  unsigned int place = 10;
  for (const Json::Value& entry : entries) {
    if (isArray) {
      group.append(entry);
    } else {
      group["e" + std::to_string(place++)] = entry;
    }
  }
  return group;
}

// An entry of the document before is taken over now and then, when the same protocols run.
Json::Value Generator::DrawDocument(bool isRemote, const RunningProtocols& running,
                                    const RunningProtocols& runningBefore,
                                    const Json::Value& before) {
  std::vector<Json::Value> entries;
  for (const auto& [vlan, protocols] : running) {
    const auto known = runningBefore.find(vlan);
    if (known != runningBefore.end() && known->second == protocols && Percent(40)) {
      for (const Json::Value& entry : EntriesOf(before, vlan)) entries.push_back(entry);
      m_count("an entry as before");
      continue;
    }
    entries.push_back(DrawEntry(vlan, isRemote, protocols));
    if (Wrong("a VLAN that stands twice")) entries.push_back(DrawEntry(vlan, isRemote, protocols));
  }
  if (isRemote && Wrong("an unknown VLAN")) entries.push_back(DrawEntry(40, true, {"RIPV2"}));
  while (Wrong("an entry that is none", 15)) {
    const unsigned int place = Below(static_cast<unsigned int>(entries.size()) + 1);
    entries.insert(entries.begin() + place, DrawBadEntry());
  }
  Json::Value document(Json::objectValue);
  document[GROUP] = DrawGroup(entries);
  if (running.empty()) {
    if (Wrong("a list of VLANs that is none", 30)) document[GROUP] = DrawOther();
    if (Wrong("no list of VLANs", 20)) document = DrawOther();
  }
  return document;
}

std::set<std::string> Generator::DrawSome(const std::set<std::string>& from, unsigned int percent) {
  std::set<std::string> some;
  for (const std::string& name : from) {
    if (Percent(percent)) some.insert(name);
  }
  return some;
}

// What the remote document has rows for: all of `kept`, and some of what runs besides.
RunningProtocols Generator::DrawRemote(const RunningProtocols& running,
                                       const RunningProtocols& kept) {
  RunningProtocols remote;
  for (const auto& [vlan, protocols] : running) {
    const auto before = kept.find(vlan);
    if (before == kept.end() && Percent(50)) continue;
    if (before != kept.end()) remote[vlan] = before->second;
    if (Percent(60)) remote[vlan].merge(DrawSome(protocols, 50));
  }
  return remote;
}

DocumentPair Generator::DrawPair() {
  std::set<std::string> all;
  for (const Protocol& protocol : Protocols()) all.insert(protocol.name);

  RunningProtocols first;
  RunningProtocols second;
  for (const unsigned short vlan : VLANS) {
    const bool was = Percent(70);
    if (was) first[vlan] = DrawSome(all, 40);
    if (!Percent(was ? 75 : 50)) continue;
    if (was) second[vlan] = first[vlan];
    if (!was || Percent(50)) second[vlan].merge(DrawSome(all, 30));
    m_count(was ? "a VLAN stays" : "a VLAN comes");
  }
  const RunningProtocols remoteFirst = DrawRemote(first, {});
  const RunningProtocols remoteSecond = DrawRemote(second, remoteFirst);

  DocumentPair pair;
  pair.first.vlans = DrawDocument(false, first, {}, NONE);
  pair.first.remote = DrawDocument(true, remoteFirst, {}, NONE);
  pair.second.vlans = DrawDocument(false, second, first, pair.first.vlans);
  pair.second.remote = DrawDocument(true, remoteSecond, remoteFirst, pair.first.remote);
  return pair;
}

// --- what leaves nothing behind ---

// Whether the document's entries agree on the protocols of each VLAN, which are those for which `has`
// holds.
bool ReadRunning(
    const Json::Value& document, RunningProtocols& running,
    const std::function<bool(unsigned short, const std::string&, const Json::Value&)>& has) {
  for (const Json::Value& entry : EntriesOf(document)) {
    const auto vlan = static_cast<unsigned short>(entry["vid"].asInt());
    std::set<std::string> protocols;
    for (const Protocol& protocol : Protocols()) {
      if (has(vlan, protocol.name, entry[protocol.name])) protocols.insert(protocol.name);
    }
    const auto known = running.emplace(vlan, protocols);
    if (!known.second && known.first->second != protocols) return false;
  }
  return true;
}

bool ReadRunning(const Documents& documents, RunningProtocols& vlans, RunningProtocols& remote) {
  return ReadRunning(documents.vlans, vlans,
                     [](unsigned short, const std::string&, const Json::Value& member) {
                       if (IsEmpty(member) || !member.isObject()) return false;
                       const Json::Value& enabled = member["enabled"];
                       return enabled.isNull() || (enabled.isBool() && enabled.asBool());
                     }) &&
         ReadRunning(documents.remote, remote,
                     [&](unsigned short vlan, const std::string& name, const Json::Value& member) {
                       const auto known = vlans.find(vlan);
                       return known != vlans.end() && known->second.count(name) != 0 &&
                              !IsEmpty(member);
                     });
}

// `second` has at least what `first` has, in the VLANs that stay.
bool Keeps(const RunningProtocols& first, const RunningProtocols& second,
           const RunningProtocols& staying) {
  for (const auto& [vlan, protocols] : first) {
    if (staying.count(vlan) == 0) continue;
    const auto after = second.find(vlan);
    for (const std::string& name : protocols) {
      if (after == second.end() || after->second.count(name) == 0) return false;
    }
  }
  return true;
}

// --- shrinking ---

// Takes out the member or element with the number `number` in reading order.
bool TakeOut(Json::Value& value, unsigned int& number) {
  if (value.isArray()) {
    for (Json::ArrayIndex i = 0; i < value.size(); ++i) {
      if (number-- == 0) {
        Json::Value removed;
        return value.removeIndex(i, &removed);
      }
      if (TakeOut(value[i], number)) return true;
    }
  } else if (value.isObject()) {
    for (const std::string& name : value.getMemberNames()) {
      if (number-- == 0) {
        value.removeMember(name);
        return true;
      }
      if (TakeOut(value[name], number)) return true;
    }
  }
  return false;
}

}  // namespace

std::string Documents::Text() const {
  Json::StreamWriterBuilder builder;
  builder["indentation"] = " ";
  return "vlans.json: " + Json::writeString(builder, vlans) +
         "\nremote/one.json: " + Json::writeString(builder, remote) + "\n";
}

std::string DocumentPair::Text() const {
  return "--- first\n" + first.Text() + "--- second\n" + second.Text();
}

DocumentPair DrawPair(unsigned int seed, const Count& count) {
  return Generator(seed, count).DrawPair();
}

bool LeavesNothingBehind(const DocumentPair& pair) {
  RunningProtocols vlans[2];
  RunningProtocols remote[2];
  return ReadRunning(pair.first, vlans[0], remote[0]) &&
         ReadRunning(pair.second, vlans[1], remote[1]) && Keeps(vlans[0], vlans[1], vlans[1]) &&
         Keeps(remote[0], remote[1], vlans[1]);
}

DocumentPair Shrink(DocumentPair pair, const std::function<bool(const DocumentPair&)>& fails) {
  Json::Value Documents::*const parts[] = {&Documents::vlans, &Documents::remote};
  bool smaller = true;
  while (smaller) {
    smaller = false;
    for (Documents DocumentPair::*side : {&DocumentPair::first, &DocumentPair::second}) {
      for (Json::Value Documents::*part : parts) {
        for (unsigned int number = 0;;) {
          DocumentPair candidate = pair;
          unsigned int left = number;
          if (!TakeOut(candidate.*side.*part, left)) break;
          if (LeavesNothingBehind(candidate) && fails(candidate)) {
            pair = std::move(candidate);
            smaller = true;
          } else {
            ++number;
          }
        }
      }
    }
  }
  return pair;
}

}  // namespace convergence
