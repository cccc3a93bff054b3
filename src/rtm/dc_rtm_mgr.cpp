// RTM instances.
//
// The routing stack runs one Routing Table Manager entity per protocol instance: the VLAN id names
// a VLAN's IPv4 instance, the VLAN id with IP6_INSTANCE_BIT its IPv6 one. The manager keeps one
// record for each: its settings, which come from the VLAN's document, and its ready flag, which
// only the stack sets. A record appears with the instance, or earlier when the stack reports an
// instance ready that nobody has created, and goes with the instance. The settings may change in
// between; the ready flag then stays.
//
// A record exists before its row is sent, so the stack may ask for it, or report it ready, from
// inside that call.

#include "vantacore/dc_rtm_mgr.h"

#include <new>

#include "src/values/instance.h"
#include "src/values/row_codes.h"
#include "stack/sms.h"
#include "tarsel/trace.h"

namespace Tarsel {

namespace {

// Words of the entity row.
enum EntityWord {
  WORD_INSTANCE = 0,
  WORD_ROW_STATUS = 1,
  WORD_ADMIN_STATUS = 2,
  WORD_OSPF_INTERNAL = 6,
  WORD_OSPF_EXTERNAL = 7,
  WORD_BGP_FIRST = 8,
  WORD_BGP_SECOND = 9,
  WORD_RIP = 14,
  WORD_DEAD_TIMER = 28,
  WORD_FAMILY = 30
};

// The distances in the order in which the document is read.
struct DistanceKey {
  const char* name;
  std::uint32_t DcRtmMgr::RTMData::*field;
};
constexpr DistanceKey DISTANCES[] = {
    {"ospfv2_internal", &DcRtmMgr::RTMData::ospfv2_internal},
    {"ospfv2_external", &DcRtmMgr::RTMData::ospfv2_external},
    {"ospfv3_internal", &DcRtmMgr::RTMData::ospfv3_internal},
    {"ospfv3_external", &DcRtmMgr::RTMData::ospfv3_external},
    {"ripv2", &DcRtmMgr::RTMData::ripv2},
    {"ripng", &DcRtmMgr::RTMData::ripng},
    {"ebgp", &DcRtmMgr::RTMData::ebgp},
    {"ibgp", &DcRtmMgr::RTMData::ibgp},
};

bool HasSameSettings(DcRtmMgr::RTMData const& a, DcRtmMgr::RTMData const& b) {
  for (const DistanceKey& key : DISTANCES) {
    if (a.*key.field != b.*key.field) {
      return false;
    }
  }
  return a.dead_rpm_timer == b.dead_rpm_timer;
}

// What the two writers of the row have in common; they order the BGP distances differently.
amb_cipr_rtm_entity MakeActiveRow(unsigned short instance, bool ipv6,
                                  DcRtmMgr::RTMData const& data) {
  amb_cipr_rtm_entity row = {};
  row.word[WORD_INSTANCE] = instance;
  row.word[WORD_ROW_STATUS] = ROW_ACTIVE;
  row.word[WORD_ADMIN_STATUS] = ADMIN_UP;
  row.word[WORD_OSPF_INTERNAL] = ipv6 ? data.ospfv3_internal : data.ospfv2_internal;
  row.word[WORD_OSPF_EXTERNAL] = ipv6 ? data.ospfv3_external : data.ospfv2_external;
  row.word[WORD_RIP] = ipv6 ? data.ripng : data.ripv2;
  row.word[WORD_DEAD_TIMER] = data.dead_rpm_timer;
  return row;
}

}  // namespace

const char* const DcRtmMgr::__class__ = "DcRtmMgr";
DcRtmMgr* DcRtmMgr::m_instance = nullptr;

DcRtmMgr::DcRtmMgr() = default;

DcRtmMgr::~DcRtmMgr() = default;

DcRtmMgr* DcRtmMgr::GetInstance() {
  if (m_instance == nullptr) {
    m_instance = new (std::nothrow) DcRtmMgr;
    if (m_instance == nullptr) {
      TRACE(0, "%s::%s: Error in allocating DcRtmMgr\n", __class__, "GetInstance");
    }
  }
  return m_instance;
}

unsigned short DcRtmMgr::GetDclProtocolInstanceIdFromVlan(unsigned short vlan, int proto) {
  static_assert(IP6_INSTANCE_BIT == IP6_INSTANCE, "both name the same bit");
  return InstanceOfVlan(vlan, proto == PROTO_IPV6);
}

bool DcRtmMgr::UpdateRtmConfig(unsigned short vlan, OptionsNode const& node,
                               DclConfigObject::OptionType type) {
  RTMData data;
  TRACE(10, "%s::%s: Creating IPv4 Unicast RTM for vlan %u\n", __class__, "UpdateRtmConfig", vlan);
  if (type != DclConfigObject::VLAN_OPTIONS) {
    return true;
  }
  GetRTMConfig(node, &data);
  // Creating an instance cannot fail today; the callers handle a failure all the same.
  if (!CreateRTMInstance(vlan, PROTO_IPV4, data)) {
    TRACE(0, "Error in creating IPv4 Unicast RTM\n");
    return false;
  }
  TRACE(10, "Creating IPv6 Unicast RTM for vlan %u\n", vlan);
  if (!CreateRTMInstance(vlan, PROTO_IPV6, data)) {
    TRACE(0, "Error in creating IPv6 Unicast RTM\n");
    return false;
  }
  return true;
}

void DcRtmMgr::DeleteRtmConfig(unsigned short vlan) {
  DeleteRTMInstance(vlan, PROTO_IPV4);
  DeleteRTMInstance(vlan, PROTO_IPV6);
}

bool DcRtmMgr::GetRTMConfig(OptionsNode const& node, RTMData* data) {
  const OptionsNode rtm = node.GetChildNode("RTM");
  if (!rtm.IsObject() || rtm.IsEmpty()) {
    return false;
  }
  rtm.AsVal(data->dead_rpm_timer, "dead_rpm_timer");
  const OptionsNode distances = rtm.GetChildNode("ADMIN_DISTANCE");
  if (distances.IsObject()) {
    for (const DistanceKey& key : DISTANCES) {
      // An entry that gives distances gives all of them: a missing one is 0.
      data->*key.field = 0;
      distances.AsVal(data->*key.field, key.name);
    }
  }
  return true;
}

bool DcRtmMgr::CreateRTMInstance(unsigned short vlan, int proto, RTMData const& data) {
  const unsigned short instance = GetDclProtocolInstanceIdFromVlan(vlan, proto);
  TRACE(10, "Creating RTM Instance %u\n", instance);
  const auto record = m_rtmData.find(instance);
  if (record == m_rtmData.end()) {
    m_rtmData.emplace(instance, data);
  } else if (HasSameSettings(record->second, data)) {
    return true;
  } else {
    const bool ready = record->second.ready;
    record->second = data;
    record->second.ready = ready;
  }
  const bool ipv6 = proto != PROTO_IPV4;
  amb_cipr_rtm_entity row = MakeActiveRow(instance, ipv6, data);
  row.word[WORD_BGP_FIRST] = data.ibgp;
  row.word[WORD_BGP_SECOND] = data.ebgp;
  row.word[WORD_FAMILY] = ipv6 ? TYPE_IPV6 : TYPE_IPV4;
  sms_act_rtm(&row);
  return true;
}

void DcRtmMgr::DeleteRTMInstance(unsigned short vlan, int proto) {
  const unsigned short instance = GetDclProtocolInstanceIdFromVlan(vlan, proto);
  TRACE(10, "Deleting RTM Instance %u\n", instance);
  amb_cipr_rtm_entity row = {};
  row.word[WORD_INSTANCE] = instance;
  row.word[WORD_ROW_STATUS] = ROW_DESTROY;
  row.word[WORD_ADMIN_STATUS] = ADMIN_DOWN;
  sms_act_rtm(&row);
  m_rtmData.erase(instance);
}

bool DcRtmMgr::GetRTMConfig(unsigned short instance, amb_cipr_rtm_entity* entity) {
  const auto record = m_rtmData.find(instance);
  if (record == m_rtmData.end()) {
    return false;
  }
  const RTMData& data = record->second;
  *entity = MakeActiveRow(instance, (instance & IP6_INSTANCE_BIT) != 0, data);
  entity->word[WORD_BGP_FIRST] = data.ebgp;
  entity->word[WORD_BGP_SECOND] = data.ibgp;
  return true;
}

bool DcRtmMgr::HasRtmRecord(unsigned short instance) const {
  return m_rtmData.count(instance) != 0;
}

bool DcRtmMgr::IsRtmReady(unsigned short instance) const {
  const auto record = m_rtmData.find(instance);
  return record != m_rtmData.end() && record->second.ready;
}

void DcRtmMgr::SetRtmReady(unsigned short instance) { m_rtmData[instance].ready = true; }

}  // namespace Tarsel
