#include "vantacore/cfg_sched.h"

#include "cfg_bucket.h"

namespace Tarsel {

CfgItem::CfgItem() : m_reasonCode(0), m_actionState(NEW), m_retryCount(0) {}

CfgItem::~CfgItem() = default;

void CfgItem::SetInMib(bool, unsigned int) {}

bool CfgItem::Replace(void*) { return true; }

bool CfgItem::RemoveOnNotReady() const { return false; }

void CfgItem::SetActionState(ACTION_ITEM_STATE state) {
  m_actionState = state;
  if (state == NEW) {
    CfgBucket::NoteNewItem();
  }
}

void CfgItem::SetReasonCode(unsigned long code) { m_reasonCode = static_cast<std::uint32_t>(code); }

bool CfgItem::IsInFlight(unsigned int, unsigned int) const { return false; }

const char* CfgItem::StateText(ACTION_ITEM_STATE state) {
  switch (state) {
    case NEW:
      return "New";
    case ISSUED:
      return "Issued";
    default:
      return "Invalid";
  }
}

}  // namespace Tarsel
