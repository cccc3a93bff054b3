#include "route_reader.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <utility>

#include "device/program/printable.h"
#include "vantacore/config_parser.h"
#include "vantacore/route_config.h"

namespace documents {

using Tarsel::Ip4Addr;
using Tarsel::Ip4RouteConfig;
using Tarsel::Ip6Addr;
using Tarsel::Ip6Prefix;
using Tarsel::Ip6RouteConfig;
using Tarsel::OptionsNode;

namespace {

// The whole text: cut at a NUL, it might be the name of another interface.
std::string WholeOf(const Tarsel::string& text) { return {text.c_str(), text.get_length()}; }

// The member as text; nothing when it is an object or an array.
std::optional<std::string> TextOf(const OptionsNode& node, const char* key) {
  Tarsel::string text;
  if (!node.GetAsString(text, key)) {
    return std::nullopt;
  }
  return WholeOf(text);
}

std::string Describe(const OptionsNode& node, const char* key) {
  const OptionsNode member = node.GetChildNode(key);
  if (member.IsNull()) {
    return "nothing";
  }
  const auto text = TextOf(node, key);
  return text ? program::Quote(*text) : member.IsObject() ? "an object" : "an array";
}

std::string Expected(const char* key, const char* what, const OptionsNode& node) {
  return std::string(".") + key + ": expected " + what + ", found " + Describe(node, key);
}

// What a text of an address or of a length looks like is the base classes' (device/base/address.cpp).
bool IsIp4Address(const std::string& text) {
  Ip4Addr address;
  return Tarsel::ParseAddress(address, text.c_str());
}

bool IsIp6Address(const std::string& text) {
  Ip6Addr address;
  return Tarsel::ParseIp6Address(address, text.c_str());
}

bool IsIp6Length(const std::string& text) {
  Ip6Prefix prefix;
  return Tarsel::ParseIp6Prefix(prefix, "::", text.c_str());
}

// Of a metric the library alone says whether it is one.
bool IsForTheLibrary(const std::string&) { return true; }

constexpr const char* METRIC = "a number from 0 to 255";

// What a member of a route has to be.
struct Member {
  const char* key;
  const char* what;  // as a complaint names it
  // Asked of a text that is neither empty nor has a NUL; null when such texts fit, too.
  bool (*fits)(const std::string& text);
  bool isRequired;
};

const Member MEMBERS4[] = {{"interface", "the name of an interface", nullptr, false},
                           {"network", "an IPv4 address", IsIp4Address, true},
                           {"netmask", "an IPv4 address", IsIp4Address, true},
                           {"gateway", "an IPv4 address", IsIp4Address, true},
                           {"metric", METRIC, IsForTheLibrary, false}};
const Member MEMBERS6[] = {{"interface", "the name of an interface", nullptr, false},
                           {"network", "an IPv6 address", IsIp6Address, true},
                           {"prefix", "a length from 0 to 128", IsIp6Length, true},
                           {"gateway", "an IPv6 address", IsIp6Address, true},
                           {"metric", METRIC, IsForTheLibrary, false}};

// The library takes an object or an array for an absent member, an empty metric for the default, and a
// text only as far as a NUL; whoever wrote that meant something else.
bool Fits(const OptionsNode& node, const Member& member) {
  if (node.GetChildNode(member.key).IsNull()) {
    return !member.isRequired;
  }
  const auto text = TextOf(node, member.key);
  return text && (!member.fits ||
                  (!text->empty() && text->find('\0') == std::string::npos && member.fits(*text)));
}

// Why a route cannot be read: the first member, in reading order, that is not what it should be. The
// text goes on where the route's place ends; it is empty when all is well.
template <std::size_t count>
std::string FindMisfit(const OptionsNode& node, const Member (&members)[count]) {
  if (!node.IsObject()) {
    return ": expected an object with a route";
  }
  const Member* const misfit = std::find_if(
      members, members + count, [&node](const Member& member) { return !Fits(node, member); });
  return misfit == members + count ? "" : Expected(misfit->key, misfit->what, node);
}

void CopyBytes(std::array<unsigned char, 16>& bytes, const unsigned char* from, std::size_t count) {
  std::memcpy(bytes.data(), from, count);
}

// Each Read fills a route or says why there is none.

std::string Read4(unsigned short vlan, const OptionsNode& node, RouteKey& key, RouteValue& value) {
  const std::string misfit = FindMisfit(node, MEMBERS4);
  if (!misfit.empty()) {
    return misfit;
  }
  Ip4RouteConfig config;
  if (!config.ParseGroup(vlan, node)) {
    return Expected("metric", METRIC, node);  // all that is left
  }
  unsigned int length = 0;
  while (length < 32 && config.netmask != Ip4Addr(Ip6Prefix::s_masks32[length])) {
    ++length;
  }
  if (config.netmask != Ip4Addr(Ip6Prefix::s_masks32[length])) {
    return Expected("netmask", "leading one bits only", node);
  }
  if ((config.network & config.netmask) != config.network) {
    return ".network: host bits are set in " + *TextOf(node, "network") + "/" +
           std::to_string(length);
  }
  key.target.length = length;
  CopyBytes(key.target.destination, config.network.GetBytes(), 4);
  CopyBytes(key.target.gateway, config.gateway.GetBytes(), 4);
  key.interface = WholeOf(config.interface);
  value.metric = config.metric;
  return {};
}

std::string Read6(unsigned short vlan, const OptionsNode& node, RouteKey& key, RouteValue& value) {
  const std::string misfit = FindMisfit(node, MEMBERS6);
  if (!misfit.empty()) {
    return misfit;
  }
  Ip6RouteConfig config;
  if (!config.ParseGroup(vlan, node)) {
    return Expected("metric", METRIC, node);  // all that is left
  }
  if (config.network != config.prefix.GetAddress()) {
    return ".network: host bits are set in " + *TextOf(node, "network") + "/" +
           std::to_string(config.prefix.GetLength());
  }
  key.target.length = config.prefix.GetLength();
  CopyBytes(key.target.destination, config.prefix.GetAddress().GetBytes(), 16);
  CopyBytes(key.target.gateway, config.gateway.GetBytes(), 16);
  key.interface = WholeOf(config.interface);
  value.metric = config.metric;
  return {};
}

// Of one route with several metrics the one that is there stays.
void Merge(RouteKey key, RouteValue value, RouteSet& routes, const program::Report& report) {
  const auto [known, isNew] = routes.try_emplace(std::move(key), value);
  if (!isNew && known->second.metric != value.metric) {
    report(value.origin.Text() + ": the same route has metric " +
           std::to_string(known->second.metric) + " at " + known->second.origin.Text() +
           ", which stays");
  }
}

class Reader : public Tarsel::ConfigParser {
 public:
  Reader(const std::string& file, RouteSet& routes, const program::Report& report)
      : m_file(file), m_routes(routes), m_report(report) {}

