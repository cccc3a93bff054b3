// The tables of a stack that tells nothing of them.
#ifndef DEVICE_VIEWS_NO_TABLES_H
#define DEVICE_VIEWS_NO_TABLES_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "tables.h"

namespace views {

/// Where a host begins whose stack cannot be asked: views show what is wanted and asked. Each
/// question that its stack can answer is overridden.
class NoTables : public Tables {
 public:
  std::vector<Candidate> ReadCandidates(unsigned short, bool, const Candidate*,
                                        std::size_t) const override {
    return {};
  }
  std::vector<Candidate> ReadCandidatesFrom(unsigned short, const Prefix&,
                                            std::size_t) const override {
    return {};
  }
  std::vector<Candidate> FindCandidates(unsigned short, const Prefix&) const override { return {}; }
  std::optional<Candidate> FindInstalled(unsigned short, const Prefix&) const override {
    return std::nullopt;
  }
  std::optional<Prefix> FindLongest(unsigned short, const Address&, bool) const override {
    return std::nullopt;
  }
  RouteCounts Count(unsigned short, bool) const override { return {}; }
  RouteCounts CountAll() const override { return {}; }
  std::vector<HandedOn> ReadHandedOn(unsigned short, bool) const override { return {}; }
  unsigned int CountRestarts() const override { return 0; }
  std::uint64_t CountRequests() const override { return 0; }
};

}  // namespace views

#endif
