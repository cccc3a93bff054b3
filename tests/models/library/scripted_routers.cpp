// The protocol routers that the library builds its VLANs of. They do little and say everything:
// which configuration is handed to whom, and one row for each object of their lists, which goes to
// the scripted stack through the library's serializer.
#include "host/dc_console.h"
#include "library_subject.h"
#include "routers/bgp_router.h"
#include "routers/multicast_router.h"
#include "routers/ospf_routers.h"
#include "routers/rip_interfaces.h"
#include "vantacore/dc_rip_routers.h"
#include "vantacore/dc_router_mgr.h"
#include "vantacore/mib_action.h"

using library_model::GetSurroundings;
using library_model::PROTOCOL_MEMBERS;

namespace {

library_model::Log& TheLog() { return *GetSurroundings().log; }

int ProtocolOf(const Tarsel::DcRouterBase& router) {
  int protocol = 0;
  while (router.GetName() != PROTOCOL_MEMBERS[protocol]) {
    ++protocol;
  }
  return protocol;
}

class RowAction : public Tarsel::MibAction {
 public:
  RowAction(unsigned int table, unsigned int instance, unsigned int id, int rowStatus, int content)
      : m_table(table),
        m_instance(instance),
        m_id(id),
        m_rowStatus(rowStatus),
        m_content(content) {}
  void IssueReq(bool shared) override {
    GetSurroundings().stack->ActProtocol(shared, m_table, m_instance, m_id, m_rowStatus, m_content);
  }

 private:
  const unsigned int m_table;
  const unsigned int m_instance;
  const unsigned int m_id;
  const int m_rowStatus;
  const int m_content;
};

class ScriptedObject : public Tarsel::DclConfigObject {
 public:
  ScriptedObject(Tarsel::DcRouterBase& owner, unsigned int table)
      : DclConfigObject(owner), m_table(table), m_content(0), m_destroyed(false) {}
  explicit ScriptedObject(const ScriptedObject* other)
      : DclConfigObject(other),
        m_table(other->m_table),
        m_content(other->m_content),
        m_destroyed(false) {}

  int Compare(DclConfigObject* other) override {
    if (!KeyMatch(other)) {
      return 2;
    }
    return m_content == static_cast<ScriptedObject*>(other)->m_content && !m_destroyed ? 0 : 1;
  }
  void Update(DclConfigObject* other) override {
    m_content = static_cast<ScriptedObject*>(other)->m_content;
    m_destroyed = false;
  }
  unsigned short GetRowStatus() override { return m_destroyed ? 6 : InMib ? 1 : 4; }
  void SetDestroy() override { m_destroyed = true; }
  void Display(Tarsel::DcConsole*, unsigned int) override {}
  bool CommitToMib() override {
    const int protocol = ProtocolOf(router);
    const bool ipv6 = protocol == 2 || protocol == 4 || protocol == 6;
    const unsigned int instance = ipv6 ? vlan | 0x8000u : vlan;
    const library_model::Oid oid = library_model::ProtocolOid(m_table, instance, id);
    Tarsel::DcRouterMgr::GetInstance()->GetSerializer().Insert(
        Tarsel::MibOid(oid.data(), static_cast<unsigned int>(oid.size())),
        new RowAction(m_table, instance, id, GetRowStatus(), m_content));
    ActionReq = m_content % 7 == 3 && !m_destroyed;
    InMib = !m_destroyed;
    return m_destroyed && m_content % 4 != 1;
  }
  bool ParseOption(const Tarsel::OptionsNode& node, unsigned short) override {
    int number = 0;
    if (!node.AsVal(number, "id") || !node.GetChildNode("reject").IsNull()) {
      return false;
    }
    id = static_cast<unsigned int>(number);
    node.AsVal(m_content, "content");
    return true;
  }

 private:
  const unsigned int m_table;
  int m_content;
  bool m_destroyed;
};

class ScriptedList : public Tarsel::DCLConfigList {
 public:
  ScriptedList(Tarsel::DcRouterBase* owner, const char* name, const char* member,
               unsigned int table)
      : DCLConfigList(owner, name, member), m_table(table) {}

  void ProcessInterfaceStatusChange(unsigned int ifIndex, unsigned int status) override {
    TheLog().Add("list %s:%u interface %u status %u", label, router->GetVlan(), ifIndex, status);
  }
  Tarsel::DclConfigObject* CreateObject(const Tarsel::OptionsNode&, const Tarsel::string&,
                                        Tarsel::DclConfigObject::OptionType) override {
    return new ScriptedObject(*router, m_table);
  }
  Tarsel::DclConfigObject* CloneObject(Tarsel::DclConfigObject* parsed) override {
    return new ScriptedObject(static_cast<ScriptedObject*>(parsed));
  }

