#include "vantacore/mib_oid.h"

#include <algorithm>
#include <cstring>

namespace Tarsel {

MibOid::MibOid() : m_subIds(), m_length(0) {}

MibOid::MibOid(const unsigned int* oid, unsigned int len)
    : m_subIds(), m_length(std::min(len, MAX_LENGTH)) {
  std::copy_n(oid, m_length, m_subIds);
}

void MibOid::SetOid(const unsigned int* oid, unsigned int len) {
  m_length = len;
  if (oid == nullptr) {
    return;
  }
  m_length = std::min(len, MAX_LENGTH);
  std::copy_n(oid, m_length, m_subIds);
}

bool MibOid::operator==(const MibOid& other) const {
  return m_length == other.m_length &&
         std::memcmp(m_subIds, other.m_subIds, GetUsableLength() * sizeof m_subIds[0]) == 0;
}

string MibOid::ToString() const {
  string text;
  for (unsigned int i = 0; i < GetUsableLength(); ++i) {
    text.AppendFmt(i == 0 ? "%lu" : ":%lu", static_cast<unsigned long>(m_subIds[i]));
  }
  return text;
}

bool OidCompare::operator()(const MibOid& a, const MibOid& b) const {
  const unsigned int common = std::min(a.GetUsableLength(), b.GetUsableLength());
  for (unsigned int i = 0; i < common; ++i) {
    if (a.GetSubIds()[i] != b.GetSubIds()[i]) {
      return a.GetSubIds()[i] < b.GetSubIds()[i];
    }
  }
  // The stored lengths, not the usable ones, so that equivalence here is equality there.
  return a.GetLength() < b.GetLength();
}

}  // namespace Tarsel
