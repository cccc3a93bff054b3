// Random VLAN documents: what is read of them is what the library reads of jsoncpp's tree.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <tuple>

#include "tests/models/random_run.h"
#include "tests/support/json_text.h"
#include "tests/unit/documents/reading.h"
#include "vantacore/config_parser.h"
#include "vantacore/route_config.h"

namespace {

using documents::Kind;
using documents::Member;
using documents::Object;
using documents::Route;
using documents_tests::ReadVlans;
using test_models::Random;

using ConfigRead = documents_tests::Read<documents::ConfigFile>;

std::string Quoted(const std::string& text) { return "\"" + text + "\""; }

std::string Joined(Random& random, std::vector<std::string> parts, const char* begin,
                   const char* end) {
  static const char* const COMMAS[] = {",", ", ", ",\n  "};
  std::string text = begin;
  for (std::size_t i = 0; i < parts.size(); ++i) {
    text += (i == 0 ? "" : COMMAS[random.Below(3)]) + parts[i];
  }
  return text + end;
}

// Names in an order of their own, so that the reader has to find that of the library.
std::vector<std::string> Names(Random& random, unsigned int most) {
  std::vector<std::string> names = {"a", "b", "B", "b b", "10", "9", "z/1", "\\u00e4", "", "aa"};
  for (std::size_t i = names.size() - 1; i > 0; --i) {
    std::swap(names[i], names[random.Below(static_cast<unsigned int>(i) + 1)]);
  }
  names.resize(random.Below(most + 1));
  return names;
}

// ---- documents without mistakes, by the declarations

class GoodDocument {
 public:
  explicit GoodDocument(Random& random) : m_random(random) {}

  std::string Draw() {
    std::vector<std::string> entries;
    const bool isArray = m_random.Percent(30);
    m_vlan = 9;
    for (const std::string& name : Names(m_random, 3)) {
      ++m_vlan;
      entries.push_back((isArray ? "" : Quoted(name) + ": ") +
                        ObjectText(documents_tests::Shapes().VlansEntry()));
    }
    std::vector<std::string> members = {"\"VLAN_CONFIGURATIONS\":" + Joined(m_random, entries,
                                                                            isArray ? "[" : "{",
                                                                            isArray ? "]" : "}")};
    if (m_random.Percent(20)) {
      members.insert(members.begin(), "\"$schema\": \"vlans\"");
    }
    if (m_random.Percent(20)) {
      members.push_back(ForOthers());
    }
    return Joined(m_random, members, "{", "}");
  }

 private:
  std::string ForOthers() { return R"("x-other": {"vid": [1, {"a": true}], "x-other": "t"})"; }

  std::string ObjectText(const Object& object) {
    std::vector<std::string> members;
    m_isIp6 = m_random.Percent(30);
    for (std::size_t i = 0; i < object.count; ++i) {
      const Member& member = object.members[i];
      if (std::strcmp(member.name, "afi") == 0) {
        members.push_back(m_isIp6                ? "\"afi\": 1"
                          : m_random.Percent(50) ? "\"afi\": 0"
                                                 : "\"x-afi\": 1");
      } else if (member.isRequired || m_random.Percent(50) ||
                 (members.empty() && i + 1 == object.count)) {
        const bool isIp6 = m_isIp6;
        members.push_back(Quoted(member.name) + ":" + Value(member));
        m_isIp6 = isIp6;
      }
    }
    if (m_random.Percent(10)) {
      members.push_back(ForOthers());
    }
    for (std::size_t i = members.size() - 1; i > 0; --i) {
      std::swap(members[i], members[m_random.Below(static_cast<unsigned int>(i) + 1)]);
    }
    return Joined(m_random, members, "{", "}");
  }

  std::string ListText(const Member& member) {
    const bool isArray = m_random.Percent(40);
    std::vector<std::string> elements;
    for (const std::string& name : Names(m_random, 3)) {
      elements.push_back((isArray ? "" : Quoted(name) + ": ") + ObjectText(*member.object));
    }
    return Joined(m_random, elements, isArray ? "[" : "{", isArray ? "]" : "}");
  }

