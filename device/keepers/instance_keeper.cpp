// A pass looks at the instances of all VLANs, and then at all rows of the stack for unwanted ones.
#include "instance_keeper.h"

#include "device/rows/standings.h"
#include "vantacore/dc_router_mgr.h"

namespace keepers {

using Tarsel::DcRouterMgr;
using Tarsel::DcRtmMgr;

namespace {

// The words of an instance's row.
constexpr std::size_t OSPF_INTERNAL = 6;
constexpr std::size_t OSPF_EXTERNAL = 7;
constexpr std::size_t EBGP = 8;
constexpr std::size_t IBGP = 9;
constexpr std::size_t RIP = 14;
constexpr std::size_t DEAD_TIMER = 28;

constexpr std::size_t DISTANCE_WORDS[] = {OSPF_INTERNAL, OSPF_EXTERNAL, EBGP, IBGP, RIP};

int ProtocolOf(const rows::InstanceRow& row) {
  return row.ip6 ? DcRtmMgr::PROTO_IPV6 : DcRtmMgr::PROTO_IPV4;
}

unsigned short IdOf(const rows::InstanceRow& row) {
  return DcRtmMgr::GetDclProtocolInstanceIdFromVlan(row.vlan, ProtocolOf(row));
}

bool HasVlan(unsigned short vlan) {
  return DcRouterMgr::GetInstance()->GetVlans().count(vlan) != 0;
}

// A VLAN id may have the bit of the IPv6 instances: then both of its instances are the one with the
// VLAN's own id.
bool IsWanted(const rows::InstanceRow& row) { return HasVlan(row.vlan) || HasVlan(IdOf(row)); }

bool HasDistances(const rows::StackInstance& present, const amb_cipr_rtm_entity& wanted) {
  for (std::size_t i = 0; i < present.distances.size(); ++i) {
    if (present.distances[i] != wanted.word[DISTANCE_WORDS[i]]) {
      return false;
    }
  }
  return true;
}

rows::Standing::Kind CompareWanted(const rows::InstanceRow& row,
                                   const std::optional<rows::StackInstance>& present) {
  const unsigned short id = IdOf(row);
  amb_cipr_rtm_entity wanted;
  DcRtmMgr& rtm = *DcRtmMgr::GetInstance();
  if (!present || !rtm.IsRtmReady(id) || !rtm.GetRTMConfig(id, &wanted)) {
    return rows::Standing::Kind::MISSING;
  }
  return HasDistances(*present, wanted) ? rows::Standing::Kind::EQUAL : rows::Standing::Kind::OTHER;
}

rows::Standing::Kind Compare(const rows::InstanceRow& row,
                             const std::optional<rows::StackInstance>& present) {
  if (IsWanted(row)) {
    return CompareWanted(row, present);
  }
  return present ? rows::Standing::Kind::UNWANTED : rows::Standing::Kind::EQUAL;
}

// The settings of the VLAN's document entry, as the library has read them: each record tells those
// of its family and those that both have.
DcRtmMgr::RTMData SettingsOf(unsigned short vlan) {
  DcRtmMgr::RTMData settings;
  DcRtmMgr& rtm = *DcRtmMgr::GetInstance();
  amb_cipr_rtm_entity row;
  if (rtm.GetRTMConfig(IdOf({vlan, true}), &row)) {
    settings.ospfv3_internal = row.word[OSPF_INTERNAL];
    settings.ospfv3_external = row.word[OSPF_EXTERNAL];
    settings.ripng = row.word[RIP];
  }
  if (rtm.GetRTMConfig(IdOf({vlan, false}), &row)) {
    settings.ospfv2_internal = row.word[OSPF_INTERNAL];
    settings.ospfv2_external = row.word[OSPF_EXTERNAL];
    settings.ripv2 = row.word[RIP];
    settings.ebgp = row.word[EBGP];
    settings.ibgp = row.word[IBGP];
    settings.dead_rpm_timer = row.word[DEAD_TIMER];
  }
  return settings;
}

void CreateAgain(const rows::InstanceRow& row) {
  const DcRtmMgr::RTMData settings = SettingsOf(row.vlan);
  DcRtmMgr& rtm = *DcRtmMgr::GetInstance();
  rtm.DeleteRTMInstance(row.vlan, ProtocolOf(row));
  rtm.CreateRTMInstance(row.vlan, ProtocolOf(row), settings);
}

// The library sends nothing for settings that it has already. The stack asks for the distances when
// the request's turn comes, so both requests bring the same ones.
void SendAgain(const rows::InstanceRow& row) {
  const DcRtmMgr::RTMData settings = SettingsOf(row.vlan);
  DcRtmMgr::RTMData others = settings;
  ++others.dead_rpm_timer;
  DcRtmMgr& rtm = *DcRtmMgr::GetInstance();
  rtm.CreateRTMInstance(row.vlan, ProtocolOf(row), others);
  rtm.CreateRTMInstance(row.vlan, ProtocolOf(row), settings);
}

}  // namespace

InstanceKeeper::InstanceKeeper(const rows::StackPort& port) : m_port(port) {}

std::size_t InstanceKeeper::CountWanted() const {
  return 2 * DcRouterMgr::GetInstance()->GetVlans().size();
}

rows::Standing InstanceKeeper::Look(const rows::Row& row) const {
  const rows::InstanceRow& instance = std::get<rows::InstanceRow>(row);
  return rows::StandingOf(m_port, row, Compare(instance, m_port.FindInstance(instance)));
}

void InstanceKeeper::AskAgain(const rows::Row& row) {
  const rows::InstanceRow& instance = std::get<rows::InstanceRow>(row);
  switch (Compare(instance, m_port.FindInstance(instance))) {
    case rows::Standing::Kind::MISSING:
      CreateAgain(instance);
      break;
    case rows::Standing::Kind::OTHER:
      SendAgain(instance);
      break;
    case rows::Standing::Kind::UNWANTED:
      DcRtmMgr::GetInstance()->DeleteRTMInstance(instance.vlan, ProtocolOf(instance));
      break;
    case rows::Standing::Kind::EQUAL:
    case rows::Standing::Kind::UNDER_WAY:
      break;
  }
}

// ---- passes

void InstanceKeeper::BeginPass() {
  m_isInWanted = true;
  m_lastWanted.reset();
  m_lastPresent.reset();
}

bool InstanceKeeper::ContinuePass(std::size_t most, const Found& found) {
  const std::size_t seen = m_isInWanted ? PassWanted(most, found) : 0;
  return m_isInWanted || seen >= most || PassPresent(most - seen, found);
}

void InstanceKeeper::TellIfNotEqual(const rows::InstanceRow& row, rows::Standing::Kind kind,
                                    const Found& found) const {
  const rows::Standing standing = rows::StandingOf(m_port, row, kind);
  if (standing.kind != rows::Standing::Kind::EQUAL) {
    found(row, standing);
  }
}

// Both instances of a VLAN are looked at together.
std::size_t InstanceKeeper::PassWanted(std::size_t most, const Found& found) {
  const DcRouterMgr::VlanMap& vlans = DcRouterMgr::GetInstance()->GetVlans();
  std::size_t seen = 0;
  auto next = m_lastWanted ? vlans.upper_bound(*m_lastWanted) : vlans.begin();
  for (; seen < most && next != vlans.end(); ++next, seen += 2) {
    for (const bool ip6 : {false, true}) {
      const rows::InstanceRow row{next->first, ip6};
      TellIfNotEqual(row, CompareWanted(row, m_port.FindInstance(row)), found);
    }
    m_lastWanted = next->first;
  }
  m_isInWanted = next != vlans.end();
  return seen;
}

bool InstanceKeeper::PassPresent(std::size_t most, const Found& found) {
  const auto rows = m_port.ReadInstances(m_lastPresent ? &*m_lastPresent : nullptr, most);
  for (const rows::StackInstance& present : rows) {
    if (!IsWanted(present.row)) {
      TellIfNotEqual(present.row, rows::Standing::Kind::UNWANTED, found);
    }
  }
  if (rows.empty()) {
    return false;
  }
  m_lastPresent = rows.back();
  return true;
}

}  // namespace keepers