 private:
  const unsigned int m_table;
};

bool AddLists(Tarsel::DcRouterBase& router, Tarsel::DcConfigLists& lists) {
  const int protocol = ProtocolOf(router);
  if (protocol == 5 && GetSurroundings().refusing) {
    return false;
  }
  const unsigned int table = static_cast<unsigned int>(protocol) * 2;
  if (protocol == 1 || protocol == 2) {
    lists.AddList(new ScriptedList(&router, "Areas", "AREA_LIST", table));
  }
  lists.AddList(new ScriptedList(&router, "Interfaces", "IF_LIST", table + 1));
  return true;
}

void LogConfiguration(const Tarsel::DcRouterBase& router, const char* what,
                      const Tarsel::string& name, int type) {
  TheLog().Add("configuration %s:%u %s '%s' %d", router.GetName().c_str(), router.GetVlan(), what,
               name.c_str(), type);
}

class BgpConfiguration : public Tarsel::DcProtoConfigBase {
 public:
  explicit BgpConfiguration(Tarsel::DcRouterBase& router) : m_router(router) {
    TheLog().Add("router BGP created");
  }
  ~BgpConfiguration() override { TheLog().Add("router BGP deleted"); }
  void ParseOptions(const Tarsel::OptionsNode&, const Tarsel::string& name,
                    Tarsel::DclConfigObject::OptionType type) override {
    LogConfiguration(m_router, "takes", name, type);
  }
  void DeleteOptions(const Tarsel::string& name,
                     Tarsel::DclConfigObject::OptionType type) override {
    LogConfiguration(m_router, "forgets", name, type);
  }

 private:
  Tarsel::DcRouterBase& m_router;
};

// The router is still being built when its configuration is: the name comes from outside.
class NamedConfiguration : public Tarsel::ProtocolInterface {
 public:
  NamedConfiguration(Tarsel::DcRouterBase& router, int ipProto, int protocol)
      : ProtocolInterface(router, ipProto), m_protocol(protocol) {
    TheLog().Add("router %s created", PROTOCOL_MEMBERS[m_protocol]);
  }

 private:
  const int m_protocol;
};

}  // namespace