  std::string Value(const Member& member) {
    switch (member.kind) {
      case Kind::FLAG:
        return m_random.Percent(50) ? "true" : "false";
      case Kind::NUMBER:
        return std::strcmp(member.name, "vid") == 0 ? std::to_string(m_vlan) : Number(member);
      case Kind::DIGITS:
        return m_random.Percent(50) ? std::to_string(m_random.Below(255))
                                    : Quoted(std::to_string(m_random.Below(255)));
      case Kind::PREFIX_LENGTH:
        return "48";
      case Kind::TEXT:
      case Kind::DESCRIPTION:
        return Quoted(m_random.Percent(50) ? "a \\\"text\\\" \\u00e4" : "");
      case Kind::ANY_CASE_WORD:
        return Quoted(member.words[0]);
      case Kind::ROW_NAME:
        return Quoted((*member.row->prefix == '\0' ? "any" : member.row->prefix) +
                      std::string("_") + std::to_string(m_vlan) + "_" + std::to_string(++m_row));
      case Kind::IP4:
        return Quoted("10.9.0.0");
      case Kind::IP4_MASK:
        return Quoted("255.255.0.0");
      case Kind::IP6:
        return Quoted("2001:db8:9::");
      case Kind::IP4_OR_IP6:
        return m_isIp6 ? Quoted("2001:db8::1") : Quoted("10.1.2.1");
      case Kind::IP4_GROUP:
        return Quoted("239.1.1.1");
      case Kind::IP6_GROUP:
        return Quoted("ff02::1");
      case Kind::OBJECT:
        return ObjectText(*member.object);
      case Kind::LIST:
        return ListText(member);
      case Kind::ROUTES:
        return "[" + ObjectText(*member.object) + "]";
      default:
        ADD_FAILURE() << "no value for " << member.name;
        return "null";
    }
  }

  std::string Number(const Member& member) {
    const std::uint32_t numbers[] = {
        member.low, member.high,
        member.low + m_random.Below(std::min(member.high - member.low, 1000U))};
    return std::to_string(numbers[m_random.Below(3)]);
  }

  Random& m_random;
  unsigned int m_vlan = 9;
  unsigned int m_row = 0;
  bool m_isIp6 = false;
};

void TakeOutWhatTheLibraryDoesNotRead(Json::Value& value) {
  if (value.isObject()) {
    for (const std::string& name : value.getMemberNames()) {
      if (name == "STATIC_ROUTES" || name == "STATIC_ROUTES6" || name == "$schema" ||
          name.compare(0, 2, "x-") == 0) {
        value.removeMember(name);
      }
    }
  }
  for (Json::Value& child : value) {
    TakeOutWhatTheLibraryDoesNotRead(child);
  }
}

TEST(RandomDocuments, AreHandedOnWithoutTheirRoutes) {
  Random random;
  test_models::Occurrences count;
  for (unsigned int run = 0; run < test_models::Scaled(3000); ++run) {
    const std::string text = GoodDocument(random).Draw();
    const ConfigRead read = ReadVlans(text);
    ASSERT_TRUE(read.isDocument) << text;
    ASSERT_FALSE(read.file.findings.HasErrors()) << text << "\n" << read.Lines().front();
    Json::Value expected = test_support::ParsedJson(text);
    TakeOutWhatTheLibraryDoesNotRead(expected);
    const std::size_t entries = expected["VLAN_CONFIGURATIONS"].size();
    const Tarsel::Options options(std::move(expected));
    ASSERT_EQ(documents_tests::TextOf(read.file.document.GetRootNode()),
              documents_tests::TextOf(options.GetRootNode()))
        << text;
    ASSERT_EQ(read.file.vlans.size(), entries);
    count(read.file.routes.Get().empty() ? "no routes" : "routes");
    count(entries > 1 ? "several entries" : "one entry");
  }
  count.ExpectAtLeast(500, "routes");
  count.ExpectAtLeast(500, "several entries");
}

// ---- routes, beside the library's reader

std::string Bytes(const unsigned char* bytes, std::size_t count) {
  std::string text;
  for (std::size_t i = 0; i < count; ++i) {
    text += std::to_string(bytes[i]) + ".";
  }
  return text;
}

struct ReadRoute {
  std::string path;
  std::string target;  // VLAN, network, length or mask, gateway, interface
  unsigned int metric = 0;
};

unsigned int LengthOf(const Tarsel::Ip4Addr& mask) {
  unsigned int length = 0;
  while (length < 32 && mask != Tarsel::Ip4Addr(Tarsel::Ip6Prefix::s_masks32[length])) {
    ++length;
  }
  return length;
}

std::string TargetOf(const Tarsel::Ip4RouteConfig& route) {
  return std::to_string(route.vlan) + " 4 " + Bytes(route.network.GetBytes(), 4) + "/" +
         std::to_string(LengthOf(route.netmask)) + " " + Bytes(route.gateway.GetBytes(), 4) + " " +
         route.interface.c_str();
}

std::string TargetOf(const Tarsel::Ip6RouteConfig& route) {
  return std::to_string(route.vlan) + " 6 " + Bytes(route.network.GetBytes(), 16) + "/" +
         std::to_string(route.prefix.GetLength()) + " " + Bytes(route.gateway.GetBytes(), 16) +
         " " + route.interface.c_str();
}

std::string TargetOf(const Route& route, const std::string& interface) {
  const std::size_t size = route.target.ip6 ? 16 : 4;
  return std::to_string(route.target.vlan) + (route.target.ip6 ? " 6 " : " 4 ") +
         Bytes(route.target.destination.data(), size) + "/" + std::to_string(route.target.length) +
         " " + Bytes(route.target.gateway.data(), size) + " " + interface;
}

// Goes through a document as the library does. Entries have their VLAN as name, with letters before it.
template <class RouteConfig>
class LibraryReader : public Tarsel::ConfigParser {
 public:
  LibraryReader(const char* group, const std::map<unsigned short, std::string>& entryPaths,
                std::vector<ReadRoute>& routes)
      : m_group(group), m_entryPaths(entryPaths), m_routes(routes) {}

