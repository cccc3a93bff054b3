#include "tests/convergence/configuration.h"

#include <cstdio>
#include <cstdlib>
#include <sstream>

#include "device/base/trace_control.h"
#include "vantacore/config_parser.h"
#include "vantacore/dc_interface_mgr.h"
#include "vantacore/dc_rtm_mgr.h"
#include "vantacore/static_routes.h"

namespace convergence {

namespace {

constexpr unsigned int STATIC_PROTOCOL = 0x30000;
constexpr unsigned int PROTOCOL_CODES[PROTOCOL_KINDS] = {0xD0000, 0xD0000, 0x80000, 0xE0000};
constexpr unsigned short IP6_INSTANCE = 0x8000;
constexpr unsigned int ROW_ACTIVE = 1;
constexpr unsigned int ROW_DESTROY = 6;

[[noreturn]] void Die(const char* what) {
  std::fprintf(stderr, "%s\n", what);
  std::abort();
}

Tarsel::Ip4Addr Address4(const std::string& text) {
  Tarsel::Ip4Addr address;
  if (Tarsel::Parse_IpAddr()(address, text.c_str()) != 1) {
    Die("a sequence has an IPv4 address that is none");
  }
  return address;
}

Tarsel::Ip6Addr Address6(const std::string& text) {
  Tarsel::Ip6Addr address;
  if (Tarsel::ParseIp6Address(address, text.c_str()) == 0) {
    Die("a sequence has an IPv6 address that is none");
  }
  return address;
}

Tarsel::Ip4Addr Mask(unsigned int length) {
  return Tarsel::Ip4Addr(Tarsel::Ip6Prefix::s_masks32[length]);
}

std::string Row(Protocol protocol, unsigned short vlan, unsigned int key, unsigned int value) {
  const std::string names = std::to_string(vlan) + "_" + std::to_string(key);
  const std::string contents = std::to_string(value);
  switch (protocol) {
    case OSPF:
      return R"({"Name": "OSPF_)" + names + R"(_1_0", "area": "0.0.0.0", "cost": )" + contents +
             "}";
    case OSPFV3:
      return R"({"Name": "OSPF_)" + names + R"(_1_0", "cost": )" + contents + "}";
    case RIPV2:
      return R"({"Name": "RIP_)" + names + R"(", "cost": )" + contents + "}";
    default:
      return R"({"Name": "BGP_)" + names + R"(", "address": "10.0.0.)" + std::to_string(key) +
             R"(", "as": )" + contents + "}";
  }
}

std::string Member(Protocol protocol, unsigned short vlan,
                   const std::map<unsigned int, unsigned int>& rows) {
  static const char* const NAMES[PROTOCOL_KINDS] = {"OSPF", "OSPFV3", "RIPV2", "BGP"};
  std::string text;
  for (const auto& [key, value] : rows) {
    text += (text.empty() ? "\"r" : ", \"r") + std::to_string(key) +
            "\": " + Row(protocol, vlan, key, value);
  }
  return std::string(", \"") + NAMES[protocol] + R"(": {"enabled": true, ")" +
         (protocol == BGP ? "PEERS" : "IF_LIST") + "\": {" + text + "}}";
}

std::string Entry(unsigned short id, const Vlan& vlan) {
  std::string text = R"({"vid": )" + std::to_string(id);
  if (vlan.distances != 0) {
    text += R"(, "RTM": {"ADMIN_DISTANCE": {"ospfv2_internal": )" +
            std::to_string(30 + vlan.distances) + R"(, "ospfv3_external": )" +
            std::to_string(90 + vlan.distances) + "}}";
  }
  for (const auto& [protocol, rows] : vlan.protocols) {
    text += Member(protocol, id, rows);
  }
  return text + "}";
}

}  // namespace

std::string NameOf(unsigned int ifIndex) { return "eth" + std::to_string(ifIndex); }

std::string Configuration::Document(unsigned int number) const {
  std::string entries;
  for (const auto& [id, vlan] : vlans) {
    if (DocumentOf(id) == number) {
      entries +=
          (entries.empty() ? "\"vlan" : ", \"vlan") + std::to_string(id) + "\": " + Entry(id, vlan);
    }
  }
  return R"({"VLAN_CONFIGURATIONS": {)" + entries + "}}";
}

Host::Host() {
  Tarsel::SetTraceSink([](int, const std::string&) {});
  Tarsel::SetAssertSink([](const char*, const char*, int) {});
  Start();
}

void Host::Load(unsigned int number, const std::string& document) {
  Reload(document, "vlans-" + std::to_string(number) + ".json");
}

