#include "folder_check.h"

#include <algorithm>
#include <cstring>
#include <set>
#include <utility>

#include "device/program/printable.h"
#include "merged_routes.h"

namespace documents {

using program::Quote;

namespace {

using Bytes = std::array<unsigned char, 16>;

std::string VlanText(unsigned short vlan) { return "VLAN " + std::to_string(vlan); }

void Warn(Findings& findings, Place place, std::string problem) {
  findings.Add({Severity::WARNING, std::move(place), std::move(problem)});
}

bool IsLinkLocal(bool ip6, const Bytes& address) {
  return ip6 && address[0] == 0xFE && (address[1] & 0xC0) == 0x80;
}

Bytes Masked(const Bytes& address, unsigned int length) {
  Bytes masked{};
  for (unsigned int i = 0; i < masked.size() && i * 8 < length; ++i) {
    const unsigned int kept = std::min(length - i * 8, 8u);
    masked[i] = static_cast<unsigned char>(address[i] & 0xFF00u >> kept);
  }
  return masked;
}

// Every IPv6 interface has one of these addresses, all in the same subnet.
/// The subnets of a VLAN's interfaces in one family.
class Subnets {
 public:
  /// Returns the interface that has the subnet: `interface`, or the one that had it before.
  const std::string& Add(const Bytes& address, unsigned int length, const std::string& interface) {
    return m_byLength[length].emplace(Masked(address, length), interface).first->second;
  }
  bool Hold(const Bytes& address) const {
    return std::any_of(m_byLength.begin(), m_byLength.end(), [&](const auto& entry) {
      return entry.second.count(Masked(address, entry.first)) != 0;
    });
  }

 private:
  std::map<unsigned int, std::map<Bytes, std::string>> m_byLength;
};

// VLAN and whether it is of IPv6.
using SubnetsByVlan = std::map<std::pair<unsigned short, bool>, Subnets>;

Bytes BytesOf(const Tarsel::Ip4Addr& address) {
  Bytes bytes{};
  std::memcpy(bytes.data(), address.GetBytes(), 4);
  return bytes;
}

Bytes BytesOf(const Tarsel::Ip6Addr& address) {
  Bytes bytes{};
  std::memcpy(bytes.data(), address.GetBytes(), bytes.size());
  return bytes;
}

unsigned int LengthOf(const Tarsel::Ip4Addr& mask) {
  unsigned int length = 0;
  while (length < 32 && mask != Tarsel::Ip4Addr(Tarsel::Ip6Prefix::s_masks32[length])) {
    ++length;
  }
  return length;
}

class Check {
 public:
  explicit Check(const Folder& folder) : m_folder(folder), m_device(folder.GetDevice()) {}

  Findings Run() {
    CheckInterfaces();
    CheckEntries();
    if (IsRead("device.json")) {
      if (!HasLinks()) {
        CheckRows();
      }
      CheckRoutes();
    }
    CheckMetrics();
    return std::move(m_findings);
  }

 private:
  // Their indexes, VLANs and addresses no document knows.
  bool HasLinks() const { return !m_device.links.taken.empty(); }

  void CheckInterfaces() {
    std::map<std::string, unsigned short> vlanOfName;
    for (const auto& [key, interface] : m_device.interfaces) {
      const InterfaceOrigin& origin = m_device.origins.at(key);
      m_names.insert({key.first, interface.name});
      const auto [known, isNew] = vlanOfName.emplace(interface.name, key.first);
      if (!isNew) {
        Warn(m_findings, origin.place,
             "one interface name in two VLANs, expected another than that of " +
                 VlanText(known->second) + ", found " + Quote(interface.name));
      }
      for (const Ip4Network& network : interface.ip4) {
        AddSubnet({key.first, false}, interface.name, BytesOf(network.address),
                  LengthOf(network.mask), origin.ip4);
      }
      for (std::size_t i = 0; i < interface.ip6.size(); ++i) {
        AddSubnet({key.first, true}, interface.name, BytesOf(interface.ip6[i].GetAddress()),
                  interface.ip6[i].GetLength(), origin.ip6[i]);
      }
    }
  }

  // An interface may have several addresses of a subnet, and each has a link-local one of its own.
  void AddSubnet(const std::pair<unsigned short, bool>& family, const std::string& interface,
                 const Bytes& address, unsigned int length, const Place& place) {
    const std::string& holder = m_subnets[family].Add(address, length, interface);
    if (holder != interface && !IsLinkLocal(family.second, address)) {
      Warn(m_findings, place,
           "one subnet on two interfaces, expected another than that of " + Quote(holder) + " in " +
               VlanText(family.first) + ", found " +
               AddressText(family.second, Masked(address, length)) + "/" + std::to_string(length));
    }
  }