  void Read(const Tarsel::Options& document) { ParseOptions(m_group, document); }

  int ParseVlanOptions(unsigned short vlan, const Tarsel::OptionsNode& group) override {
    const std::string list = documents::MemberPath(m_entryPaths.at(vlan), m_group);
    std::size_t index = 0;
    const auto end = group.end();
    for (auto node = group.begin(); node != end; ++node, ++index) {
      RouteConfig config;
      if (config.ParseGroup(vlan, *node)) {
        m_routes.push_back({group.IsObject() ? documents::MemberPath(list, node.GetName().c_str())
                                             : documents::ElementPath(list, index),
                            TargetOf(config), config.metric});
      }
    }
    return 1;
  }

 private:
  const char* m_group;
  const std::map<unsigned short, std::string>& m_entryPaths;
  std::vector<ReadRoute>& m_routes;
};

template <std::size_t COUNT>
std::string Pick(Random& random, const char* const (&texts)[COUNT]) {
  return texts[random.Below(COUNT)];
}

// Most members are good; a value of each kind of mistake comes now and then.
class RoutesDocument {
 public:
  explicit RoutesDocument(Random& random) : m_random(random) {}

  std::string Draw() {
    std::vector<std::string> entries;
    const bool isArray = m_random.Percent(30);
    unsigned short vlan = 9;
    for (const std::string& name : Names(m_random, 3)) {
      ++vlan;
      const std::string path = "VLAN_CONFIGURATIONS";
      paths[vlan] = isArray ? documents::ElementPath(path, entries.size())
                            : documents::MemberPath(path, name == "\\u00e4" ? "\xC3\xA4" : name);
      entries.push_back((isArray ? "" : Quoted(name) + ": ") + "{" + List("STATIC_ROUTES") +
                        ", \"vid\": " + std::to_string(vlan) + ", " + List("STATIC_ROUTES6") + "}");
    }
    return "{\"VLAN_CONFIGURATIONS\":" +
           Joined(m_random, entries, isArray ? "[" : "{", isArray ? "]" : "}") + "}";
  }

  std::map<unsigned short, std::string> paths;  // of the entries

 private:
  std::string List(const std::string& group) {
    const bool isArray = m_random.Percent(40);
    std::vector<std::string> routes;
    for (const std::string& name : Names(m_random, 4)) {
      routes.push_back((isArray ? "" : Quoted(name) + ": ") +
                       (group == "STATIC_ROUTES" ? Route4() : Route6()));
    }
    return Quoted(group) + ": " +
           Joined(m_random, routes, isArray ? "[" : "{", isArray ? "]" : "}");
  }

