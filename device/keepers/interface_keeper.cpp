// A pass looks at all wanted interfaces, and then at all rows of the stack for unwanted ones.
#include "interface_keeper.h"

#include "device/rows/standings.h"
#include "interface_calls.h"
#include "vantacore/dc_rtm_mgr.h"

namespace keepers {

using documents::Interface;
using documents::InterfaceKey;
using Tarsel::DcRtmMgr;

namespace {

constexpr std::uint32_t FLAG_UNNUMBERED = 0x20;

InterfaceKey KeyOf(const rows::InterfaceRow& row) { return {row.vlan, row.ifIndex}; }

rows::InterfaceRow RowOf(const amb_stubs_i3_ei& present) {
  return {Tarsel::VlanOfInstance(present.instance), present.if_index};
}

bool IsIp6(unsigned int instance) { return (instance & DcRtmMgr::IP6_INSTANCE_BIT) != 0; }

unsigned int InstanceOf(const rows::InterfaceRow& row, int ipProto) {
  return DcRtmMgr::GetDclProtocolInstanceIdFromVlan(row.vlan, ipProto);
}

bool IsAsWanted(const amb_stubs_i3_ei& present, const Interface& wanted) {
  const std::uint32_t flags =
      IsIp6(present.instance) ? wanted.flags & ~FLAG_UNNUMBERED : wanted.flags;
  return present.flags == flags && present.oper_status == (wanted.up ? STATUS_UP : STATUS_DOWN) &&
         present.mtu == wanted.mtu && wanted.name == present.name;
}

}  // namespace

InterfaceKeeper::InterfaceKeeper(const rows::StackPort& port, const Interfaces& interfaces)
    : m_port(port), m_interfaces(interfaces) {}

const Interface* InterfaceKeeper::FindWanted(const InterfaceKey& key) const {
  const auto found = m_interfaces.Get().find(key);
  return found != m_interfaces.Get().end() ? &found->second : nullptr;
}

rows::Standing::Kind InterfaceKeeper::Compare(const rows::InterfaceRow& row,
                                              const Interface* wanted) const {
  rows::Standing::Kind kind = rows::Standing::Kind::EQUAL;
  for (const int ipProto : {DcRtmMgr::PROTO_IPV4, DcRtmMgr::PROTO_IPV6}) {
    const auto present = m_port.FindInterface(InstanceOf(row, ipProto), row.ifIndex);
    if (wanted == nullptr) {
      kind = present ? rows::Standing::Kind::UNWANTED : kind;
    } else if (!present) {
      return rows::Standing::Kind::MISSING;
    } else if (!IsAsWanted(*present, *wanted)) {
      kind = rows::Standing::Kind::OTHER;
    }
  }
  return kind;
}

rows::Standing InterfaceKeeper::Look(const rows::Row& row) const {
  const rows::InterfaceRow& interface = std::get<rows::InterfaceRow>(row);
  return rows::StandingOf(m_port, row, Compare(interface, FindWanted(KeyOf(interface))));
}

void InterfaceKeeper::AskAgain(const rows::Row& row) {
  const rows::InterfaceRow& interface = std::get<rows::InterfaceRow>(row);
  const InterfaceKey key = KeyOf(interface);
  if (const Interface* const wanted = FindWanted(key)) {
    Tell(key, intent::Register{wanted->name, wanted->flags, wanted->mtu, wanted->up});
    return;
  }
  auto present = m_port.FindInterface(InstanceOf(interface, DcRtmMgr::PROTO_IPV4), key.second);
  if (!present) {
    present = m_port.FindInterface(InstanceOf(interface, DcRtmMgr::PROTO_IPV6), key.second);
  }
  if (present) {
    Tell(key, intent::Unregister{present->name});
  }
}

// ---- passes

void InterfaceKeeper::BeginPass() {
  m_isInWanted = true;
  m_lastWanted.reset();
  m_lastPresent.reset();
}

bool InterfaceKeeper::ContinuePass(std::size_t most, const Found& found) {
  const std::size_t seen = m_isInWanted ? PassWanted(most, found) : 0;
  return m_isInWanted || seen >= most || PassPresent(most - seen, found);
}

void InterfaceKeeper::TellIfNotEqual(const rows::InterfaceRow& row, rows::Standing::Kind kind,
                                     const Found& found) const {
  const rows::Standing standing = rows::StandingOf(m_port, row, kind);
  if (standing.kind != rows::Standing::Kind::EQUAL) {
    found(row, standing);
  }
}

// Returns how many it has seen: fewer than `most` at the end.
std::size_t InterfaceKeeper::PassWanted(std::size_t most, const Found& found) {
  const documents::Interfaces& wanted = m_interfaces.Get();
  std::size_t seen = 0;
  auto next = m_lastWanted ? wanted.upper_bound(*m_lastWanted) : wanted.begin();
  for (; seen < most && next != wanted.end(); ++next, ++seen) {
    const rows::InterfaceRow row{next->first.first, next->first.second};
    TellIfNotEqual(row, Compare(row, &next->second), found);
    m_lastWanted = next->first;
  }
  m_isInWanted = next != wanted.end();
  return seen;
}

// An interface that is in both instances is told with its IPv4 row.
bool InterfaceKeeper::PassPresent(std::size_t most, const Found& found) {
  const auto rows = m_port.ReadInterfaces(m_lastPresent ? &*m_lastPresent : nullptr, most);
  for (const amb_stubs_i3_ei& present : rows) {
    const rows::InterfaceRow row = RowOf(present);
    if (FindWanted(KeyOf(row)) != nullptr) {
      continue;
    }
    const bool isTold = IsIp6(present.instance) &&
                        m_port.FindInterface(InstanceOf(row, DcRtmMgr::PROTO_IPV4), row.ifIndex);
    if (!isTold) {
      TellIfNotEqual(row, rows::Standing::Kind::UNWANTED, found);
    }
  }
  if (rows.empty()) {
    return false;
  }
  m_lastPresent = rows.back();
  return true;
}

}  // namespace keepers
