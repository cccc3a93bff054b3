#include "routes_builder.h"

#include <algorithm>
#include <utility>

#include "device/program/printable.h"
#include "text_positions.h"

namespace documents {

namespace {

constexpr std::uint32_t MAX_METRIC = 255;  // the library keeps eight bits
constexpr std::string_view PASS_THROUGH = "passthrough";

// Clears the bits after the first `length`. Returns whether any was set.
bool ClearHostBits(std::array<unsigned char, 16>& bytes, unsigned int length) {
  bool wasSet = false;
  for (unsigned int i = length / 8; i < bytes.size(); ++i) {
    const unsigned int kept = length > i * 8 ? length - i * 8 : 0;
    const auto host = static_cast<unsigned char>(0xFFu >> kept);
    wasSet = wasSet || (bytes[i] & host) != 0;
    bytes[i] = static_cast<unsigned char>(bytes[i] & ~host);
  }
  return wasSet;
}

}  // namespace

// ---- entries and lists

void RoutesBuilder::BeginEntry() { m_firstOfEntry = m_result.m_routes.size(); }

void RoutesBuilder::EndEntry(const unsigned short* vlan) {
  if (vlan == nullptr) {
    m_result.m_routes.resize(m_firstOfEntry);
    return;
  }
  for (std::size_t i = m_firstOfEntry; i < m_result.m_routes.size(); ++i) {
    m_result.m_routes[i].target.vlan = *vlan;
  }
}

void RoutesBuilder::BeginList(std::string path, bool isArray, bool ip6) {
  m_result.m_names.AddList(std::move(path), isArray);
  m_ip6 = ip6;
}

// ---- one route

void RoutesBuilder::BeginRoute(std::string_view name, std::size_t index, std::size_t offset) {
  m_draft = Draft();
  m_draft.offset = offset;
  m_draft.route.target.ip6 = m_ip6;
  m_draft.route.element = m_result.m_names.Add(name, static_cast<std::uint32_t>(index));
}

void RoutesBuilder::Take(const Member& member, const Scalar& scalar, const Value& value,
                         std::size_t offset) {
  RouteTarget& target = m_draft.route.target;
  switch (member.kind) {
    case Kind::IP4_MASK:
    case Kind::PREFIX_LENGTH:
      target.length = static_cast<unsigned char>(value.number);
      break;
    case Kind::DIGITS:
      m_draft.metric = value.number;
      m_draft.metricOffset = offset;
      break;
    case Kind::TEXT:
      TakeText(member, scalar, offset);
      break;
    default:
      if (std::string_view(member.name) == "gateway") {
        target.gateway = value.address;
      } else {
        target.destination = value.address;
        m_draft.networkOffset = offset;
      }
  }
}

void RoutesBuilder::TakeText(const Member& member, const Scalar& scalar, std::size_t offset) {
  if (std::string_view(member.name) == "interface") {
    m_draft.route.interface = NumberOf(scalar.text);
  } else {
    m_draft.hasMode = true;
    m_draft.modeOffset = offset;
    m_draft.passesThrough = scalar.text.substr(0, PASS_THROUGH.size()) == PASS_THROUGH;
    m_draft.wrongMode = m_draft.passesThrough ? std::string_view() : scalar.text;
  }
}

// Numbers in the order in which the names come, until all are known.
std::uint32_t RoutesBuilder::NumberOf(std::string_view interface) {
  if (interface.empty()) {
    return 0;
  }
  const auto known = m_interfaceNumbers.find(interface);
  if (known != m_interfaceNumbers.end()) {
    return known->second;
  }
  const auto number = static_cast<std::uint32_t>(m_interfaceNumbers.size() + 1);
  m_interfaceNumbers.emplace(interface, number);
  return number;
}

void RoutesBuilder::EndRoute(const Outcome& outcome) {
  if (!outcome.isComplete || !outcome.isFaultless || !Judge()) {
    return;
  }
  // The offset has the place of the position until all routes have been read.
  m_draft.route.position = {static_cast<std::uint32_t>(m_draft.offset), 0};
  m_result.m_routes.push_back(m_draft.route);
}

bool RoutesBuilder::Judge() {
  const bool hasNetwork = JudgeHostBits();
  return JudgeMetric() && hasNetwork;
}

bool RoutesBuilder::JudgeHostBits() {
  RouteTarget& target = m_draft.route.target;
  const auto written = target.destination;
  if (!ClearHostBits(target.destination, target.length)) {
    return true;
  }
  Complain(Severity::ERROR, m_draft.networkOffset, "network",
           "host bits are set, expected " + AddressText(m_ip6, target.destination) +
               " for a length of " + std::to_string(target.length) + ", found " +
               AddressText(m_ip6, written));
  return false;
}

// An IPv4 metric becomes one more than written, in eight bits.
bool RoutesBuilder::JudgeMetric() {
  if (m_draft.hasMode && !m_draft.passesThrough) {
    Complain(Severity::WARNING, m_draft.modeOffset, "routemetricmode",
             "a word without meaning, expected a text that begins with \"passthrough\", found " +
                 program::Quote(m_draft.wrongMode));
  }
  const bool grows = !m_ip6 && !m_draft.passesThrough;
  if (grows && m_draft.metric == MAX_METRIC) {
    Complain(Severity::ERROR, m_draft.metricOffset, "metric",
             "a metric that would become 0, expected at most 254 without a routemetricmode of "
             "\"passthrough\", found 255");
    return false;
  }
  m_draft.route.metric = static_cast<std::uint16_t>(m_draft.metric + (grows ? 1 : 0));
  return true;
}

void RoutesBuilder::Complain(Severity severity, std::size_t offset, const char* member,
                             const std::string& problem) {
  if (m_findings.Wants(severity, offset)) {
    m_findings.Add(severity, offset,
                   MemberPath(m_result.m_names.PathOf(m_draft.route.element), member), problem);
  }
}

// ---- all routes

Routes RoutesBuilder::Finish(std::string_view text) {
  SortInterfaces();
  Sort();
  DropDoubled();
  FindPositions(text);
  m_result.m_routes.shrink_to_fit();
  m_result.m_names.ShrinkToFit();
  return std::move(m_result);
}

void RoutesBuilder::FindPositions(std::string_view text) {
  auto& routes = m_result.m_routes;
  const auto isBefore = [](const Route* a, const Route* b) {
    return a->position.line < b->position.line;
  };
  std::vector<Route*> inText;
  inText.reserve(routes.size());
  for (Route& route : routes) {
    inText.push_back(&route);
  }
  if (!std::is_sorted(inText.begin(), inText.end(), isBefore)) {
    std::sort(inText.begin(), inText.end(), isBefore);
  }
  TextPositions positions(text);
  for (Route* const route : inText) {
    route->position = positions.Find(route->position.line);
  }
}

// Afterwards the order of the numbers is that of the names.
void RoutesBuilder::SortInterfaces() {
  std::vector<std::uint32_t> sorted(m_interfaceNumbers.size() + 1);
  for (const auto& [name, number] : m_interfaceNumbers) {
    sorted[number] = static_cast<std::uint32_t>(m_result.m_interfaces.size());
    m_result.m_interfaces.push_back(name);
  }
  for (Route& route : m_result.m_routes) {
    route.interface = sorted[route.interface];
  }
}

void RoutesBuilder::Sort() {
  const auto isBefore = [](const Route& a, const Route& b) {
    return a.target == b.target ? a.interface < b.interface : a.target < b.target;
  };
  auto& routes = m_result.m_routes;
  if (!std::is_sorted(routes.begin(), routes.end(), isBefore)) {
    std::stable_sort(routes.begin(), routes.end(), isBefore);
  }
}

// Of each route that stands several times the one that comes first in its list stays.
void RoutesBuilder::DropDoubled() {
  auto& routes = m_result.m_routes;
  std::size_t kept = 0;
  for (std::size_t i = 0, end = 0; i < routes.size(); i = end) {
    std::size_t first = i;
    for (end = i + 1; end < routes.size() && routes[end].target == routes[i].target &&
                      routes[end].interface == routes[i].interface;
         ++end) {
      first = m_result.m_names.ComesFirst(routes[end].element, routes[first].element) ? end : first;
    }
    for (std::size_t other = i; other < end; ++other) {
      if (routes[other].metric != routes[first].metric) {
        TellDoubled(routes[other], routes[first]);
      }
    }
    routes[kept++] = routes[first];
  }
  routes.resize(kept);
}

void RoutesBuilder::TellDoubled(const Route& route, const Route& other) {
  if (!m_findings.Wants(Severity::ERROR, route.position.line)) {
    return;
  }
  m_findings.Add(Severity::ERROR, route.position.line, m_result.m_names.PathOf(route.element),
                 "one route with two metrics, expected " + std::to_string(other.metric) +
                     " in force as from " + m_result.m_names.PathOf(other.element) + ", found " +
                     std::to_string(route.metric));
}

}  // namespace documents
