// The numbers that `summary` tells.
#ifndef DEVICE_VIEWS_SUMMARY_COUNTS_H
#define DEVICE_VIEWS_SUMMARY_COUNTS_H

#include <array>
#include <cstddef>
#include <map>
#include <optional>
#include <variant>

#include "leaving_rows.h"
#include "sources.h"

namespace views {

/// Of one VLAN, or of all.
struct SummaryCounts {
  static constexpr std::size_t KINDS = std::variant_size_v<rows::Row>;
  struct Kind {
    std::size_t wanted = 0;
    std::size_t waiting = 0;  // for an answer, to be asked for, or for something that is not there,
                              // those included that are to go
    std::size_t differing = 0;  // from what is wanted, those included that nobody wants
    std::size_t unwanted = 0;   // of both
    std::size_t refused = 0;    // of those that differ: the stack has refused a request

    /// An estimate while removals of routes that differ are asked for again.
    std::size_t CountAsWanted() const;
  };

  std::array<RouteCounts, 2> routes{};  // of IPv4 and of IPv6
  std::array<Kind, KINDS> kinds{};      // in the order of rows::Row
  std::size_t up = 0;                   // interfaces
  std::size_t down = 0;

  void Add(const SummaryCounts& other);
};

/// Names of the kinds, for text and for JSON.
extern const std::array<const char*, SummaryCounts::KINDS> KIND_WORDS;
extern const std::array<const char*, SummaryCounts::KINDS> KIND_KEYS;

/// Collects them in slices of the loop's turns. What changes meanwhile is counted as it was or as
/// it is.
class SummaryCollector {
 public:
  /// How many VLANs, differences and protocols' rows are looked at in a slice.
  static constexpr std::size_t VLANS_A_SLICE = 100;
  static constexpr std::size_t ROWS_A_SLICE = 1000;

  /// Of one VLAN, which is there, or of all.
  SummaryCollector(const Sources& sources, std::optional<unsigned short> vlan)
      : m_sources(sources), m_vlan(vlan), m_leaving(sources) {}

  /// Returns whether there is more to collect.
  bool Continue();
  using All = std::map<unsigned short, SummaryCounts>;
  const All& Get() const { return m_all; }

 private:
  enum class Stage { VLANS, LEAVING, DIFFERENCES, PROTOCOL_ROWS, END };

  bool IsAsked(unsigned short vlan) const { return !m_vlan || *m_vlan == vlan; }
  bool CollectVlans();
  std::optional<unsigned short> FindVlan() const;
  bool CollectLeaving();
  bool CollectDifferences();
  bool CollectProtocolRows();
  void CollectVlan(unsigned short vlan);
  void CollectInstances(unsigned short vlan, SummaryCounts& counts) const;
  void CollectInterfaces(unsigned short vlan, SummaryCounts& counts) const;
  void CollectRules(unsigned short vlan, SummaryCounts& counts) const;
  bool IsWaiting(const rows::Row& row) const;

  const Sources m_sources;
  const std::optional<unsigned short> m_vlan;
  Stage m_stage = Stage::VLANS;
  std::optional<unsigned short> m_lastVlan;
  LeavingRows m_leaving;
  std::optional<rows::Row> m_lastDifference;
  std::optional<rows::ProtocolRow> m_lastRow;
  All m_all;
};

}  // namespace views

#endif
