// The reader of configuration folders: any texts as the documents of one folder.
//
// The input holds up to four texts, separated by the byte 0x1E: device.json, vlans.json, and two
// remote documents. Each is read twice, with the same result. What is found is one printable line;
// its place, and that of everything else that is read, is in the text, and of what parses a value
// or a name begins there. A document without errors is one for jsoncpp's strict reader; the tree
// that the library gets is jsoncpp's, except for routes and notes; and the routes are those that
// the library's own readers make of jsoncpp's tree. Then the documents are checked together, which
// finds warnings only, at places of these texts.
#include <json/reader.h>
#include <json/writer.h>

#include <memory>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "device/documents/device_document.h"
#include "device/documents/document_shapes.h"
#include "device/documents/folder_check.h"
#include "device/documents/merged_routes.h"
#include "device/documents/vlan_document.h"
#include "device/program/printable.h"
#include "fuzz/support/bytes.h"
#include "fuzz/support/check.h"
#include "tests/support/json_text.h"
#include "vantacore/route_config.h"

namespace {

using documents::Finding;
using documents::Findings;
using documents::Kind;
using documents::Member;
using documents::Place;
using fuzz::Check;
using Tarsel::DclConfigObject;

constexpr std::size_t MAX_DOCUMENTS = 4;
const char* const NAMES[MAX_DOCUMENTS] = {"device.json", "vlans.json", "remote/a.json",
                                          "remote/b.json"};

const documents::VlanShapes& Shapes() {
  static const documents::VlanShapes* const shapes =
      new documents::VlanShapes(documents::DeclaredProtocols());
  return *shapes;
}

// ---- places and lines

/// The lines of a text, of each character the first byte.
std::vector<std::string> LinesOf(std::string text) {
  if (text.compare(0, 3, "\xEF\xBB\xBF") == 0) text.erase(0, 3);
  std::vector<std::string> lines(1);
  for (const char c : text) {
    if (c == '\n') {
      lines.emplace_back();
    } else if ((static_cast<unsigned char>(c) & 0xC0) != 0x80) {
      lines.back() += c;
    }
  }
  return lines;
}

class Text {
 public:
  Text(std::string name, const std::string& text)
      : m_name(std::move(name)), m_lines(LinesOf(text)) {}

  /// Of what does not parse, anything may be the place; otherwise one of `beginnings` stands there.
  void CheckPlace(const Place& place, const char* beginnings) const {
    const auto [line, column] = place.position;
    Check(place.file == m_name, "a place in " + place.file + " instead of " + m_name);
    Check(line >= 1 && line <= m_lines.size() && column >= 1 &&
              column <= m_lines[line - 1].size() + 1,
          "no such place: " + place.Text());
    Check(
        place.path.empty() || std::string(beginnings).find(m_lines[line - 1].c_str()[column - 1]) !=
                                  std::string::npos,
        "nothing begins at " + place.Text());
  }
  const std::string& GetName() const { return m_name; }