  // An absent member with a chance of its own.
  void Add(std::vector<std::string>& members, const char* name, unsigned int percent,
           const std::string& value) {
    if (m_random.Percent(percent)) {
      members.push_back(Quoted(name) + ": " + value);
    }
  }
  bool IsWrong() { return m_random.Percent(4); }

  std::string Metric() {
    static const char* const GOOD[] = {
        "0", "1", "254", "\"0\"", "\"1\"", "\"007\"", "\"254\"", "-0", "\"000000000000000000001\""};
    static const char* const ODD[] = {
        "255",    "\"255\"", "256",  "\"256\"",      "-1",         "\"-1\"",        "\"+1\"",
        "\" 1\"", "\"1 \"",  "\"\"", "\"5x\"",       "1.0",        "1e2",           "true",
        "null",   "[]",      "{}",   "\"5\\u0000\"", "4294967296", "\"4294967297\""};
    return m_random.Percent(15) ? Pick(m_random, ODD) : Pick(m_random, GOOD);
  }
  std::string Interface() {
    static const char* const NAMES[] = {"\"\"", "\"eth0\"", "\"eth1\"",    "\"a b\"",
                                        "5",    "null",     "\"e\\u0000\""};
    return IsWrong() ? NAMES[m_random.Below(7)] : NAMES[m_random.Below(4)];
  }

  std::string Route4() {
    static const char* const NETWORKS[] = {"\"10.9.0.0\"", "\"10.8.0.0\"", "\"0.0.0.0\""};
    static const char* const MASKS[] = {"\"255.255.0.0\"", "\"255.255.128.0\"",
                                        "\"255.255.255.255\""};
    static const char* const GATEWAYS[] = {"\"10.1.2.1\"", "\"10.1.2.2\"", "\"0.0.0.0\""};
    static const char* const WRONG[] = {"\"10.9.0\"",    "\"10.9.0.0 \"",  "\" 10.9.0.0\"",
                                        "\"10.9.0.1\"",  "\"\"",           "5",
                                        "null",          "\"dynamic\"",    "\"255.0.255.0\"",
                                        "\"010.9.0.0\"", "\"10.9.0.256\"", "\"10.9.0.0\\u0000\"",
                                        "\"::1\"",       "\"0.0.0.0/0\"",  "[]",
                                        "\"0xA.9.0.0\""};
    static const char* const MODES[] = {"\"passthrough\"", "\"passthrough!\"", "\"Passthrough\"",
                                        "\"\"", "5"};
    if (IsWrong()) {
      static const char* const NO_ROUTES[] = {"5", "[]", "{}", "null", "\"r\""};
      return Pick(m_random, NO_ROUTES);
    }
    std::vector<std::string> members;
    Add(members, "interface", 50, Interface());
    Add(members, "network", 97, IsWrong() ? Pick(m_random, WRONG) : Pick(m_random, NETWORKS));
    Add(members, "netmask", 97, IsWrong() ? Pick(m_random, WRONG) : Pick(m_random, MASKS));
    Add(members, "gateway", 97, IsWrong() ? Pick(m_random, WRONG) : Pick(m_random, GATEWAYS));
    Add(members, "metric", 50, Metric());
    Add(members, "routemetricmode", 20, Pick(m_random, MODES));
    Add(members, "prefix", 1, "16");
    return Joined(m_random, members, "{", "}");
  }

