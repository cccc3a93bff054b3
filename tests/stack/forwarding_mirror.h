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
                         const std::vector<routing_stack::NextHopBeside>& beside,
                         routing_stack::RowType cause) override;

  /// In the order of Facts::Routes(), with the age 0.
  std::vector<amb_cipr_rtm_route> Rows() const;
  /// What stands beside each of them, as texts: a next hop's address in hexadecimal digits, and its
  /// interface.
  std::vector<std::vector<std::string>> Beside() const;
  /// How many changes of each kind it has heard of, in the order of their enumerators.
  std::array<unsigned long, 3> counts{};
  /// What the changes came from, until somebody empties it.
  std::set<routing_stack::RowType> causes;

 private:
  using Key = std::tuple<std::uint32_t, std::array<unsigned char, 16>, std::uint32_t>;
  static Key KeyOf(const amb_cipr_rtm_route& route);

  struct Row {
    amb_cipr_rtm_route route;
    std::vector<routing_stack::NextHopBeside> beside;
  };
  std::map<Key, Row> m_rows;
};

/// "0a010202... 3", so too.
std::string NextHopText(const unsigned char* address, unsigned int ifIndex);

}  // namespace stack_test

#endif
