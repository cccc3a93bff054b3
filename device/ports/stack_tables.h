// The software stack's routing tables, as views ask for them.
#ifndef DEVICE_PORTS_STACK_TABLES_H
#define DEVICE_PORTS_STACK_TABLES_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "device/stack/facts.h"
#include "device/views/tables.h"

namespace ports {

/// Each question is one of the stack's facts; nothing is kept here.
class StackTables final : public views::Tables {
 public:
  /// Borrowed.
  explicit StackTables(const routing_stack::Facts& facts) : m_facts(facts) {}

  std::vector<views::Candidate> ReadCandidates(unsigned short vlan, bool ip6,
                                               const views::Candidate* last,
                                               std::size_t most) const override;
  std::vector<views::Candidate> ReadCandidatesFrom(unsigned short vlan, const views::Prefix& from,
                                                   std::size_t most) const override;
  std::vector<views::Candidate> FindCandidates(unsigned short vlan,
                                               const views::Prefix& prefix) const override;
  std::optional<views::Candidate> FindInstalled(unsigned short vlan,
                                                const views::Prefix& prefix) const override;
  std::optional<views::Prefix> FindLongest(unsigned short vlan, const views::Address& address,
                                           bool isInstalled) const override;
  views::RouteCounts Count(unsigned short vlan, bool ip6) const override;
  views::RouteCounts CountAll() const override;
  std::vector<views::HandedOn> ReadHandedOn(unsigned short vlan, bool ip6) const override;
  unsigned int CountRestarts() const override { return m_facts.CountRestarts(); }
  std::uint64_t CountRequests() const override { return m_facts.CountRequests(); }

 private:
  const routing_stack::Facts& m_facts;
};

}  // namespace ports

#endif
