#include "protocol_row_keeper.h"

#include <utility>

namespace apply {

bool ProtocolRowKeeper::ContinuePass(std::size_t most, const Found& found) {
  for (std::size_t seen = 0; seen < most; ++seen) {
    std::optional<ProtocolRow> row = m_port.Next(m_last ? &*m_last : nullptr);
    if (!row) {
      return false;
    }
    const Standing standing = m_port.Look(*row);
    if (standing.kind != Standing::Kind::EQUAL) {
      found(*row, standing);
    }
    m_last = std::move(row);
  }
  return true;
}

Standing ProtocolRowKeeper::Look(const Row& row) const {
  return m_port.Look(std::get<ProtocolRow>(row));
}

void ProtocolRowKeeper::AskAgain(const Row& row) { m_port.AskAgain(std::get<ProtocolRow>(row)); }

}  // namespace apply
