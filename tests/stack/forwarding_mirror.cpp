#include "forwarding_mirror.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace stack_test {

using routing_stack::ForwardingChange;
using routing_stack::RowType;

ForwardingMirror::ForwardingMirror(const routing_stack::Facts& facts) {
  for (const amb_cipr_rtm_route& route : facts.Routes()) {
    routing_stack::RoutePrefix prefix;
    std::copy(route.destination, route.destination + 16, prefix.destination);
    prefix.length = route.prefix_length;
    m_rows[KeyOf(route)] = {route, facts.NextHopsBeside(route.instance, prefix)};
  }
}

ForwardingMirror::Key ForwardingMirror::KeyOf(const amb_cipr_rtm_route& route) {
  std::array<unsigned char, 16> destination;
  std::copy(route.destination, route.destination + 16, destination.begin());
  return {route.instance, destination, route.prefix_length};
}

void ForwardingMirror::ForwardingChanged(ForwardingChange change, const amb_cipr_rtm_route& route,
                                         const std::vector<routing_stack::NextHopBeside>& beside,
                                         RowType cause) {
  ++counts[static_cast<std::size_t>(change)];
  causes.insert(cause);
  const Key key = KeyOf(route);
  EXPECT_EQ(m_rows.count(key), change == ForwardingChange::kCame ? 0u : 1u);
  if (change == ForwardingChange::kGone) {
    m_rows.erase(key);
  } else {
    m_rows[key] = {route, beside};
  }
}

std::vector<amb_cipr_rtm_route> ForwardingMirror::Rows() const {
  std::vector<amb_cipr_rtm_route> rows;
  for (const auto& row : m_rows) {
    rows.push_back(row.second.route);
    rows.back().age = 0;
  }
  return rows;
}

std::vector<std::vector<std::string>> ForwardingMirror::Beside() const {
  std::vector<std::vector<std::string>> all;
  for (const auto& row : m_rows) {
    std::vector<std::string>& texts = all.emplace_back();
    for (const routing_stack::NextHopBeside& hop : row.second.beside) {
      texts.push_back(NextHopText(hop.nextHop, hop.ifIndex));
    }
  }
  return all;
}

std::string NextHopText(const unsigned char* address, unsigned int ifIndex) {
  constexpr char kDigits[] = "0123456789abcdef";
  std::string text;
  for (int i = 0; i < 16; ++i) {
    text += kDigits[address[i] >> 4];
    text += kDigits[address[i] & 15];
  }
  return text + " " + std::to_string(ifIndex);
}

}  // namespace stack_test