 private:
  std::string m_name;
  std::vector<std::string> m_lines;
};

constexpr const char* OBJECT = "{";
constexpr const char* TEXT = "\"";
constexpr const char* ANYTHING = "{[\"tfn-0123456789";

void CheckLine(const std::string& line) {
  Check(
      !line.empty() && line.find('\n') == std::string::npos && line.find('\t') == std::string::npos,
      "not one line: " + line);
  Check(program::PrintableLines(line) == line, "not printable: " + line);
}

void CheckFindings(const Findings& findings, const Text& text) {
  std::size_t kept = 0;
  for (const auto severity : {documents::Severity::ERROR, documents::Severity::WARNING}) {
    documents::Position last{1, 1};
    for (const Finding& finding : findings.Get(severity)) {
      CheckLine(finding.Line());
      text.CheckPlace(finding.place, ANYTHING);
      const auto& [line, column] = finding.place.position;
      Check(std::tie(last.line, last.column) <= std::tie(line, column), "findings out of order");
      last = finding.place.position;
      ++kept;
    }
  }
  const std::vector<std::string> lines = findings.Lines();
  Check(lines.size() <= Findings::KEPT + 1, "too many lines");
  Check(lines.empty() == (findings.CountErrors() + findings.CountWarnings() == 0) &&
            kept <= findings.CountErrors() + findings.CountWarnings(),
        "findings that are not told");
}

// ---- what jsoncpp makes of a document

Json::Value StrictTree(const std::string& text) {
  Json::CharReaderBuilder builder;
  Json::CharReaderBuilder::strictMode(&builder.settings_);
  builder["failIfExtra"] = true;
  builder["stackLimit"] = 1000;
  Json::Value tree;
  std::string problem;
  const bool hasMark = text.compare(0, 3, "\xEF\xBB\xBF") == 0;
  Check(test_support::ReadJson(builder, hasMark ? text.substr(3) : text, tree, problem),
        "a document without errors that jsoncpp refuses: " + problem);
  return tree;
}

Json::Value OnlyRead(const Json::Value& value, const Member& member);

Json::Value OnlyMembers(const Json::Value& value, const documents::Object& object) {
  Json::Value result(Json::objectValue);
  for (std::size_t i = 0; i < object.count; ++i) {
    const Member& member = object.members[i];
    if (value.isMember(member.name) && member.kind != Kind::ROUTES) {
      result[member.name] = OnlyRead(value[member.name], member);
    }
  }
  return result;
}

/// The value without routes, and in objects with declared members without all others.
Json::Value OnlyRead(const Json::Value& value, const Member& member) {
  if (member.kind == Kind::OBJECT) return OnlyMembers(value, *member.object);
  if (member.kind != Kind::LIST) return value;
  Json::Value result(value.type());
  if (value.isArray()) {
    for (const Json::Value& element : value) result.append(OnlyMembers(element, *member.object));
  } else {
    for (const std::string& name : value.getMemberNames()) {
      result[name] = OnlyMembers(value[name], *member.object);
    }
  }
  return result;
}

std::string Written(const Json::Value& value) {
  return Json::writeString(Json::StreamWriterBuilder(), value);
}

std::string Written(const Tarsel::OptionsNode& node);

/// A member's value as its parent tells it; there is no other way to a scalar.
std::string WrittenScalar(const Tarsel::OptionsNode& parent, const char* name) {
  bool flag = false;
  unsigned int number = 0;
  Tarsel::string text;
  if (parent.AsVal(flag, name) != 0) return flag ? "true" : "false";
  if (parent.AsVal(number, name) != 0) return std::to_string(number);
  return parent.GetAsString(text, name) != 0 ? std::string("\"") + text.c_str() : "?";
}

/// What the library can see of a tree, which it is handed without a way to the tree itself.
std::string Written(const Tarsel::OptionsNode& node) {
  std::string text = node.IsObject() ? "{" : "[";
  for (Tarsel::OptionsNodeIterator child = node.begin(); child != node.end(); ++child) {
    const Tarsel::string name = child.GetName();
    const Tarsel::OptionsNode value = *child;
    const bool isInside = value.begin() != value.end() || value.IsEmpty();
    text += std::string(name.c_str()) + ":" +
            (isInside ? Written(value) : WrittenScalar(node, name.c_str())) + ",";
  }
  return text + (node.IsObject() ? "}" : "]");
}

/// VLAN, whether IPv6, destination, length, next hop, interface.
using RouteKey =
    std::tuple<unsigned short, bool, std::string, unsigned int, std::string, std::string>;
using RouteMetrics = std::set<std::pair<RouteKey, unsigned int>>;

template <class Address>
std::string BytesOf(const Address& address, std::size_t size) {
  return {reinterpret_cast<const char*>(address.GetBytes()), size};
}

void AddRoute4(RouteMetrics& routes, unsigned short vlan, const Tarsel::OptionsNode& group) {
  Tarsel::Ip4RouteConfig route;
  Check(route.ParseGroup(vlan, group), "the library cannot read a route that is right");
  unsigned int length = 0;
  while (length < 32 && route.netmask != Tarsel::Ip4Addr(Tarsel::Ip6Prefix::s_masks32[length])) {
    ++length;
  }
  routes.insert({{vlan, false, BytesOf(route.network, 4), length, BytesOf(route.gateway, 4),
                  route.interface.c_str()},
                 route.metric});
}

void AddRoute6(RouteMetrics& routes, unsigned short vlan, const Tarsel::OptionsNode& group) {
  Tarsel::Ip6RouteConfig route;
  Check(route.ParseGroup(vlan, group), "the library cannot read a route that is right");
  routes.insert({{vlan, true, BytesOf(route.network, 16), route.prefix.GetLength(),
                  BytesOf(route.gateway, 16), route.interface.c_str()},
                 route.metric});
}

RouteMetrics RoutesOf(const Tarsel::Options& document) {
  RouteMetrics routes;
  const auto entries = document.GetRootNode().GetChildNode("VLAN_CONFIGURATIONS");
  for (Tarsel::OptionsNodeIterator entry = entries.begin(); entry != entries.end(); ++entry) {
    unsigned int vlan = 0;
    Check((*entry).AsVal(vlan, "vid") != 0, "an entry without its VLAN that is right");
    const auto four = (*entry).GetChildNode("STATIC_ROUTES");
    for (Tarsel::OptionsNodeIterator route = four.begin(); route != four.end(); ++route) {
      AddRoute4(routes, static_cast<unsigned short>(vlan), *route);
    }
    const auto six = (*entry).GetChildNode("STATIC_ROUTES6");
    for (Tarsel::OptionsNodeIterator route = six.begin(); route != six.end(); ++route) {
      AddRoute6(routes, static_cast<unsigned short>(vlan), *route);
    }
  }
  return routes;
}

RouteMetrics RoutesOf(const documents::Routes& read) {
  RouteMetrics routes;
  for (const documents::Route& route : read.Get()) {
    const documents::RouteTarget& target = route.target;
    const std::size_t size = target.ip6 ? 16 : 4;
    const auto bytes = [&](const auto& address) {
      return std::string(reinterpret_cast<const char*>(address.data()), size);
    };
    routes.insert({{target.vlan, target.ip6, bytes(target.destination), target.length,
                    bytes(target.gateway), read.InterfaceOf(route)},
                   route.metric});
  }
  return routes;
}

// ---- the documents

/// Everything of a document that can be compared. If there is none, only the findings count.
std::string Describe(const documents::ConfigFile& file, bool isDocument) {
  std::string text = isDocument ? "document" : "no document";
  for (const std::string& line : file.findings.Lines()) text += "\n" + line;
  if (!isDocument) return text;
  text += "\n" + Written(file.document.GetRootNode());
  for (const unsigned short vlan : file.vlans) text += " " + std::to_string(vlan);
  for (const auto& [vlan, place] : file.entries) {
    text += "\n" + std::to_string(vlan) + " " + place.Text();
  }
  for (const documents::Route& route : file.routes.Get()) {
    text += "\n" + file.routes.PlaceOf(route, file.name).Text();
  }
  for (const auto& [key, metric] : RoutesOf(file.routes)) {
    text += "\n" + std::get<2>(key) + " " + std::to_string(metric);
  }
  for (const auto& [vlan, profile] : file.profiles) {
    const documents::Sources& from = profile.sources;
    text += "\n" + std::to_string(vlan) + " " + profile.origin.Text();
    for (const bool flag :
         {from.fromStatic, from.fromConnected, from.fromBgp, from.fromRip, from.fromOspf}) {
      text += flag ? " yes" : " no";
    }
  }
  for (const auto& [vlan, protocols] : file.protocols) {
    text += "\n" + std::to_string(vlan) + " " + std::to_string(protocols);
  }
  for (const documents::InterfaceRow& row : file.interfaceRows.Get()) {
    text += "\n" + std::to_string(row.vlan) + " " + std::to_string(row.index) + " " +
            file.interfaceRows.PlaceOf(row, file.name).Text();
  }
  return text;
}

void CheckPlaces(const documents::ConfigFile& file, const Text& text) {
  for (const auto& entry : file.entries) text.CheckPlace(entry.second, OBJECT);
  for (const documents::Route& route : file.routes.Get()) {
    text.CheckPlace(file.routes.PlaceOf(route, file.name), OBJECT);
  }
  for (const auto& profile : file.profiles) text.CheckPlace(profile.second.origin, OBJECT);
  for (const documents::InterfaceRow& row : file.interfaceRows.Get()) {
    text.CheckPlace(file.interfaceRows.PlaceOf(row, file.name), TEXT);
  }
}

std::shared_ptr<const documents::ConfigFile> ReadConfig(const std::string& text,
                                                        const std::string& name,
                                                        DclConfigObject::OptionType type) {
  std::shared_ptr<documents::ConfigFile> file;
  std::string description[2];
  bool isDocument = false;
  for (std::string& made : description) {
    file = std::make_shared<documents::ConfigFile>();
    file->name = name;
    file->type = type;
    isDocument = documents::ReadVlanDocument(text, Shapes(), *file);
    made = Describe(*file, isDocument);
  }
  Check(description[0] == description[1],
        "read twice, not the same:\n" + description[0] + "\n--- and\n" + description[1]);
  const Text places(name, text);
  CheckFindings(file->findings, places);
  if (isDocument) CheckPlaces(*file, places);
  Check(isDocument || file->findings.HasErrors(), "no document, and no reason why");
  if (!file->findings.HasErrors()) {
    const Json::Value tree = StrictTree(text);
    const bool isVlans = type == DclConfigObject::VLAN_OPTIONS;
    const Tarsel::Options wanted(OnlyMembers(tree, isVlans ? Shapes().Vlans() : Shapes().Remote()));
    Check(Written(file->document.GetRootNode()) == Written(wanted.GetRootNode()),
          "the library gets\n" + Written(file->document.GetRootNode()) + "\ninstead of\n" +
              Written(wanted.GetRootNode()));
    Check(RoutesOf(file->routes) == RoutesOf(Tarsel::Options(tree)),
          "other routes than the library reads of\n" + Written(tree));
  }
  return isDocument ? file : nullptr;
}

std::string Describe(const documents::DeviceFile& file, bool isDocument) {
  std::string text = isDocument ? "document" : "no document";
  for (const std::string& line : file.findings.Lines()) text += "\n" + line;
  if (!isDocument) return text;
  text += "\n" + std::to_string(file.device.defaultVlan);
  for (const auto& [key, interface] : file.device.interfaces) {
    text += "\n" + std::to_string(key.first) + " " + std::to_string(key.second) + " " +
            interface.name + " " + std::to_string(interface.flags) + " " +
            std::to_string(interface.mtu) + (interface.up ? " up" : " down") +
            (interface.joined ? " joined" : "") + " " +
            (!interface.ip4.empty() ? interface.ip4[0].address.ToString().c_str() : "none");
    for (const Tarsel::Ip6Prefix& prefix : interface.ip6) {
      text += std::string(" ") + prefix.GetAddress().ToString().c_str() + "/" +
              std::to_string(prefix.GetLength());
    }
    text += " " + file.device.origins.at(key).place.Text();
  }
  for (const auto& [vlan, name] : file.device.primaries) {
    text += "\n" + std::to_string(vlan) + " " + name;
  }
  return text;
}

void CheckPlaces(const documents::Device& device, const Text& text) {
  Check(device.origins.size() == device.interfaces.size(), "an interface without a place");
  for (const auto& [key, interface] : device.interfaces) {
    const documents::InterfaceOrigin& origin = device.origins.at(key);
    text.CheckPlace(origin.place, OBJECT);
    if (!interface.ip4.empty()) text.CheckPlace(origin.ip4, TEXT);
    for (const Place& place : origin.ip6) text.CheckPlace(place, TEXT);
  }
}

std::shared_ptr<const documents::DeviceFile> ReadDevice(const std::string& text) {
  std::shared_ptr<documents::DeviceFile> file;
  std::string description[2];
  bool isDocument = false;
  for (std::string& made : description) {
    file = std::make_shared<documents::DeviceFile>();
    isDocument = documents::ReadDeviceDocument(text, NAMES[0], *file);
    made = Describe(*file, isDocument);
  }
  Check(description[0] == description[1],
        "read twice, not the same:\n" + description[0] + "\n--- and\n" + description[1]);
  const Text places(NAMES[0], text);
  CheckFindings(file->findings, places);
  if (isDocument) CheckPlaces(file->device, places);
  Check(isDocument || file->findings.HasErrors(), "no document, and no reason why");
  if (!file->findings.HasErrors()) {
    const Json::Value tree = StrictTree(text);
    Check(tree["default_vlan"].asUInt() == file->device.defaultVlan &&
              tree["interfaces"].size() == file->device.interfaces.size() &&
              tree["primary_interfaces"].size() == file->device.primaries.size(),
          "parts of a document without errors have been left out");
  }
  return isDocument ? file : nullptr;
}

// ---- together

/// Each route once for each document that has it, in order, and the first of the same ones first.
void CheckMerged(const documents::ConfigFiles& files) {
  documents::MergedRoutes merged(files);
  std::size_t all = 0;
  for (const auto& file : files) all += file->routes.Get().size();
  Check(merged.CountAll() == all, "merged routes are counted wrong");
  std::size_t count = 0;
  const documents::Route* last = nullptr;
  std::string lastInterface;
  for (const documents::Route* route = merged.Next(); route != nullptr; route = merged.Next()) {
    ++count;
    const bool isSame =
        last != nullptr && last->target == route->target && lastInterface == merged.GetInterface();
    Check(merged.IsFirst() != isSame, "a merged route is not known to be the same");
    Check(last == nullptr || isSame || last->target < route->target ||
              (last->target == route->target && lastInterface < merged.GetInterface()),
          "merged routes out of order");
    last = route;
    lastInterface = merged.GetInterface();
  }
  Check(count == all, "merged routes are lost");
}

void CheckFolder(const documents::Folder& folder, const std::vector<Text>& texts) {
  const Findings together = documents::CheckTogether(folder);
  Check(!together.HasErrors(), "an error of documents together");
  for (const Finding& finding : together.Get(documents::Severity::WARNING)) {
    CheckLine(finding.Line());
    for (const Text& text : texts) {
      if (text.GetName() == finding.place.file) text.CheckPlace(finding.place, ANYTHING);
    }
  }
  Check(together.Lines() == documents::CheckTogether(folder).Lines(),
        "checked twice, not the same");
  CheckMerged(folder.files);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::vector<std::string> texts =
      fuzz::Split(std::string(reinterpret_cast<const char*>(data), size), '\x1E');
  if (texts.size() > MAX_DOCUMENTS) return 0;
  documents::Folder folder;
  std::vector<Text> places;
  for (std::size_t i = 0; i < texts.size(); ++i) {
    places.emplace_back(NAMES[i], texts[i]);
    if (i == 0) {
      folder.deviceFile = ReadDevice(texts[i]);
      continue;
    }
    auto file =
        ReadConfig(texts[i], NAMES[i],
                   i == 1 ? DclConfigObject::VLAN_OPTIONS : DclConfigObject::REMOTE_OPTIONS);
    if (file != nullptr) folder.files.push_back(std::move(file));
  }
  CheckFolder(folder, places);
  return 0;
}
