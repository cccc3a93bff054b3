// A forwarding table that is kept by what the stack tells of its own.
#ifndef TESTS_STACK_FORWARDING_MIRROR_H
#define TESTS_STACK_FORWARDING_MIRROR_H

#include <array>
#include <map>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "device/stack/facts.h"

namespace stack_test {

class ForwardingMirror : public routing_stack::Listener {
 public:
  /// Begins with the table as it is.
  explicit ForwardingMirror(const routing_stack::Facts& facts);

  void Restarted() override { m_rows.clear(); }
  bool WantsForwarding() const override { return true; }
  void ForwardingChanged(routing_stack::ForwardingChange change, const amb_cipr_rtm_route& route,
                         routing_stack::RowType cause) override;

  /// In the order of Facts::Routes(), with the age 0.
  std::vector<amb_cipr_rtm_route> Rows() const;
  /// How many changes of each kind it has heard of, in the order of their enumerators.
  std::array<unsigned long, 3> counts{};
  /// What the changes came from, until somebody empties it.
  std::set<routing_stack::RowType> causes;

 private:
  using Key = std::tuple<std::uint32_t, std::array<unsigned char, 16>, std::uint32_t>;
  static Key KeyOf(const amb_cipr_rtm_route& route);

  std::map<Key, amb_cipr_rtm_route> m_rows;
};

}  // namespace stack_test

#endif
