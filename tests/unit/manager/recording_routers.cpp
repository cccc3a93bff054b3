#include "tests/unit/manager/recording_routers.h"

#include "host/dc_console.h"
#include "routers/bgp_router.h"
#include "routers/multicast_router.h"
#include "routers/ospf_routers.h"
#include "routers/protocol_interface.h"
#include "tarsel/trace.h"
#include "vantacore/dc_rip_routers.h"

namespace recording_routers {

namespace {

const char* const NAMES[] = {"BGP", "OSPF", "OSPFV3", "RIPV2", "RIPNG", "IGMP", "MLD"};

}  // namespace

Behaviour& GetBehaviour() {
  static Behaviour behaviour;
  return behaviour;
}

std::vector<std::string> AllRouters(unsigned int vlan, const std::string& suffix) {
  std::vector<std::string> all;
  for (const char* name : NAMES) {
    all.push_back(name + (":" + std::to_string(vlan)) + suffix);
  }
  return all;
}

std::string Entry(int vid, const std::string& more) {
  std::string text = "{\"vid\":" + std::to_string(vid);
  for (const char* name : NAMES) {
    text += std::string(",\"") + name + "\":{\"x\":1}";
  }
  return text + more + "}";
}

std::string Document(const std::vector<std::string>& entries) {
  std::string text;
  char name = 'a';
  for (const std::string& entry : entries) {
    text += std::string(text.empty() ? "" : ",") + "\"" + name++ + "\":" + entry;
  }
  return "{\"VLAN_CONFIGURATIONS\":{" + text + "}}";
}

std::vector<std::string> ManagerFixture::TakeRouterEvents() {
  std::vector<std::string> events;
  const std::string mark = "10:~";
  for (const std::string& line : traces.Take()) {
    if (line.compare(0, mark.size(), mark) == 0) {
      events.push_back(line.substr(mark.size(), line.size() - mark.size() - 1));
    }
  }
  return events;
}

}  // namespace recording_routers

namespace Tarsel {

namespace {

using recording_routers::GetBehaviour;

// The router's name and VLAN: "BGP:10".
const char* NameOf(const DcRouterBase& router) { return router.GetDisplayName().c_str(); }

}  // namespace

// The protocols' configurations: what the router base asks of them. Their construction is the
// device library's.

ProtocolInterface::~ProtocolInterface() {
  TRACE(10, "~%s destroyed\n", NameOf(m_router));
  if (GetBehaviour().onDestroy) {
    GetBehaviour().onDestroy(NameOf(m_router));
  }
}

void ProtocolInterface::ParseOptions(const OptionsNode&, const string& name,
                                     DclConfigObject::OptionType type) {
  TRACE(10, "~%s parse %s %d\n", NameOf(m_router), name.c_str(), type);
  if (GetBehaviour().onDocument) {
    GetBehaviour().onDocument(NameOf(m_router));
  }
}

void ProtocolInterface::DeleteOptions(const string& name, DclConfigObject::OptionType type) {
  TRACE(10, "~%s withdraw %s %d\n", NameOf(m_router), name.c_str(), type);
  if (GetBehaviour().onDocument) {
    GetBehaviour().onDocument(NameOf(m_router));
  }
}

bool ProtocolInterface::IsEnabled() {
  TRACE(10, "~%s asked\n", NameOf(m_router));
  return GetBehaviour().enabled.count(NameOf(m_router)) != 0;
}

void ProtocolInterface::ProcessInterfaceStatusChange(unsigned int ifIndex, unsigned int status) {
  TRACE(10, "~%s interface %u status %u\n", NameOf(m_router), ifIndex, status);
}

void ProtocolInterface::ProcessIPAddressChange(unsigned int ifIndex, const Ip4Addr& address) {
  TRACE(10, "~%s interface %u address %s\n", NameOf(m_router), ifIndex, address.ToString().c_str());
}

// The routers.

DcBgpRouter::DcBgpRouter(unsigned short vid)
    : DcRouterBase("BGP", vid, new ProtocolInterface(*this, 0)) {
  if (GetBehaviour().onCreate) {
    GetBehaviour().onCreate();
  }
}
DcBgpRouter::~DcBgpRouter() = default;
bool DcBgpRouter::CreateConfigList(DcConfigLists&) { return true; }

DcBgpRouter* DcBgpRouter::GetRouter(unsigned int instance) {
  TRACE(10, "~BGP router of instance %u\n", instance);
  return static_cast<DcBgpRouter*>(
      DcRouterMgr::GetInstance()->GetDcRouterByInstanceID(instance, DcRouterMgr::PROTOCOL_BGP));
}

void DcBgpRouter::DummyConsoleCommand(unsigned short vid, int argc, char** argv) {
  TRACE(10, "~%s act %u %d %s\n", NameOf(*this), vid, argc, argv[0]);
}

void DcBgpRouter::Ip4ConsoleCommand(void*, DcConsole*, int, char**) {}
void DcBgpRouter::Ip6ConsoleCommand(void*, DcConsole*, int, char**) {}

DcOspfv2Router::DcOspfv2Router(unsigned short vid)
    : DcOspfRouter("OSPF", vid, 0, new ProtocolInterface(*this, 0)) {}
void DcOspfv2Router::ConsoleCommand(void*, DcConsole*, int, char**) {}

DcOspfv3Router::DcOspfv3Router(unsigned short vid)
    : DcOspfRouter("OSPFV3", vid, 41, new ProtocolInterface(*this, 41)) {}
void DcOspfv3Router::ConsoleCommand(void*, DcConsole*, int, char**) {}

void DcRipv2Router::ConsoleCommand(void*, DcConsole*, int, char**) {}

DcMulticastRouter::DcMulticastRouter(unsigned short vid, int ipProto)
    : DcRouterBase(ipProto == 41 ? "MLD" : "IGMP", vid, new ProtocolInterface(*this, ipProto)) {}
DcMulticastRouter::~DcMulticastRouter() = default;
bool DcMulticastRouter::CreateConfigList(DcConfigLists&) { return true; }

void DcMulticastRouter::AddInterface(unsigned int ifIndex) {
  TRACE(10, "~%s add interface %u\n", NameOf(*this), ifIndex);
}

void DcMulticastRouter::ConsoleCommand(void* context, DcConsole* console, int argc, char** argv,
                                       bool ipv6) {
  console->Print("multicast %d %s %s %s\n", argc, argv[0], static_cast<const char*>(context),
                 ipv6 ? "ipv6" : "ipv4");
}

MulticastRoutingTableConsoleCommand::MulticastRoutingTableConsoleCommand(DcConsole* console,
                                                                         bool ipv6)
    : DcConsoleCommand(console, "", ""), m_ipv6(ipv6) {}
MulticastRoutingTableConsoleCommand::~MulticastRoutingTableConsoleCommand() = default;

bool MulticastRoutingTableConsoleCommand::Parse(int argc, char** argv) {
  Print("mcast %s %d %s\n", m_ipv6 ? "ipv6" : "ipv4", argc, argc > 0 ? argv[0] : "");
  if (!GetBehaviour().multicastParses) {
    return false;
  }
  if (GetBehaviour().multicastEnds) {
    TableEnd();
    delete this;
  } else {
    GetBehaviour().endMulticast = [this] { ResponseHandler(this, 0, 7, nullptr); };
  }
  return true;
}

unsigned int MulticastRoutingTableConsoleCommand::Display(unsigned int, unsigned int result,
                                                          const void*) {
  ParseError(result);
  return 0;
}

}  // namespace Tarsel