  void CheckEntries() {
    const ConfigFile* vlans = nullptr;
    for (const auto& file : m_folder.files) {
      if (file->type == Tarsel::DclConfigObject::VLAN_OPTIONS) {
        vlans = file.get();
        continue;
      }
      for (const auto& [vlan, place] : file->entries) {
        if (IsRead("vlans.json") && (vlans == nullptr || vlans->vlans.count(vlan) == 0)) {
          Warn(m_findings, place,
               "an entry for a VLAN that the VLAN document does not name, expected one of its "
               "VLANs, found " +
                   std::to_string(vlan));
        }
      }
    }
  }

  // Of what is in a file that cannot be read nothing is missed: its own mistake has been told.
  bool IsRead(const std::string& name) const {
    const bool isDevice = m_folder.deviceFile != nullptr && name == "device.json";
    const bool isConfig = std::any_of(m_folder.files.begin(), m_folder.files.end(),
                                      [&name](const auto& file) { return file->name == name; });
    return m_folder.unreadable.count(name) == 0 || isDevice || isConfig;
  }

  void CheckRows() {
    for (const auto& file : m_folder.files) {
      for (const InterfaceRow& row : file->interfaceRows.Get()) {
        if (m_device.interfaces.count({row.vlan, row.index}) == 0) {
          Warn(m_findings, file->interfaceRows.PlaceOf(row, file->name),
               "a row for an interface that nobody has, expected the index of an interface of " +
                   VlanText(row.vlan) + ", found " + std::to_string(row.index));
        }
      }
    }
  }

  void CheckRoutes() {
    for (const auto& file : m_folder.files) {
      for (const Route& route : file->routes.Get()) {
        if (IsInterfaceThere(*file, route) && !HasLinks()) {
          CheckNextHop(*file, route);
        }
      }
    }
  }

  void CheckMetrics() {
    MergedRoutes merged(m_folder.files);
    const Route* kept = nullptr;
    const ConfigFile* keeper = nullptr;
    while (const Route* route = merged.Next()) {
      if (kept == nullptr || merged.IsFirst()) {
        kept = route;
        keeper = &merged.GetDocument();
      } else if (route->metric != kept->metric) {
        Told(merged.GetDocument(), *route, [&] {
          return "one route in two documents with different metrics, expected " +
                 std::to_string(kept->metric) + " in force as from " +
                 keeper->routes.PlaceOf(*kept, keeper->name).Text() + ", found " +
                 std::to_string(route->metric);
        });
      }
    }
  }

  bool IsInterfaceThere(const ConfigFile& file, const Route& route) {
    const std::string& name = file.routes.InterfaceOf(route);
    if (name.empty() || m_names.count({route.target.vlan, name}) != 0) {
      return true;
    }
    if (m_device.links.Take(name)) {
      m_names.insert({route.target.vlan, name});  // asked once
      return true;
    }
    Told(file, route, [&] {
      return "a route that waits for its interface, expected an interface of " +
             VlanText(route.target.vlan) + ", found " + Quote(name);
    });
    return false;
  }

  void CheckNextHop(const ConfigFile& file, const Route& route) {
    const Bytes& gateway = route.target.gateway;
    const auto subnets = m_subnets.find({route.target.vlan, route.target.ip6});
    if (IsLinkLocal(route.target.ip6, gateway) ||
        (subnets != m_subnets.end() && subnets->second.Hold(gateway))) {
      return;
    }
    Told(file, route, [&] {
      return "a next hop that no subnet of " + VlanText(route.target.vlan) +
             " holds, expected a gateway in one, found " + AddressText(route.target.ip6, gateway);
    });
  }

  // There can be as many of these as routes; what nobody will see is not written.
  template <class Write>
  void Told(const ConfigFile& file, const Route& route, Write write) {
    if (m_findings.CountWarnings() < Findings::KEPT) {
      Warn(m_findings, file.routes.PlaceOf(route, file.name), write());
    } else {
      m_findings.AddUntold(Severity::WARNING, 1);
    }
  }

  const Folder& m_folder;
  const Device& m_device;
  std::set<std::pair<unsigned short, std::string>> m_names;
  SubnetsByVlan m_subnets;
  Findings m_findings;
};

}  // namespace

Findings CheckTogether(const Folder& folder) { return Check(folder).Run(); }

}  // namespace documents