namespace Tarsel {

// --- configurations ---

ProtocolInterface::ProtocolInterface(DcRouterBase& router, int ipProto)
    : m_router(router), m_ipProto(ipProto) {}
ProtocolInterface::~ProtocolInterface() {
  TheLog().Add("router %s deleted", m_router.GetName().c_str());
}

void ProtocolInterface::ParseOptions(const OptionsNode& node, const string& name,
                                     DclConfigObject::OptionType type) {
  LogConfiguration(m_router, "takes", name, type);
  bool enabled = true;
  node.AsVal(enabled, "enabled");
  for (Source& source : m_sources) {
    if (source.name == name) {
      source.enabled = enabled;
      return;
    }
  }
  m_sources.push_back({name, type, enabled, {}, nullptr});
}

void ProtocolInterface::DeleteOptions(const string& name, DclConfigObject::OptionType type) {
  LogConfiguration(m_router, "forgets", name, type);
  for (auto source = m_sources.begin(); source != m_sources.end(); ++source) {
    if (source->name == name) {
      m_sources.erase(source);
      return;
    }
  }
}

bool ProtocolInterface::IsEnabled() {
  for (const Source& source : m_sources) {
    if (source.enabled) {
      return true;
    }
  }
  return false;
}
void ProtocolInterface::Display(DcConsole*) {}
bool ProtocolInterface::IsReady() {
  return IsEnabled() &&
         GetSurroundings().notReady.count({m_router.GetVlan(), ProtocolOf(m_router)}) == 0;
}
bool ProtocolInterface::IsReady(unsigned int) { return m_ipProto == 0 && IsReady(); }
void ProtocolInterface::ProcessInterfaceStatusChange(unsigned int ifIndex, unsigned int status) {
  TheLog().Add("configuration %s:%u interface %u status %u", m_router.GetName().c_str(),
               m_router.GetVlan(), ifIndex, status);
}
void ProtocolInterface::ProcessIPAddressChange(unsigned int ifIndex, const Ip4Addr& address) {
  TheLog().Add("configuration %s:%u interface %u address %s", m_router.GetName().c_str(),
               m_router.GetVlan(), ifIndex, address.ToString().c_str());
}
DCLConfigList* ProtocolInterface::CreateRows() { return nullptr; }

// The RIP routers are the library's, which names these configurations by their classes.
Ripv2Interface::Ripv2Interface(DcRouterBase& router) : ProtocolInterface(router, 0) {
  TheLog().Add("router RIPV2 created");
}
DCLConfigList* Ripv2Interface::CreateRows() { return nullptr; }
RipngInterface::RipngInterface(DcRouterBase& router) : ProtocolInterface(router, 41) {
  TheLog().Add("router RIPNG created");
}
DCLConfigList* RipngInterface::CreateRows() { return nullptr; }

// --- routers ---

DcBgpRouter::DcBgpRouter(unsigned short vid)
    : DcRouterBase("BGP", vid, new BgpConfiguration(*this)) {}
DcBgpRouter::~DcBgpRouter() = default;
bool DcBgpRouter::CreateConfigList(DcConfigLists&) { return true; }
DcBgpRouter* DcBgpRouter::GetRouter(unsigned int) { return nullptr; }
void DcBgpRouter::DummyConsoleCommand(unsigned short, int, char**) {}
void DcBgpRouter::Ip4ConsoleCommand(void*, DcConsole*, int, char**) {}
void DcBgpRouter::Ip6ConsoleCommand(void*, DcConsole*, int, char**) {}

DcOspfRouter::DcOspfRouter(const string& member, unsigned short vid, int ipProto,
                           DcProtoConfigBase* config)
    : DcOspfRouterBase(member, vid, config),
      m_ipProto(ipProto),
      m_routerId(0),
      m_referenceBandwidth(0),
      m_adminUp(false) {}
DcOspfRouter::~DcOspfRouter() = default;
bool DcOspfRouter::CreateConfigList(DcConfigLists& lists) { return AddLists(*this, lists); }
unsigned int DcOspfRouter::GetInstanceId() const { return m_ipProto != 0 ? 0x8000u : 0; }
void DcOspfRouter::ActivateArea(unsigned int) {}
void DcOspfRouter::DeactivateArea(unsigned int) {}
bool DcOspfRouter::IsAreaActive(unsigned int) const { return false; }
void DcOspfRouter::AddAreaInterface(unsigned int, unsigned int) {}
void DcOspfRouter::RemoveAreaInterface(unsigned int, unsigned int) {}
void DcOspfRouter::SetRouterId(unsigned int routerId) { m_routerId = routerId; }
unsigned int DcOspfRouter::GetRouterId() const { return m_routerId; }
void DcOspfRouter::SetAdminStatus(bool up) { m_adminUp = up; }
bool DcOspfRouter::GetAdminStatus() const { return m_adminUp && m_referenceBandwidth != 0; }
void DcOspfRouter::SetReferenceBandwidth(unsigned int bandwidth) {
  m_referenceBandwidth = bandwidth;
}
void DcOspfRouter::SetPassiveInterface(unsigned int, bool) {}
void DcOspfRouter::DisplayAreas(DcConsole*) const {}

DcOspfv2Router::DcOspfv2Router(unsigned short vid)
    : DcOspfRouter("OSPF", vid, 0, new NamedConfiguration(*this, 0, 1)) {}
void DcOspfv2Router::ConsoleCommand(void*, DcConsole*, int, char**) {}
DcOspfv3Router::DcOspfv3Router(unsigned short vid)
    : DcOspfRouter("OSPFV3", vid, 41, new NamedConfiguration(*this, 41, 2)) {}
void DcOspfv3Router::ConsoleCommand(void*, DcConsole*, int, char**) {}
void DcRipv2Router::ConsoleCommand(void*, DcConsole*, int, char**) {}

DcMulticastRouter::DcMulticastRouter(unsigned short vid, int ipProto)
    : DcRouterBase(ipProto == 41 ? "MLD" : "IGMP", vid,
                   new NamedConfiguration(*this, ipProto, ipProto == 41 ? 6 : 5)),
      m_ipProto(ipProto) {}
DcMulticastRouter::~DcMulticastRouter() = default;
bool DcMulticastRouter::CreateConfigList(DcConfigLists& lists) { return AddLists(*this, lists); }
void DcMulticastRouter::AddInterface(unsigned int ifIndex) {
  TheLog().Add("%s:%u joins on %u", m_ipProto == 0 ? "IGMP" : "MLD", GetVlan(), ifIndex);
}
void DcMulticastRouter::ConsoleCommand(void*, DcConsole*, int, char**, bool) {}

// --- the multicast walk: over as soon as it begins ---

MulticastRoutingTableConsoleCommand::MulticastRoutingTableConsoleCommand(DcConsole* console,
                                                                         bool ipv6)
    : DcConsoleCommand(console, "", ""), m_ipv6(ipv6) {}
MulticastRoutingTableConsoleCommand::~MulticastRoutingTableConsoleCommand() = default;
bool MulticastRoutingTableConsoleCommand::Parse(int argc, char**) {
  if (argc != 0) {
    return false;
  }
  ResponseHandler(this, 0, 7, nullptr);
  return true;
}
unsigned int MulticastRoutingTableConsoleCommand::Display(unsigned int, unsigned int, const void*) {
  Print(m_ipv6 ? "multicast 6\n" : "multicast\n");
  CommandEnd();
  return 0;
}

}  // namespace Tarsel
