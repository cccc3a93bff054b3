#include "protocol_row_keeper.h"

#include <utility>

#include "vantacore/dc_rtm_mgr.h"

namespace apply {

bool ProtocolRowKeeper::ContinuePass(std::size_t most, const Found& found) {
  for (std::size_t seen = 0; seen < most; ++seen) {
    std::optional<ProtocolRow> row = m_port.Next(m_last ? &*m_last : nullptr);
    if (!row) {
      return false;
    }
    const Standing standing = Look(*row);
    if (standing.kind != Standing::Kind::EQUAL) {
      found(*row, standing);
    }
    m_last = std::move(row);
  }
  return true;
}

Standing ProtocolRowKeeper::Look(const Row& anyRow) const {
  const ProtocolRow& row = std::get<ProtocolRow>(anyRow);
  const Standing standing = m_port.Look(row);
  return standing.kind == Standing::Kind::UNWANTED && GoesWithItsVlan(row) ? Standing() : standing;
}

bool ProtocolRowKeeper::GoesWithItsVlan(const ProtocolRow& row) const {
  const auto instance = static_cast<unsigned short>(row.instance);
  return m_leaving.count(VlanOf(row)) != 0 ||
         !Tarsel::DcRtmMgr::GetInstance()->HasRtmRecord(instance);
}

void ProtocolRowKeeper::AskAgain(const Row& row) { m_port.AskAgain(std::get<ProtocolRow>(row)); }

}  // namespace apply
