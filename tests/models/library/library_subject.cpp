#include "library_subject.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <utility>

#include "device/base/trace_control.h"
#include "tests/support/argument_vector.h"
#include "vantacore/dc_console_command.h"
#include "vantacore/dc_interface_console_command.h"
#include "vantacore/dc_interface_mgr.h"
#include "vantacore/dc_router_base.h"
#include "vantacore/dc_router_mgr.h"
#include "vantacore/dc_rtm_mgr.h"
#include "vantacore/dcrouter_api.h"
#include "vantacore/rtm_commands.h"
#include "vantacore/static_routes.h"

namespace library_model {

namespace {

using Tarsel::DcInterfaceMgr;
using Tarsel::DcRouterMgr;
using Tarsel::DcRtmMgr;
using OptionType = Tarsel::DclConfigObject::OptionType;

class LoggingConsole : public Tarsel::DcConsole {
 public:
  LoggingConsole(Log& log, int number, unsigned short vlan, bool& destroyed)
      : m_log(log), m_number(number), m_vlan(vlan), m_destroyed(&destroyed) {}
  ~LoggingConsole() override {
    m_log.Add("console %d destroyed", m_number);
    if (m_destroyed != nullptr) {
      *m_destroyed = true;
    }
  }
  /// The dispatcher is no longer there to be told.
  void Leave() { m_destroyed = nullptr; }

  void Print(const char* format, ...) override __attribute__((format(printf, 2, 3))) {
    std::va_list arguments;
    va_start(arguments, format);
    VPrint(format, arguments);
    va_end(arguments);
  }
  void VPrint(const char* format, std::va_list arguments) override
      __attribute__((format(printf, 2, 0))) {
    char buffer[4096];
    std::vsnprintf(buffer, sizeof buffer, format, arguments);
    m_log.Console(m_number, "out", buffer);
  }
  void PrintError(const char* text) override { m_log.Console(m_number, "error", text); }
  void CommandEnd() override { m_log.Add("console %d ends", m_number); }
  unsigned short GetVlan(int, char**) override {
    m_log.Add("console %d asked for its VLAN", m_number);
    return m_vlan;
  }