  void Read(const Tarsel::Options& document, const char* group, bool ip6) {
    m_group = group;
    m_ip6 = ip6;
    ParseOptions(group, document);
  }

  int ParseVlanOptions(unsigned short vlan, const OptionsNode& group) override {
    const Place place = m_file.Vlan(vlan).Member(m_group);
    std::size_t index = 0;
    const auto end = group.end();
    for (auto route = group.begin(); route != end; ++route, ++index) {
      const std::string name = route.GetName().c_str();
      ReadRoute(vlan, *route, group.IsObject() ? place.Member(name) : place.Element(index));
    }
    return 1;
  }

 private:
  void ReadRoute(unsigned short vlan, const OptionsNode& node, const Place& place) {
    RouteKey key;
    key.target.vlan = vlan;
    key.target.ip6 = m_ip6;
    RouteValue value{0, place};
    const std::string problem =
        m_ip6 ? Read6(vlan, node, key, value) : Read4(vlan, node, key, value);
    if (problem.empty()) {
      Merge(std::move(key), std::move(value), m_routes, m_report);
    } else {
      m_report(place.Text() + problem);
    }
  }

  const Place m_file;
  RouteSet& m_routes;
  const program::Report& m_report;
  const char* m_group = nullptr;
  bool m_ip6 = false;
};

}  // namespace

void ReadRoutes(const Tarsel::Options& document, const std::string& file, RouteSet& routes,
                const program::Report& report) {
  Reader reader(file, routes, report);
  reader.Read(document, "STATIC_ROUTES", false);
  reader.Read(document, "STATIC_ROUTES6", true);
}

void MergeRoutes(const RouteSet& added, RouteSet& routes, const program::Report& report) {
  for (const auto& [key, value] : added) {
    Merge(key, value, routes, report);
  }
}

}  // namespace documents
