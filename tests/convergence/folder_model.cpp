#include "tests/convergence/folder_model.h"

#include <sstream>
#include <vector>

namespace convergence {

namespace {

std::string Quoted(const std::string& text) { return "\"" + text + "\""; }

std::string Joined(const std::vector<std::string>& parts) {
  std::string text;
  for (const std::string& part : parts) text += (text.empty() ? "" : ",\n  ") + part;
  return text;
}

std::string DestinationText(const FolderRoute& route) {
  if (route.ip6) {
    return R"("network": "2001:db8:f)" + std::to_string(route.network) + R"(::", "prefix": "48")";
  }
  return R"("network": "172.)" + std::to_string(16 + route.network / 256) + "." +
         std::to_string(route.network % 256) + R"(.0", "netmask": "255.255.255.0")";
}

std::string RouteText(unsigned short vlan, const FolderRoute& route, unsigned int metric) {
  // The next hop is on the network of the VLAN's first interface.
  const unsigned int gateway = 100 + route.gateway;
  std::string text = DestinationText(route) + R"(, "gateway": ")";
  text += route.ip6 ? Address6(vlan, vlan + 1U, gateway) : Address4(vlan, vlan + 1U, gateway);
  text += R"(", "metric": ")" + std::to_string(metric) + "\"";
  if (!route.ip6) text += R"(, "routemetricmode": "passthrough")";
  if (route.hasInterface) text += R"(, "interface": )" + Quoted(InterfaceName(vlan + 1));
  return "{" + text + "}";
}

std::string RoutesText(unsigned short vlan, const std::map<FolderRoute, unsigned int>& routes) {
  std::vector<std::string> lists[2];
  unsigned int number = 0;
  for (const auto& [route, metric] : routes) {
    lists[route.ip6 ? 1 : 0].push_back(Quoted("r" + std::to_string(number++)) + ": " +
                                       RouteText(vlan, route, metric));
  }
  std::string text;
  if (!lists[0].empty()) text += ", \"STATIC_ROUTES\": {" + Joined(lists[0]) + "}";
  if (!lists[1].empty()) text += ", \"STATIC_ROUTES6\": {" + Joined(lists[1]) + "}";
  return text;
}

std::string ProtocolText(unsigned short vlan, const FolderProtocol& protocol,
                         const FolderMember& member) {
  std::vector<std::string> parts;
  for (const auto& [id, value] : member.rows) {
    const std::string number = std::to_string(value);
    const std::string name =
        std::string(protocol.prefix) + "_" + std::to_string(vlan) + "_" + std::to_string(id);
    parts.push_back(Quoted("e" + std::to_string(id)) + ": {\"Name\": " + Quoted(name) + ", " +
                    (protocol.table == 1
                         ? R"("address": "10.0.0.)" + std::to_string(id) + R"(", "as": )" + number
                         : R"("cost": )" + number) +
                    "}");
  }
  return std::string(", ") + Quoted(protocol.member) + R"(: {"enabled": )" +
         (member.isEnabled ? "true, " : "false, ") + Quoted(protocol.list) + ": {" + Joined(parts) +
         "}}";
}

std::string ProtocolsText(unsigned short vlan, const FolderMembers& protocols) {
  std::string text;
  for (const auto& [protocol, member] : protocols) {
    text += ProtocolText(vlan, FOLDER_PROTOCOLS[protocol], member);
  }
  return text;
}

std::string ProfileText(const FolderVlan& vlan) {
  std::vector<std::string> flags = {
      R"("static": )" + std::string(vlan.closedSources.count("static") ? "false" : "true")};
  for (const std::string& source : vlan.closedSources) {
    if (source != "static") flags.push_back(Quoted(source) + ": false");
  }
  return ", \"REDISTRIBUTION\": {" + Joined(flags) + "}";
}

std::string VlanText(unsigned short id, const FolderVlan& vlan) {
  std::string text = Quoted("v" + std::to_string(id)) + R"(: {"vid": )" + std::to_string(id);
  text += R"(, "RTM": {"ADMIN_DISTANCE": {"ripv2": )" + std::to_string(100 + vlan.distances) + "}}";
  text += ProtocolsText(id, vlan.protocols);
  if (vlan.hasProfile) text += ProfileText(vlan);
  return text + RoutesText(id, vlan.routes) + "}";
}

std::string RemoteText(const FolderRemote& remote) {
  std::vector<std::string> entries;
  for (const auto& [id, entry] : remote) {
    entries.push_back(Quoted("v" + std::to_string(id)) + R"(: {"vid": )" + std::to_string(id) +
                      ProtocolsText(id, entry.protocols) + RoutesText(id, entry.routes) + "}");
  }
  return "{\"VLAN_CONFIGURATIONS\": {\n  " + Joined(entries) + "}}\n";
}

std::string InterfaceText(unsigned short vlan, unsigned int index, const std::string& name,
                          const FolderInterface& interface) {
  std::ostringstream text;
  text << R"({"name": ")" << name << R"(", "vlan": )" << vlan << R"(, "index": )" << index
       << R"(, "mtu": )" << interface.mtu << R"(, "up": )" << (interface.up ? "true" : "false")
       << R"(, "joined": )" << (interface.joined ? "true" : "false");
  if (interface.address != 0) {
    text << R"(, "ipv4": ")" << Address4(vlan, index, interface.address) << "/" << LENGTH4 << '"';
  }
  if (interface.address6 != 0) {
    text << R"(, "ipv6": [")" << Address6(vlan, index, interface.address6) << "/" << LENGTH6
         << R"("])";
  }
  text << "}";
  return text.str();
}

}  // namespace

std::string InterfaceName(unsigned int index) { return "eth" + std::to_string(index); }

std::string Address4(unsigned short vlan, unsigned int index, unsigned int number) {
  return "10." + std::to_string(vlan) + "." + std::to_string(index) + "." + std::to_string(number);
}

std::string Address6(unsigned short vlan, unsigned int index, unsigned int number) {
  return "2001:db8:" + std::to_string(vlan) + ":" + std::to_string(index) +
         "::" + std::to_string(number);
}

FolderFiles FolderModel::Files() const {
  std::vector<std::string> rows = {InterfaceText(10, mark, MARK_NAME, {})};
  for (const auto& [key, interface] : interfaces) {
    rows.push_back(InterfaceText(key.first, key.second, InterfaceName(key.second), interface));
  }
  std::vector<std::string> entries;
  for (const auto& [id, vlan] : vlans) entries.push_back(VlanText(id, vlan));
  FolderFiles files = {
      {"device.json", "{\"default_vlan\": 10, \"interfaces\": [\n  " + Joined(rows) + "]}\n"},
      {"vlans.json", "{\"VLAN_CONFIGURATIONS\": {\n  " + Joined(entries) + "}}\n"}};
  for (const auto& [name, remote] : remotes) files[name] = RemoteText(remote);
  return files;
}

}  // namespace convergence
