#include "route_reader.h"

#include <cstring>

#include "device/program/printable.h"
#include "vantacore/config_parser.h"
#include "vantacore/route_config.h"

namespace host {

using Tarsel::Ip4Addr;
using Tarsel::Ip4RouteConfig;
using Tarsel::Ip6Addr;
using Tarsel::Ip6Prefix;
using Tarsel::Ip6RouteConfig;
using Tarsel::OptionsNode;

namespace {

// With what stands behind a NUL: cut there, it might be the name of another interface.
std::string InterfaceOf(const Tarsel::string& name) { return {name.c_str(), name.get_length()}; }

std::string TextOf(const OptionsNode& node, const char* key) {
  Tarsel::string text;
  node.GetAsString(text, key);
  return text.c_str();
}

std::string Expected(const char* key, const char* what, const std::string& text) {
  return std::string(".") + key + ": expected " + what + ", found " +
         (text.empty() ? "nothing" : program::Quote(text));
}

bool IsAddress(const std::string& text, bool ip6) {
  Ip4Addr address4;
  Ip6Addr address6;
  return ip6 ? Tarsel::ParseIp6Address(address6, text.c_str())
             : Tarsel::ParseAddress(address4, text.c_str());
}

// Why a route was refused: the first member, in reading order, that is not what it should be. The
// text goes on where the route's place ends.
std::string Explain(const OptionsNode& node, bool ip6) {
  if (!node.IsObject()) {
    return ": expected an object with a route";
  }
  const char* address = ip6 ? "an IPv6 address" : "an IPv4 address";
  const char* mask = ip6 ? "prefix" : "netmask";
  for (const char* key : {"network", mask, "gateway"}) {
    const std::string text = TextOf(node, key);
    Ip6Prefix prefix;
    if (ip6 && key == mask) {
      if (!Tarsel::ParseIp6Prefix(prefix, "::", text.c_str())) {
        return Expected(key, "a length from 0 to 128", text);
      }
    } else if (!IsAddress(text, ip6)) {
      return Expected(key, address, text);
    }
  }
  return Expected("metric", "a number from 0 to 255", TextOf(node, "metric"));
}

void CopyBytes(std::array<unsigned char, 16>& bytes, const unsigned char* from, std::size_t count) {
  std::memcpy(bytes.data(), from, count);
}

// Each Read fills a route or says why there is none.

std::string Read4(unsigned short vlan, const OptionsNode& node, RouteKey& key, RouteValue& value) {
  Ip4RouteConfig config;
  if (!config.ParseGroup(vlan, node)) {
    return Explain(node, false);
  }
  unsigned int length = 0;
  while (length < 32 && config.netmask != Ip4Addr(Ip6Prefix::s_masks32[length])) {
    ++length;
  }
  if (config.netmask != Ip4Addr(Ip6Prefix::s_masks32[length])) {
    return Expected("netmask", "leading one bits only", TextOf(node, "netmask"));
  }
  if ((config.network & config.netmask) != config.network) {
    return ".network: host bits are set in " + TextOf(node, "network") + "/" +
           std::to_string(length);
  }
  key.first.length = length;
  CopyBytes(key.first.destination, config.network.GetBytes(), 4);
  CopyBytes(key.first.gateway, config.gateway.GetBytes(), 4);
  key.second = InterfaceOf(config.interface);
  value.metric = config.metric;
  return {};
}

std::string Read6(unsigned short vlan, const OptionsNode& node, RouteKey& key, RouteValue& value) {
  Ip6RouteConfig config;
  if (!config.ParseGroup(vlan, node)) {
    return Explain(node, true);
  }
  if (config.network != config.prefix.GetAddress()) {
    return ".network: host bits are set in " + TextOf(node, "network") + "/" +
           std::to_string(config.prefix.GetLength());
  }
  key.first.length = config.prefix.GetLength();
  CopyBytes(key.first.destination, config.prefix.GetAddress().GetBytes(), 16);
  CopyBytes(key.first.gateway, config.gateway.GetBytes(), 16);
  key.second = InterfaceOf(config.interface);
  value.metric = config.metric;
  return {};
}

class Reader : public Tarsel::ConfigParser {
 public:
  Reader(const std::string& file, RouteSet& routes, const Report& report)
      : m_file(file), m_routes(routes), m_report(report) {}

  void Read(const Tarsel::Options& document, const char* group, bool ip6) {
    m_group = group;
    m_ip6 = ip6;
    ParseOptions(group, document);
  }

  int ParseVlanOptions(unsigned short vlan, const OptionsNode& group) override {
    const Place place = Place(m_file + ": VLAN " + std::to_string(vlan)).Member(m_group);
    std::size_t index = 0;
    const auto end = group.end();
    for (auto route = group.begin(); route != end; ++route, ++index) {
      const std::string name = route.GetName().c_str();
      ReadRoute(vlan, *route, name.empty() ? place.Element(index) : place.Member(name));
    }
    return 1;
  }

 private:
  void ReadRoute(unsigned short vlan, const OptionsNode& node, const Place& place) {
    RouteKey key;
    key.first.vlan = vlan;
    key.first.ip6 = m_ip6;
    RouteValue value;
    value.origin = place.Text();
    const std::string problem =
        m_ip6 ? Read6(vlan, node, key, value) : Read4(vlan, node, key, value);
    if (!problem.empty()) {
      m_report(place.Text() + problem);
      return;
    }
    MergeRoutes({{key, value}}, m_routes, m_report);
  }

  const std::string m_file;
  RouteSet& m_routes;
  const Report& m_report;
  const char* m_group = nullptr;
  bool m_ip6 = false;
};

}  // namespace

void ReadRoutes(const Tarsel::Options& document, const std::string& file, RouteSet& routes,
                const Report& report) {
  Reader reader(file, routes, report);
  reader.Read(document, "STATIC_ROUTES", false);
  reader.Read(document, "STATIC_ROUTES6", true);
}

void MergeRoutes(const RouteSet& added, RouteSet& routes, const Report& report) {
  for (const auto& [key, value] : added) {
    const auto [known, isNew] = routes.emplace(key, value);
    if (!isNew && known->second.metric != value.metric) {
      report(value.origin + ": the same route has metric " + std::to_string(known->second.metric) +
             " at " + known->second.origin + ", which stays");
    }
  }
}

}  // namespace host
