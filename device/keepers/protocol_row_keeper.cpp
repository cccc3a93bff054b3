#include "protocol_row_keeper.h"

#include <utility>

#include "vantacore/dc_rtm_mgr.h"

namespace keepers {

bool ProtocolRowKeeper::ContinuePass(std::size_t most, const Found& found) {
  for (std::size_t seen = 0; seen < most; ++seen) {
    std::optional<rows::ProtocolRow> row = m_port.Next(m_last ? &*m_last : nullptr);
    if (!row) {
      return false;
    }
    const rows::Standing standing = Look(*row);
    if (standing.kind != rows::Standing::Kind::EQUAL) {
      found(*row, standing);
    }
    m_last = std::move(row);
  }
  return true;
}

rows::Standing ProtocolRowKeeper::Look(const rows::Row& anyRow) const {
  const rows::ProtocolRow& row = std::get<rows::ProtocolRow>(anyRow);
  const rows::Standing standing = m_port.Look(row);
  return standing.kind == rows::Standing::Kind::UNWANTED && GoesWithItsVlan(row) ? rows::Standing()
                                                                                 : standing;
}

bool ProtocolRowKeeper::GoesWithItsVlan(const rows::ProtocolRow& row) const {
  const auto instance = static_cast<unsigned short>(row.instance);
  return m_leaving.count(rows::VlanOf(row)) != 0 ||
         !Tarsel::DcRtmMgr::GetInstance()->HasRtmRecord(instance);
}

void ProtocolRowKeeper::AskAgain(const rows::Row& row) {
  m_port.AskAgain(std::get<rows::ProtocolRow>(row));
}

}  // namespace keepers