 private:
  Log& m_log;
  const int m_number;
  const unsigned short m_vlan;
  bool* m_destroyed;
};

DcRouterMgr& Manager() { return *DcRouterMgr::GetInstance(); }

Tarsel::Ip4Addr Ip4(const unsigned char* bytes) { return Tarsel::Ip4Addr::FromBytes(bytes); }
Tarsel::Ip6Addr Ip6(const unsigned char* bytes) { return Tarsel::Ip6Addr::FromBytes(bytes); }

Tarsel::Ip4Addr Mask(unsigned int length) {
  unsigned char bytes[4] = {};
  for (unsigned int bit = 0; bit < length; ++bit) {
    bytes[bit / 8] = static_cast<unsigned char>(bytes[bit / 8] | 0x80u >> bit % 8);
  }
  return Ip4(bytes);
}

template <class Address, class Length>
void AskOf(RouteRequest request, const Route& route, const Address& dest, const Length& length,
           const Address& nexthop, unsigned int metric, int type, int adminStatus) {
  switch (request) {
    case ADD_ROUTE:
      Tarsel::AddRoute(route.vlan, dest, length, nexthop, route.ifIndex, metric, type, adminStatus);
      break;
    case REMOVE_ROUTE:
      Tarsel::RemoveRoute(route.vlan, dest, length, nexthop, route.ifIndex);
      break;
    case ENABLE_ROUTE:
      Tarsel::EnableRoute(route.vlan, dest, length, nexthop, route.ifIndex);
      break;
    default:
      Tarsel::DisableRoute(route.vlan, dest, length, nexthop, route.ifIndex);
      break;
  }
}

}  // namespace

Surroundings& GetSurroundings() {
  static Surroundings surroundings;
  return surroundings;
}

LibrarySubject::LibrarySubject(Log& log) : m_log(log) {
  GetSurroundings().log = &log;
  Tarsel::TimerLoop::SetCurrent(&m_loop);
  Tarsel::SetTraceLevel(10);
  Tarsel::SetTraceSink(
      [&log](int level, const std::string& message) { log.Trace(level, message); });
  Tarsel::SetAssertSink([&log](const char* expression, const char* source, int line) {
    log.Assertion(expression, source, line);
  });
}

void LibrarySubject::Start(unsigned short defaultVlan) {
  Manager().Initialize(defaultVlan, nullptr);
}

void LibrarySubject::Reload(const Json::Value& document, const std::string& name, int type) {
  Manager().Reload(Tarsel::Options(document), name.c_str(), static_cast<OptionType>(type));
}
void LibrarySubject::DeleteOptions(const std::string& name, int type) {
  Manager().DeleteOptions(name.c_str(), static_cast<OptionType>(type));
}
void LibrarySubject::CreateVlan(unsigned short vid, const Json::Value& entry, int type) {
  Manager().CreateVlan(vid, Tarsel::OptionsNode(entry), static_cast<OptionType>(type));
}
void LibrarySubject::DeleteVlan(unsigned short vid) { Manager().DeleteVlan(vid); }

void LibrarySubject::AskRoute(RouteRequest request, const Route& route, unsigned int metric,
                              int type, int adminStatus) {
  if (route.ipv6) {
    const Tarsel::Ip6Addr dest = Ip6(route.dest);
    unsigned char prefix[16];
    std::memcpy(prefix, route.dest, 16);
    prefix[15] = static_cast<unsigned char>(prefix[15] ^ route.hostBits);
    AskOf(request, route, dest, Tarsel::Ip6Prefix(Ip6(prefix), route.prefixLen), Ip6(route.nexthop),
          metric, type, adminStatus);
  } else {
    AskOf(request, route, Ip4(route.dest), Mask(route.prefixLen), Ip4(route.nexthop), metric, type,
          adminStatus);
  }
}

void LibrarySubject::ChangeRedistribution(unsigned short vlan, unsigned int source,
                                          unsigned int destination, bool was, bool is) {
  DcRtmMgr::GetInstance()->HandleRedistributionStatusChange(vlan, source, destination, was, is);
}
void LibrarySubject::ResetSerializer() { Manager().GetSerializer().Reset(); }
void LibrarySubject::PassNow() { Manager().GetCfgSched().OnTimeout(0, nullptr); }
void LibrarySubject::ResetScheduler() { Manager().GetCfgSched().Reset(); }

void LibrarySubject::Interface(InterfaceEvent event, unsigned short vlan, unsigned int ifIndex,
                               const char* name, unsigned int type, unsigned int flags,
                               unsigned int extra, unsigned int status) {
  DcInterfaceMgr& registry = *DcInterfaceMgr::GetInstance();
  switch (event) {
    case IF_ADD:
      registry.AddInterface(vlan, ifIndex, name, static_cast<DcInterfaceMgr::IntfType>(type), flags,
                            extra, status);
      break;
    case IF_REMOVE:
      registry.RemoveInterface(vlan, ifIndex, name);
      break;
    case IF_UP:
      registry.SetInterfaceUp(vlan, ifIndex, name);
      break;
    default:
      registry.SetInterfaceDown(vlan, ifIndex, name);
      break;
  }
}

void LibrarySubject::Address4(AddressEvent event, unsigned short vlan, unsigned int ifIndex,
                              const unsigned char* address, const unsigned char* mask) {
  DcInterfaceMgr& registry = *DcInterfaceMgr::GetInstance();
  switch (event) {
    case ADDRESS_ADD:
      registry.AddIpAddress(vlan, ifIndex, Ip4(address), Ip4(mask));
      break;
    case ADDRESS_DELETE:
      registry.DeleteIpAddress(vlan, ifIndex, Ip4(address), Ip4(mask));
      break;
    default:
      registry.ChangeIpAddress(vlan, ifIndex, Ip4(address), Ip4(mask));
      break;
  }
}
void LibrarySubject::Address6(AddressEvent event, unsigned short vlan, unsigned int ifIndex,
                              const unsigned char* address, unsigned int prefixLen) {
  DcInterfaceMgr& registry = *DcInterfaceMgr::GetInstance();
  if (event == ADDRESS_ADD) {
    registry.AddIpAddress(vlan, ifIndex, Ip6(address), prefixLen);
  } else {
    registry.DeleteIpAddress(vlan, ifIndex, Ip6(address), prefixLen);
  }
}
void LibrarySubject::SetPrimary(unsigned short vlan, const char* name) {
  DcInterfaceMgr::GetInstance()->SetPrimaryInterface(vlan, name);
}

void LibrarySubject::Network(NetworkEvent event, unsigned short vlan, unsigned int ifIndex,
                             unsigned int value) {
  switch (event) {
    case NET_STATUS:
      Manager().ProcessInterfaceStatusChange(vlan, ifIndex, static_cast<unsigned short>(value));
      break;
    case NET_ADDRESS:
      Manager().ProcessIPAddressChange(vlan, ifIndex, Tarsel::Ip4Addr(value));
      break;
    case NET_JOIN:
      Manager().JoinNetwork(vlan, ifIndex);
      break;
    default:
      Manager().LeaveNetwork(vlan, ifIndex);
      break;
  }
}

void LibrarySubject::SetBgpStatus(unsigned short vlan, int status) {
  Tarsel::DcRouterBase* router = Manager().GetDcRouterByVID(vlan, DcRouterMgr::PROTOCOL_BGP);
  if (router != nullptr) {
    router->SetStatus(static_cast<Tarsel::DcProtoInterfaceBase::ConfigStatus>(status));
  }
}
void LibrarySubject::SetRouterReady(unsigned short vlan, int protocol, bool ready) {
  if (ready) {
    GetSurroundings().notReady.erase({vlan, protocol});
  } else {
    GetSurroundings().notReady.insert({vlan, protocol});
  }
}

void LibrarySubject::Query(unsigned short vlan, unsigned int ifIndex, const char* name) {
  DcInterfaceMgr& registry = *DcInterfaceMgr::GetInstance();
  Tarsel::Ip4Addr address;
  Tarsel::Ip4Addr mask;
  const bool known = registry.GetIfIpAddr(vlan, ifIndex, address, mask);
  m_log.Add("address %d %08x %08x", known, address.GetValue(), mask.GetValue());
  m_log.Add("name %s", registry.GetIfName(vlan, ifIndex));
  unsigned int index = 0;
  const bool found = registry.GetIfIndex(name, index);
  m_log.Add("index %d %u", found, index);
  m_log.Add("type %u", static_cast<unsigned int>(registry.GetIfType(name)));
  const char* primary = registry.GetPrimaryInterface(vlan);
  m_log.Add("primary %s", primary != nullptr ? primary : "(none)");
  unsigned int word = 0;
  int answer = cGetAddress(vlan, &word);
  m_log.Add("stack asks address %d %08x", answer, word);
  word = 0;
  answer = cGetVlanAddress(vlan | 0x8000u, &word);
  m_log.Add("stack asks address %d %08x", answer, word);
  for (const unsigned int instance : {vlan & 0xffffu, vlan | 0x8000u}) {
    m_log.Add("ready %d", cIsRtmReady(instance));
    amb_cipr_rtm_entity row = {};
    if (cGetRtmConfig(instance, &row) != 1) {
      m_log.Add("settings 2");
      continue;
    }
    m_log.Add("settings 1: %u %u %u %u %u %u %u %u %u %u", row.word[0], row.word[1], row.word[2],
              row.word[6], row.word[7], row.word[8], row.word[9], row.word[14], row.word[28],
              row.word[30]);
  }
  m_log.Add("rescheduled %d", cIsNBaseRescheduled());
}

void LibrarySubject::Console(Command command, unsigned short vlan,
                             const std::vector<std::string>& words) {
  bool destroyed = false;
  auto* console = new LoggingConsole(m_log, m_consoles++, vlan, destroyed);
  std::vector<std::string> line = words;
  if (command == IP_PROTOCOL || command == IP6_PROTOCOL) {
    line.insert(line.begin(), "protocol");
  }
  test_support::ArgumentVector arguments(std::move(line));
  const int argc = arguments.GetCount();
  char** const argv = arguments.GetPointers();
  if (command == IP_PROTOCOL) {
    DcRouterMgr::ConCmdIp4Rtm(nullptr, console, argc, argv);
  } else if (command == IP6_PROTOCOL) {
    DcRouterMgr::ConCmdIp6Rtm(nullptr, console, argc, argv);
  } else {
    Tarsel::DcConsoleCommand* made =
        command == INTERFACES
            ? static_cast<Tarsel::DcConsoleCommand*>(
                  new Tarsel::DcInterfaceConsoleCommand(console, vlan, !words.empty()))
            : new Tarsel::RtmRouteCommand(console, command == RTM_ROUTE6 ? 41 : 0);
    if (!made->Parse(argc, argv)) {
      delete made;
    }
  }
  if (destroyed) {
    return;
  }
  if (Tarsel::DcConsoleCommand::Owns(console)) {
    console->Leave();
  } else {
    delete console;
  }
}

void LibrarySubject::RunStackNow() { Manager().GetScheduler().SchedNBase(); }
void LibrarySubject::Advance(unsigned int milliseconds) {
  m_loop.AdvanceMilliseconds(milliseconds);
}

void LibrarySubject::SetRouteState(const RouteRow& row, unsigned int status) {
  cSetRouteState(row.instance, row.type, row.dest, row.prefixLen, row.nexthop, row.ifIndex,
                 row.metric, row.pathType, row.rowStatus, row.adminStatus, 77, status);
}
void LibrarySubject::SetRedistState(const RedistRow& row, unsigned int status) {
  cSetRedistState(static_cast<unsigned int>(row.rowStatus),
                  static_cast<unsigned int>(row.adminStatus), static_cast<unsigned int>(row.source),
                  static_cast<unsigned int>(row.destination), 88, row.vlan, 99, status);
}
void LibrarySubject::SetRtmReady(unsigned int instance) { cSetRtmReady(instance); }
int LibrarySubject::I3Ready() {
  const int result = cI3Ready();
  m_log.Add("ready signal %d", result != 0 ? 1 : 0);
  return result;
}
void LibrarySubject::RunPendingAction(const Oid& oid) {
  Oid copy = oid;
  cRunPendingAction(copy.data(), static_cast<unsigned int>(copy.size()));
}
void LibrarySubject::Reschedule() { cRescheduleNBase(); }
void LibrarySubject::AskAgain(const RouteRow& row) {
  DcRtmMgr::GetInstance()->UpdateStaticRoute(row.instance & 0x7fffu, row.type, row.dest,
                                             static_cast<int>(row.prefixLen), row.nexthop,
                                             row.ifIndex, 7, 0x30000, 1, 1);
}

}  // namespace library_model
