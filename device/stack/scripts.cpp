#include "scripts.h"

namespace routing_stack {

namespace {

constexpr std::uint32_t kVlanBits = 0x7FFF;

// An identifier begins with its table, then has the instance; a protocol's number comes in between.
std::uint32_t VlanOf(RowType type, const Oid& oid) {
  return oid.words[type == RowType::kProtocol ? 2 : 1] & kVlanBits;
}

}  // namespace

void Scripts::Add(RowType type, const Answer& answer, unsigned int times) {
  if (times != 0) {
    m_types[static_cast<std::size_t>(type)].push_back({answer, times});
  }
}

void Scripts::AddRow(const unsigned int* oid, unsigned int length, const Answer& answer,
                     unsigned int times) {
  if (oid != nullptr && times != 0) {
    m_rows[std::vector<unsigned int>(oid, oid + length)].push_back({answer, times});
  }
}

void Scripts::AddVlan(RowType type, std::uint32_t vlan, const Answer& answer, unsigned int times) {
  if (times != 0) {
    m_vlans[{type, vlan}].push_back({answer, times});
  }
}

void Scripts::Clear() {
  m_types = {};
  m_vlans.clear();
  m_rows.clear();
}

bool Scripts::Concerns(RowType type) const {
  const auto vlans = m_vlans.lower_bound({type, 0});
  return !m_rows.empty() || !m_types[static_cast<std::size_t>(type)].empty() ||
         (vlans != m_vlans.end() && vlans->first.first == type);
}

bool Scripts::Take(RowType type, const Oid& oid, Answer* answer) {
  const auto row = m_rows.find(std::vector<unsigned int>(oid.words, oid.words + oid.length));
  if (row != m_rows.end()) {
    TakeFirst(row->second, answer);
    if (row->second.empty()) {
      m_rows.erase(row);
    }
    return true;
  }
  const auto vlan = m_vlans.find({type, VlanOf(type, oid)});
  if (vlan != m_vlans.end()) {
    TakeFirst(vlan->second, answer);
    if (vlan->second.empty()) {
      m_vlans.erase(vlan);
    }
    return true;
  }
  return TakeFirst(m_types[static_cast<std::size_t>(type)], answer);
}

bool Scripts::TakeFirst(Entries& entries, Answer* answer) {
  if (entries.empty()) {
    return false;
  }
  *answer = entries.front().answer;
  if (--entries.front().times == 0) {
    entries.pop_front();
  }
  return true;
}

}  // namespace routing_stack
