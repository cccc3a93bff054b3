#include "forwarding_mirror.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace stack_test {

using routing_stack::ForwardingChange;
using routing_stack::RowType;

ForwardingMirror::ForwardingMirror(const routing_stack::Facts& facts) {
  for (const amb_cipr_rtm_route& route : facts.Routes()) {
    m_rows[KeyOf(route)] = route;
  }
}

ForwardingMirror::Key ForwardingMirror::KeyOf(const amb_cipr_rtm_route& route) {
  std::array<unsigned char, 16> destination;
  std::copy(route.destination, route.destination + 16, destination.begin());
  return {route.instance, destination, route.prefix_length};
}

void ForwardingMirror::ForwardingChanged(ForwardingChange change, const amb_cipr_rtm_route& route,
                                         RowType cause) {
  ++counts[static_cast<std::size_t>(change)];
  causes.insert(cause);
  const Key key = KeyOf(route);
  EXPECT_EQ(m_rows.count(key), change == ForwardingChange::kCame ? 0u : 1u);
  if (change == ForwardingChange::kGone) {
    m_rows.erase(key);
  } else {
    m_rows[key] = route;
  }
}

std::vector<amb_cipr_rtm_route> ForwardingMirror::Rows() const {
  std::vector<amb_cipr_rtm_route> rows;
  for (const auto& row : m_rows) {
    rows.push_back(row.second);
    rows.back().age = 0;
  }
  return rows;
}

}  // namespace stack_test
