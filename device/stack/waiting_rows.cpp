#include "waiting_rows.h"

#include <algorithm>

namespace routing_stack {

std::size_t WaitingRows::Hash::operator()(const OidWords& words) const {
  constexpr std::uint64_t kStart = 0xCBF29CE484222325;
  constexpr std::uint64_t kFactor = 0x100000001B3;
  std::uint64_t hash = kStart;
  for (const unsigned int word : words) {
    hash = (hash ^ word) * kFactor;
    hash ^= hash >> 32;
  }
  return hash;
}

void WaitingRows::Remove(const Oid& row, std::uint64_t since) {
  const auto found = m_rows.find(WordsOf(row));
  if (found == m_rows.end()) {
    return;
  }
  std::vector<std::uint64_t>& times = found->second;
  const auto time = std::find(times.begin(), times.end(), since);
  if (time != times.end()) {
    times.erase(time);
  }
  if (times.empty()) {
    m_rows.erase(found);
  }
}

std::optional<std::uint64_t> WaitingRows::Since(const Oid& row) const {
  const auto found = m_rows.find(WordsOf(row));
  if (found == m_rows.end()) {
    return std::nullopt;
  }
  return *std::min_element(found->second.begin(), found->second.end());
}

}  // namespace routing_stack
