#include <new>

#include "host/dc_console.h"
#include "item_identifier.h"
#include "redistribution_destination.h"
#include "src/pipeline/queues.h"
#include "stack/sms.h"
#include "vantacore/cfg_items.h"
#include "vantacore/dc_rtm_mgr.h"
#include "vantacore/mib_action.h"
#include "vantacore/serializer.h"

namespace Tarsel {

namespace {

// Table, instance, source and destination.
static_assert(IsFetchedAhead<RouteRedistributeItem>(4));

void BuildOid(MibOid& oid, std::uint32_t instance, std::int32_t source, std::int32_t destination) {
  unsigned int subIds[SMS_OID_MAX];
  const unsigned int count = sms_set_cipr_redist_oid(
      subIds, instance, static_cast<unsigned int>(source), static_cast<unsigned int>(destination));
  oid.SetOid(subIds, count);
}

}  // namespace

RouteRedistributeItem::RouteRedistributeItem() : RouteRedistributeItem(0, 0, 0, 0, 0, 1, 0) {}

RouteRedistributeItem::RouteRedistributeItem(int rowStatus, int adminStatus, int source,
                                             int destination, int priority, unsigned int vlan,
                                             unsigned int extra)
    : m_rowStatus(rowStatus),
      m_adminStatus(adminStatus),
      m_source(source),
      m_destination(destination),
      m_priority(priority),
      m_instance(vlan),
      m_extra(extra) {}

bool RouteRedistributeItem::CfgListReady() {
  const DcRtmMgr* rtm = DcRtmMgr::GetInstance();
  // The rule's instance unchanged, including the IPv6 bit.
  return rtm != nullptr && rtm->IsRtmReady(static_cast<unsigned short>(m_instance));
}

bool RouteRedistributeItem::CfgItemReady() {
  const bool isIp6 = (m_instance & DcRtmMgr::IP6_INSTANCE_BIT) != 0;
  return IsDestinationReady(VlanOfInstance(m_instance), m_destination, isIp6);
}

bool RouteRedistributeItem::RemoveOnNotReady() const {
  const DcRtmMgr* rtm = DcRtmMgr::GetInstance();
  return rtm != nullptr && rtm->HasRtmRecord(static_cast<unsigned short>(m_instance));
}

const MibOid& RouteRedistributeItem::GetOid() {
  if (!IsBuilt(m_oid)) {
    BuildOid(m_oid, m_instance, m_source, m_destination);
  }
  return m_oid;
}

void RouteRedistributeItem::Send() {
  MibAction* action = new (std::nothrow) RedistAction(
      m_rowStatus, m_adminStatus, m_source, m_destination, m_priority, m_instance, m_extra);
  if (action == nullptr) {
    return;
  }
  // The stack is asked again on purpose: the kept identifier is for the scheduler's searches only.
  MibOid oid;
  BuildOid(oid, m_instance, m_source, m_destination);
  CurrentSerializer()->Insert(oid, action);
  SetActionState(ISSUED);
}

void RouteRedistributeItem::PrintItem(DcConsole* console) const {
  console->Print(
      "RedistItem: Instance(%d) Dest(0x%x) Src(0x%x) Priority(0x%x) RowStatus(%d) AdminStatus(%d) "
      "ActionState(%s) ReasonCode(%d)\n",
      static_cast<int>(m_instance), static_cast<unsigned int>(m_destination),
      static_cast<unsigned int>(m_source), static_cast<unsigned int>(m_priority), m_rowStatus,
      m_adminStatus, StateText(GetActionState()), static_cast<int>(GetReasonCode()));
}

}  // namespace Tarsel
