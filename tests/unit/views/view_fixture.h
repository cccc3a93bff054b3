// A device whose views a test asks for.
#ifndef TESTS_UNIT_VIEWS_VIEW_FIXTURE_H
#define TESTS_UNIT_VIEWS_VIEW_FIXTURE_H

#include <cstdint>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

#include "device/ports/stack_tables.h"
#include "device/views/device_questions.h"
#include "tests/unit/apply/reloader_fixture.h"

namespace views_test {

// Protocols' codes of the stack.
constexpr std::uint32_t OSPF = 13;
constexpr std::uint32_t BGP = 14;

class ViewFixture : public apply_test::ReloaderFixture {
 protected:
  explicit ViewFixture(const Settings& settings = {}) : ReloaderFixture(settings) {}

  /// The whole answer. `between` is called between two pieces.
  static std::string Read(
      views::View& view, const std::function<void()>& between = [] {}) {
    std::string text;
    while (view.Next(text) == views::View::Rest::MORE) {
      between();
    }
    return text;
  }
  std::string Routes(const views::RouteQuery& query, views::Format format = views::Format::TEXT) {
    return Read(*m_questions.Routes(query, format));
  }
  std::string Explain(const views::ExplainQuery& query,
                      views::Format format = views::Format::TEXT) {
    return Read(*m_questions.Explain(query, format));
  }
  /// Of VLAN 10.
  static views::RouteQuery All(bool ip6 = false) {
    views::RouteQuery query;
    query.ip6 = ip6;
    query.vlan = 10;
    return query;
  }

  static std::vector<std::string> Lines(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) {
      lines.push_back(line);
    }
    return lines;
  }

  /// A member of STATIC_ROUTES.
  static std::string Route(const std::string& name, const std::string& network,
                           const std::string& mask, const std::string& rest) {
    return "\"" + name + R"(": {"network": ")" + network + R"(", "netmask": ")" + mask + "\", " +
           rest + "}";
  }
  static std::string Entry(unsigned int vlan, const std::string& routes) {
    return "\"v" + std::to_string(vlan) + R"(": {"vid": )" + std::to_string(vlan) +
           R"(, "STATIC_ROUTES": {)" + routes + "}}";
  }

  /// A protocol's candidate in VLAN 10; the next hop is 10.1.0.`host`.
  void PutCandidate(const char* prefix, std::uint32_t protocol, unsigned char host,
                    std::uint32_t metric = 5) {
    Control().PutCandidate(CandidateOf(prefix, protocol, host, metric));
  }
  static routing_stack::Candidate CandidateOf(const char* prefix, std::uint32_t protocol,
                                              unsigned char host, std::uint32_t metric = 5) {
    const auto read = *views::ReadPrefix(prefix);
    routing_stack::Candidate candidate;
    candidate.instance = 10;
    std::copy(read.address.bytes.begin(), read.address.bytes.end(), candidate.destination);
    candidate.prefixLength = read.length;
    candidate.nextHop[0] = 10;
    candidate.nextHop[1] = 1;
    candidate.nextHop[3] = host;
    candidate.proto = protocol;
    candidate.metric = metric;
    return candidate;
  }

  ports::StackTables m_tables{stack.GetFacts()};
  views::Host m_host{m_turns};
  views::Feed m_feed{m_turns.Get(), [this] { return static_cast<std::int64_t>(m_port.Now()); }};
  views::DeviceQuestions m_questions{{*m_reloader, m_interfaces, m_port, m_tables, m_host, m_feed}};
};

}  // namespace views_test

#endif
