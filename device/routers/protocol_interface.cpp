// The protocol routers of the software device carry their configuration; they run no protocol.
//
// A router is built by the router manager, one per protocol and VLAN, together with its protocol
// configuration, which it owns. The configuration keeps what each document said, so that the others
// still count when one is withdrawn, and what the host reported about interfaces. Readiness is
// never stored: the RTM manager is asked for it, since the stack announces it there.
//
// The rows of a protocol's tables are configuration objects (row_object.h), with one list for each
// document and table. The lists are the router's; for a router that has none they are kept here.
// Requests go through the serializer, and answers find their object through the row registry.
#include "routers/protocol_interface.h"

#include <algorithm>

#include "declared_members.h"
#include "group_reader.h"
#include "host/dc_console.h"
#include "protocol_tables.h"
#include "tarsel/trace.h"
#include "vantacore/dc_rtm_mgr.h"

namespace Tarsel {

using routers::GroupReader;

namespace {

constexpr unsigned int STATUS_UP = 1;
constexpr int FIELD_INTERFACE = 2;

bool ReadEnabled(const OptionsNode& node, const string& displayName, const string& source) {
  const documents::Enabling enabling = documents::ReadEnabling(node);
  if (enabling == documents::Enabling::NOT_AN_OBJECT) {
    TRACE("%s: %s: the protocol's options must be an object\n", source.c_str(),
          displayName.c_str());
  } else if (enabling == documents::Enabling::NOT_A_FLAG) {
    TRACE("%s: %s: \"enabled\" must be true or false\n", source.c_str(), displayName.c_str());
  }
  return enabling == documents::Enabling::YES;
}

}  // namespace

ProtocolInterface::ProtocolInterface(DcRouterBase& router, int ipProto)
    : m_router(router), m_ipProto(ipProto) {}

ProtocolInterface::~ProtocolInterface() = default;

// ---- documents

void ProtocolInterface::ParseOptions(const OptionsNode& node, const string& name,
                                     DclConfigObject::OptionType type) {
  Source& source = FindOrAddSource(name, type);
  source.enabled = ReadEnabled(node, m_router.GetDisplayName(), name);
  source.interfaces.clear();
  ReadInterfaces(node.GetChildNode(routers::INTERFACES.name), source);
  ReadRows(node, source);
}

ProtocolInterface::Source& ProtocolInterface::FindOrAddSource(const string& name,
                                                              DclConfigObject::OptionType type) {
  const auto found = std::find_if(m_sources.begin(), m_sources.end(),
                                  [&name](const Source& source) { return source.name == name; });
  if (found != m_sources.end() && found->type == type) {
    return *found;
  }
  if (found != m_sources.end()) {
    m_sources.erase(found);  // the same document as another kind
  }
  const auto after = std::find_if(m_sources.begin(), m_sources.end(), [&](const Source& source) {
    return type != source.type ? type < source.type : name < source.name;
  });
  return *m_sources.insert(after, Source{name, type, false, {}, nullptr});
}

void ProtocolInterface::ReadInterfaces(const OptionsNode& list, Source& source) {
  for (const OptionsNode& node : list) {
    GroupReader reader(node, source.name, m_router.GetDisplayName());
    bool enabled = documents::ENABLED.standard != 0;
    if (reader.ReadName(routers::TAKING_PART_NAME, m_router.GetVlan())) {
      reader.ReadFlag(documents::ENABLED, enabled);
    }
    if (reader.IsGood()) {
      source.interfaces[DclConfigObject::ParseKeyFromName(reader.GetName(), FIELD_INTERFACE)] =
          enabled;
    }
  }
}

DCLConfigList* ProtocolInterface::CreateRows() { return nullptr; }

void ProtocolInterface::ReadRows(const OptionsNode& node, Source& source) {
  if (!IsEnabled()) {
    source.rows.reset();
    return;
  }
  if (source.rows == nullptr) {
    source.rows.reset(CreateRows());
  }
  if (source.rows != nullptr) {
    source.rows->Parse(node, source.name, source.type);
  }
}

void ProtocolInterface::DeleteOptions(const string& name, DclConfigObject::OptionType) {
  const auto found = std::find_if(m_sources.begin(), m_sources.end(),
                                  [&name](const Source& source) { return source.name == name; });
  if (found != m_sources.end()) {
    m_sources.erase(found);
  }
}

// The last document that names the interface decides.
bool ProtocolInterface::IsTaken(unsigned int ifIndex) const {
  for (auto source = m_sources.rbegin(); source != m_sources.rend(); ++source) {
    const auto named = source->interfaces.find(ifIndex);
    if (named != source->interfaces.end()) {
      return !named->second;
    }
  }
  return false;
}

void ProtocolInterface::ForEachRow(DclConfigListIteratorFunc& visitor) {
  for (const Source& source : m_sources) {
    if (source.rows != nullptr) {
      source.rows->ForEach(&visitor);
    }
  }
  for (const auto& [name, lists] : m_router.GetConfigLists()) {
    for (DCLConfigList* list : lists->GetLists()) {
      list->ForEach(&visitor);
    }
  }
}

// ---- status

bool ProtocolInterface::IsEnabled() {
  return std::any_of(m_sources.begin(), m_sources.end(),
                     [](const Source& source) { return source.enabled; });
}

bool ProtocolInterface::IsReady() {
  const DcRtmMgr* rtm = DcRtmMgr::GetInstance();
  return rtm && IsEnabled() &&
         rtm->IsRtmReady(DcRtmMgr::GetDclProtocolInstanceIdFromVlan(m_router.GetVlan(), m_ipProto));
}

bool ProtocolInterface::IsReady(unsigned int ifIndex) {
  const auto found = m_interfaces.find(ifIndex);
  if (found == m_interfaces.end() || !found->second.up || !m_router.IsEnabled(ifIndex)) {
    return false;
  }
  const bool lacksAddress = m_ipProto == DcRtmMgr::PROTO_IPV4 && found->second.isAddressKnown &&
                            found->second.address == IP4_ANY;
  return !lacksAddress && !IsTaken(ifIndex) && IsEnabled();
}

void ProtocolInterface::Display(DcConsole* console) {
  if (!IsEnabled()) {
    console->Print("VLAN %u: disabled\n", static_cast<unsigned int>(m_router.GetVlan()));
    return;
  }
  const auto ready = std::count_if(m_interfaces.begin(), m_interfaces.end(),
                                   [this](const auto& entry) { return IsReady(entry.first); });
  console->Print("VLAN %u: enabled, %s, %lu of %lu interfaces ready\n",
                 static_cast<unsigned int>(m_router.GetVlan()), IsReady() ? "ready" : "not ready",
                 static_cast<unsigned long>(ready),
                 static_cast<unsigned long>(m_interfaces.size()));
}

// ---- events

void ProtocolInterface::ProcessInterfaceStatusChange(unsigned int ifIndex, unsigned int status) {
  const bool up = status == STATUS_UP;
  m_interfaces[ifIndex].up = up;
  m_router.SetInterfaceStatus(ifIndex, up ? IF_READY : IF_NOT_READY);
}

void ProtocolInterface::ProcessIPAddressChange(unsigned int ifIndex, const Ip4Addr& address) {
  Interface& interface = m_interfaces[ifIndex];
  interface.address = address;
  interface.isAddressKnown = true;
}

}  // namespace Tarsel
