#include "name_set.h"

#include <algorithm>
#include <tuple>

#include "digest.h"

namespace documents {

void NameSet::Clear() {
  m_entries.clear();
  m_last.clear();
  m_isAscending = true;
}

void NameSet::Add(std::string_view name, std::size_t offset) {
  m_isAscending = m_isAscending && (m_entries.empty() || m_last < name);
  m_last = name;
  m_entries.push_back({DigestOf(name), offset});
}

std::vector<std::size_t> NameSet::FindDoubled() {
  std::vector<std::size_t> doubled;
  if (m_isAscending) {
    return doubled;
  }
  std::sort(m_entries.begin(), m_entries.end(), [](const Entry& a, const Entry& b) {
    return std::tie(a.digest, a.offset) < std::tie(b.digest, b.offset);
  });
  for (std::size_t i = 1; i < m_entries.size(); ++i) {
    if (m_entries[i].digest == m_entries[i - 1].digest) {
      doubled.push_back(m_entries[i].offset);
    }
  }
  std::sort(doubled.begin(), doubled.end());
  return doubled;
}

}  // namespace documents
