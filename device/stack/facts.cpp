// The tables as rows.

#include "facts.h"

#include "engine.h"
#include "redistributed.h"

namespace routing_stack {

std::vector<amb_stubs_i3_ei> Facts::Interfaces() const {
  std::vector<amb_stubs_i3_ei> rows;
  for (const auto& [key, row] : m_engine.GetTables().Interfaces()) {
    rows.push_back(ToRow(key, row));
  }
  return rows;
}

std::vector<amb_stubs_i3_ea> Facts::Addresses() const {
  std::vector<amb_stubs_i3_ea> rows;
  for (const auto& [key, row] : m_engine.GetTables().Addresses()) {
    rows.push_back(ToRow(key, row));
  }
  return rows;
}

std::vector<amb_cipr_rtm_rib> Facts::Rib() const {
  std::vector<amb_cipr_rtm_rib> rows;
  const std::uint64_t now = m_engine.Now();
  for (const auto& [id, instance] : m_engine.GetTables().Instances()) {
    instance.rib.VisitAfter(nullptr, [&rows, now, id = id](const RibEntry& entry) {
      rows.push_back(ToRibRow(id, entry, now));
      return true;
    });
  }
  return rows;
}

std::vector<amb_cipr_rtm_route> Facts::Routes() const {
  std::vector<amb_cipr_rtm_route> rows;
  const std::uint64_t now = m_engine.Now();
  for (const auto& [id, instance] : m_engine.GetTables().Instances()) {
    for (const RibEntry* entry = instance.rib.InstalledAfter(nullptr); entry != nullptr;) {
      rows.push_back(ToRouteRow(id, *entry, now));
      const Prefix prefix = entry->GetPrefix();
      entry = instance.rib.InstalledAfter(&prefix);
    }
  }
  return rows;
}

std::vector<RedistributionRow> Facts::Redistributions() const {
  std::vector<RedistributionRow> rows;
  for (const auto& row : m_engine.GetTables().Redistributions()) {
    rows.push_back({row.first.instance, row.first.source, row.first.destination, row.second == 1});
  }
  return rows;
}

std::vector<amb_cipr_rtm_route> Facts::Redistributed(std::uint32_t instance,
                                                     std::uint32_t destination) const {
  std::vector<amb_cipr_rtm_route> rows;
  amb_cipr_rtm_route row;
  const amb_cipr_rtm_route* previous = nullptr;
  while (NextRedistributed(m_engine.GetTables(), m_engine.Now(), instance, destination, previous,
                           &row)) {
    rows.push_back(row);
    previous = &row;
  }
  return rows;
}

std::vector<std::uint32_t> Facts::Instances() const {
  std::vector<std::uint32_t> ids;
  for (const auto& instance : m_engine.GetTables().Instances()) {
    ids.push_back(instance.first);
  }
  return ids;
}

bool Facts::IsReady() const { return m_engine.IsReady(); }
unsigned int Facts::CountRestarts() const { return m_engine.CountRestarts(); }
bool Facts::IsHeld() const { return m_engine.IsHeld(); }
bool Facts::HasWork() const { return m_engine.HasWork(); }

// An instance is announced as soon as it is in the table.
bool Facts::IsReady(std::uint32_t instance) const {
  return m_engine.GetTables().FindInstance(instance) != nullptr;
}

std::uint64_t Facts::CountRequests() const { return m_engine.Calls().CountRequests(); }
bool Facts::HasUnfinished() const { return m_engine.HasUnfinished(); }

bool Facts::IsUnfinished(const RowName& row) const {
  return HasUnfinished() && UnfinishedSince(row).has_value();
}

std::optional<std::uint64_t> Facts::UnfinishedSince(const RowName& row) const {
  return m_engine.UnfinishedSince(OidOf(row));
}

std::vector<RunningWalk> Facts::Walks() const { return m_engine.GetWalks().List(); }
unsigned int Facts::LastWalk() const { return m_engine.GetWalks().Last(); }

}  // namespace routing_stack
