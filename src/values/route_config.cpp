// Static route records: parsing, identity, match and order.
#include "vantacore/route_config.h"

#include <cstring>

#include "vantacore/config_parser.h"

namespace Tarsel {

namespace {

constexpr unsigned char DEFAULT_METRIC = 1;
// As a probe's metric: matches a route of any metric.
constexpr unsigned char ANY_METRIC = 255;
constexpr unsigned int MAX_METRIC = 255;
const char PASS_THROUGH[] = "passthrough";

// The member as text; the empty text if it is absent or not a text.
string TextOf(const OptionsNode& group, const char* key) {
  string text;
  group.GetAsString(text, key);
  return text;
}

bool ParseMetric(unsigned int& metric, const OptionsNode& group) {
  return ParseNumber(&metric, TextOf(group, "metric").c_str()) && metric <= MAX_METRIC;
}

bool MetricMatches(unsigned char wanted, unsigned char metric) {
  return wanted == ANY_METRIC || wanted == metric;
}

int CompareBytes(const Ip6Addr& a, const Ip6Addr& b) {
  return std::memcmp(a.GetBytes(), b.GetBytes(), 16);
}

// What both tests of equality have in common.
bool SameRoute(const Ip4RouteConfig& a, const Ip4RouteConfig& b) {
  return a.vlan == b.vlan && a.network == b.network && a.netmask == b.netmask &&
         a.gateway == b.gateway;
}

bool SameRoute(const Ip6RouteConfig& a, const Ip6RouteConfig& b) {
  return a.vlan == b.vlan && a.network == b.network && a.prefix == b.prefix &&
         a.gateway == b.gateway;
}

}  // namespace

// ---- IPv4

Ip4RouteConfig::Ip4RouteConfig() : vlan(0), metric(DEFAULT_METRIC) {}
Ip4RouteConfig::Ip4RouteConfig(const Ip4RouteConfig& other) = default;
Ip4RouteConfig::Ip4RouteConfig(unsigned short vid, const Ip4Addr& network_, const Ip4Addr& netmask_,
                               const Ip4Addr& gateway_, unsigned char metric_)
    : vlan(vid), network(network_), netmask(netmask_), gateway(gateway_), metric(metric_) {}
Ip4RouteConfig::~Ip4RouteConfig() = default;

Ip4RouteConfig& Ip4RouteConfig::operator=(const Ip4RouteConfig& other) = default;

bool Ip4RouteConfig::operator==(const Ip4RouteConfig& other) const {
  return SameRoute(*this, other) && metric == other.metric && interface == other.interface;
}

bool Ip4RouteConfig::operator()(const Ip4RouteConfig& other) const {
  return SameRoute(*this, other) && MetricMatches(metric, other.metric);
}

bool Ip4RouteConfig::operator<(const Ip4RouteConfig& other) const { return Compare(*this, other); }

bool Ip4RouteConfig::Compare(const Ip4RouteConfig& a, const Ip4RouteConfig& b) {
  const Ip4Addr networkA = a.network & a.netmask;
  const Ip4Addr networkB = b.network & b.netmask;
  if (networkA != networkB) {
    return networkA.GetValue() < networkB.GetValue();
  }
  if (a.gateway != b.gateway) {
    return a.gateway.GetValue() < b.gateway.GetValue();
  }
  return a.metric <= b.metric;
}

bool Ip4RouteConfig::ParseGroup(unsigned short vid, const OptionsNode& group) {
  if (group.IsEmpty()) {
    return false;
  }
  vlan = vid;
  interface = TextOf(group, "interface");
  unsigned int number;
  if (!ParseAddress(network, TextOf(group, "network").c_str()) ||
      !ParseAddress(netmask, TextOf(group, "netmask").c_str()) ||
      !ParseAddress(gateway, TextOf(group, "gateway").c_str()) || !ParseMetric(number, group)) {
    return false;
  }
  // Configured metrics are shifted by one unless the operator asks for them as they are. The sum
  // has 8 bits: 255 becomes 0.
  const string mode = TextOf(group, "routemetricmode");
  const bool passThrough = std::strncmp(mode.c_str(), PASS_THROUGH, sizeof PASS_THROUGH - 1) == 0;
  metric = static_cast<unsigned char>(passThrough ? number : number + 1);
  return true;
}

// ---- IPv6

Ip6RouteConfig::Ip6RouteConfig() : vlan(0), metric(DEFAULT_METRIC) {}
Ip6RouteConfig::Ip6RouteConfig(const Ip6RouteConfig& other) = default;
Ip6RouteConfig::Ip6RouteConfig(unsigned short vid, const Ip6Addr& network_,
                               const Ip6Prefix& prefix_, const Ip6Addr& gateway_,
                               unsigned char metric_)
    : vlan(vid), network(network_), prefix(prefix_), gateway(gateway_), metric(metric_) {}
Ip6RouteConfig::~Ip6RouteConfig() = default;

Ip6RouteConfig& Ip6RouteConfig::operator=(const Ip6RouteConfig& other) = default;

bool Ip6RouteConfig::operator==(const Ip6RouteConfig& other) const {
  return SameRoute(*this, other) && metric == other.metric && interface == other.interface;
}

bool Ip6RouteConfig::operator()(const Ip6RouteConfig& other) const {
  return SameRoute(*this, other) && MetricMatches(metric, other.metric);
}

bool Ip6RouteConfig::operator<(const Ip6RouteConfig& other) const { return Compare(*this, other); }

bool Ip6RouteConfig::Compare(const Ip6RouteConfig& a, const Ip6RouteConfig& b) {
  if (const int order = CompareBytes(a.prefix.GetAddress(), b.prefix.GetAddress())) {
    return order < 0;
  }
  if (a.prefix.GetLength() != b.prefix.GetLength()) {
    return a.prefix.GetLength() < b.prefix.GetLength();
  }
  if (const int order = CompareBytes(a.gateway, b.gateway)) {
    return order < 0;
  }
  return a.metric <= b.metric;
}

bool Ip6RouteConfig::ParseGroup(unsigned short vid, const OptionsNode& group) {
  vlan = vid;
  interface = TextOf(group, "interface");
  const string networkText = TextOf(group, "network");
  unsigned int number;
  if (!ParseIp6Address(network, networkText.c_str()) ||
      !ParseIp6Prefix(prefix, networkText.c_str(), TextOf(group, "prefix").c_str()) ||
      !ParseIp6Address(gateway, TextOf(group, "gateway").c_str()) || !ParseMetric(number, group)) {
    return false;
  }
  metric = static_cast<unsigned char>(number);
  return true;
}

}  // namespace Tarsel