  std::string Route6() {
    static const char* const NETWORKS[] = {"\"2001:db8::\"", "\"2001:DB8:0:0::\"", "\"::\""};
    static const char* const LENGTHS[] = {"48", "\"48\"", "\"048\"", "128", "\"128\"", "64"};
    static const char* const GATEWAYS[] = {"\"fe80::1\"", "\"2001:db8::1\"", "\"::ffff:10.1.2.1\""};
    static const char* const WRONG[] = {
        "\"2001:db8::1\"", "\"10.1.2.1\"", "\"\"",           "\":::\"",  "5",           "null",
        "\"dynamic\"",     "\"::1%eth0\"", "\"::1\\u0000\"", "\" ::1\"", "\"12345::\"", "[]"};
    static const char* const WRONG_LENGTHS[] = {"129",      "\"129\"", "-1",      "\"+48\"",
                                                "\"0048\"", "\"\"",    "\"48 \"", "48.0",
                                                "null",     "[48]",    "true",    "\"4x\""};
    std::vector<std::string> members;
    Add(members, "interface", 50, Interface());
    Add(members, "network", 97, IsWrong() ? Pick(m_random, WRONG) : Pick(m_random, NETWORKS));
    Add(members, "prefix", 97, IsWrong() ? Pick(m_random, WRONG_LENGTHS) : Pick(m_random, LENGTHS));
    Add(members, "gateway", 97, IsWrong() ? Pick(m_random, WRONG) : Pick(m_random, GATEWAYS));
    Add(members, "metric", 50, Metric());
    return Joined(m_random, members, "{", "}");
  }

  Random& m_random;
};

// Whether an error keeps the route out: not one about a member that nobody reads, or about another
// route like it.
bool IsRefused(const ConfigRead& read, const std::string& path) {
  for (const documents::Finding& finding : read.file.findings.Get(documents::Severity::ERROR)) {
    const std::string& place = finding.place.path;
    const bool isHere =
        place == path || (place.compare(0, path.size(), path) == 0 && place[path.size()] == '.');
    const bool isOfOthers = finding.problem.find("unknown member") != std::string::npos ||
                            finding.problem.find("one route with two metrics") != std::string::npos;
    if (isHere && !isOfOthers) {
      return true;
    }
  }
  return false;
}

// Of what the check takes the library reads the same values, in the same order; what stands several times
// counts as it is read first.
void Compare(const std::string& text, const std::map<unsigned short, std::string>& paths,
             test_models::Occurrences& count) {
  const ConfigRead read = ReadVlans(text);
  ASSERT_TRUE(read.isDocument) << text;
  ASSERT_LT(read.file.findings.CountErrors(), documents::Findings::KEPT) << "some are not kept";
  const Tarsel::Options document = test_support::Document(text);
  std::vector<ReadRoute> all;
  LibraryReader<Tarsel::Ip4RouteConfig>("STATIC_ROUTES", paths, all).Read(document);
  LibraryReader<Tarsel::Ip6RouteConfig>("STATIC_ROUTES6", paths, all).Read(document);
  std::map<std::string, const ReadRoute*> expected;  // by target
  unsigned int metrics = 0;
  for (const ReadRoute& route : all) {
    if (IsRefused(read, route.path)) {
      count("a route that the library takes is refused");
      continue;
    }
    const auto [first, isFirst] = expected.emplace(route.target, &route);
    metrics += !isFirst && first->second->metric != route.metric ? 1 : 0;
    count(isFirst ? "a route" : "a route again");
  }
  unsigned int told = 0;
  for (const documents::Finding& finding : read.file.findings.Get(documents::Severity::ERROR)) {
    told += finding.problem.find("one route with two metrics") == std::string::npos ? 0 : 1;
  }
  ASSERT_EQ(told, metrics) << text;
  ASSERT_EQ(read.file.routes.Get().size(), expected.size()) << text;
  for (const Route& route : read.file.routes.Get()) {
    const auto same = expected.find(TargetOf(route, read.file.routes.InterfaceOf(route)));
    ASSERT_NE(same, expected.end()) << text;
    ASSERT_EQ(route.metric, same->second->metric) << text << same->second->path;
    ASSERT_EQ(read.file.routes.PlaceOf(route, "").path, same->second->path) << text;
  }
}

TEST(RandomDocuments, HaveTheRoutesThatTheLibraryReads) {
  Random random;
  test_models::Occurrences count;
  for (unsigned int run = 0; run < test_models::Scaled(4000); ++run) {
    RoutesDocument document(random);
    const std::string text = document.Draw();
    Compare(text, document.paths, count);
    if (HasFatalFailure()) {
      return;
    }
  }
  count.ExpectAtLeast(5000, "a route");
  count.ExpectAtLeast(150, "a route again");
  count.ExpectAtLeast(500, "a route that the library takes is refused");
}

}  // namespace