void Host::AddInterface(const InterfaceKey& key, const Interface& interface) {
  Tarsel::DcInterfaceMgr::GetInstance()->AddInterface(
      key.first, key.second, NameOf(key.second).c_str(), Tarsel::DcInterfaceMgr::INTF_TYPE_NONE,
      interface.flags, interface.mtu, interface.up ? 1 : 2);
}

void Host::SetAddress(const InterfaceKey& key, const std::string& address, unsigned int length) {
  Tarsel::DcInterfaceMgr::GetInstance()->AddIpAddress(key.first, key.second, Address4(address),
                                                      Mask(length));
}

void Host::ChangeAddress(const InterfaceKey& key, const std::string& address, unsigned int length) {
  Tarsel::DcInterfaceMgr::GetInstance()->ChangeIpAddress(key.first, key.second, Address4(address),
                                                         Mask(length));
}

void Host::RemoveAddress(const InterfaceKey& key, const std::string& address, unsigned int length) {
  Tarsel::DcInterfaceMgr::GetInstance()->DeleteIpAddress(key.first, key.second, Address4(address),
                                                         Mask(length));
}

void Host::SetAddress6(const InterfaceKey& key, const std::string& address, unsigned int length) {
  Tarsel::DcInterfaceMgr::GetInstance()->AddIpAddress(key.first, key.second, Address6(address),
                                                      length);
}

void Host::RemoveAddress6(const InterfaceKey& key, const std::string& address,
                          unsigned int length) {
  Tarsel::DcInterfaceMgr::GetInstance()->DeleteIpAddress(key.first, key.second, Address6(address),
                                                         length);
}

void Host::SetRoute(unsigned short vlan, const Route& route, const RouteValues& values) {
  const long adminStatus = values.up ? 1 : 2;
  if (route.IsIp6()) {
    const Tarsel::Ip6Addr destination = Address6(route.destination);
    Tarsel::AddRoute(vlan, destination, Tarsel::Ip6Prefix(destination, route.length),
                     Address6(route.nextHop), route.ifIndex, values.metric, STATIC_PROTOCOL,
                     adminStatus);
  } else {
    Tarsel::AddRoute(vlan, Address4(route.destination), Mask(route.length), Address4(route.nextHop),
                     route.ifIndex, values.metric, STATIC_PROTOCOL, adminStatus);
  }
}

void Host::RemoveRoute(unsigned short vlan, const Route& route) {
  if (route.IsIp6()) {
    const Tarsel::Ip6Addr destination = Address6(route.destination);
    Tarsel::RemoveRoute(vlan, destination, Tarsel::Ip6Prefix(destination, route.length),
                        Address6(route.nextHop), route.ifIndex);
  } else {
    Tarsel::RemoveRoute(vlan, Address4(route.destination), Mask(route.length),
                        Address4(route.nextHop), route.ifIndex);
  }
}

void Host::SetRule(unsigned short vlan, const std::pair<bool, Protocol>& rule, bool there) {
  const auto instance = static_cast<unsigned short>(rule.first ? vlan | IP6_INSTANCE : vlan);
  Tarsel::DcRtmMgr::GetInstance()->Redistribute(there ? ROW_ACTIVE : ROW_DESTROY, there ? 1 : 2,
                                                STATIC_PROTOCOL, PROTOCOL_CODES[rule.second],
                                                instance);
}

void Host::Answered() {
  if (!Settle()) {
    Die("the device does not settle");
  }
}

// Rules come last: one for a protocol that is not ready is dropped.
void Host::Configure(const Configuration& configuration) {
  for (unsigned int number = 0; number < Configuration::DOCUMENTS; ++number) {
    Load(number, configuration.Document(number));
  }
  for (const auto& [key, interface] : configuration.interfaces) {
    AddInterface(key, interface);
    if (!interface.address.empty()) {
      SetAddress(key, interface.address, interface.length);
    }
  }
  for (const auto& [key, length] : configuration.addresses6) {
    SetAddress6(key.first, key.second, length);
  }
  for (const auto& [key, values] : configuration.routes) {
    SetRoute(key.first, key.second, values);
  }
  Answered();
  for (const auto& [id, vlan] : configuration.vlans) {
    for (const auto& rule : vlan.rules) {
      SetRule(id, rule, true);
    }
  }
  Answered();
}

std::string Host::Tables() {
  std::istringstream dump(Dump());
  std::string text;
  for (std::string line; std::getline(dump, line);) {
    text += line.substr(0, line.find(" router-id ")) + "\n";
  }
  return text;
}

}  // namespace convergence
