#include "device_document.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <set>

#include "device/program/decimal.h"
#include "device/program/printable.h"
#include "json_members.h"
#include "vantacore/config_parser.h"

namespace documents {

using program::Quote;

namespace {

constexpr std::uint32_t MAX_VLAN = 0x7FFF;  // the bit above tells a VLAN's IPv6 instance
constexpr std::uint32_t MAX_INDEX = 0x7FFFFFFF;
constexpr std::uint32_t MIN_MTU = 68;
constexpr std::uint32_t MAX_MTU = 65535;
constexpr std::size_t MAX_NAME = 64;

struct Flag {
  const char* name;
  std::uint32_t bit;
};

constexpr Flag FLAGS[] = {{"mpls-tunnel", 1}, {"loopback", 2},   {"point-to-point", 4},
                          {"broadcast", 8},   {"multicast", 16}, {"unnumbered", 32}};

bool SplitPrefix(const std::string& text, std::uint32_t maximum, std::string& address,
                 std::uint32_t& length) {
  const std::size_t slash = text.find('/');
  address = text.substr(0, slash);
  const bool isWhole = address.find('\0') == std::string::npos;  // as a C text too
  if (!isWhole || slash == std::string::npos) {
    return false;
  }
  const auto number = program::ReadDecimal(text.substr(slash + 1), 0, maximum);
  length = number.value_or(0);
  return number.has_value();
}

bool IsName(const std::string& name) {
  return !name.empty() && name.size() <= MAX_NAME &&
         std::all_of(name.begin(), name.end(), [](unsigned char c) { return std::isgraph(c); });
}

class Reader {
 public:
  Reader(const std::string& file, const program::Report& report) : m_file(file), m_report(report) {}

  Device Read(const Json::Value& document) {
    JsonMembers root(document, m_file, m_report);
    std::uint32_t vlan = 0;
    if (root.Number("default_vlan", 0, MAX_VLAN, vlan, JsonMembers::REQUIRED)) {
      m_result.defaultVlan = static_cast<unsigned short>(vlan);
    }
    if (const Json::Value* interfaces = root.Array("interfaces")) {
      for (Json::ArrayIndex i = 0; i < interfaces->size(); ++i) {
        ReadInterface((*interfaces)[i], root.PlaceOf("interfaces").Element(i));
      }
    }
    if (const Json::Value* primaries = root.Object("primary_interfaces")) {
      ReadPrimaries(*primaries, root.PlaceOf("primary_interfaces"));
    }
    root.ReportOthers();
    return std::move(m_result);
  }

 private:
  void Complain(const Place& place, const std::string& problem) {
    m_report(place.Text() + ": " + problem);
  }

  void ReadInterface(const Json::Value& value, const Place& place) {
    if (!value.isObject()) {
      Complain(place, "expected an object, found " + Describe(value));
      return;
    }
    JsonMembers members(value, place, m_report);
    Interface interface;
    InterfaceOrigin origin{place, {}};
    std::uint32_t vlan = 0;
    std::uint32_t index = 0;
    const bool named = members.Text("name", interface.name, JsonMembers::REQUIRED);
    const bool placed = members.Number("vlan", 0, MAX_VLAN, vlan, JsonMembers::REQUIRED);
    const bool numbered = members.Number("index", 1, MAX_INDEX, index, JsonMembers::REQUIRED);
    ReadOptional(members, interface, origin);
    members.ReportOthers();
    if (!named || !placed || !numbered) {
      return;
    }
    if (!IsName(interface.name)) {
      Complain(
          place.Member("name"),
          "expected 1 to 64 printable characters without blanks, found " + Quote(interface.name));
      return;
    }
    Add({static_cast<unsigned short>(vlan), index}, std::move(interface), std::move(origin));
  }

  // Routes name their interface by VLAN and name, the stack by VLAN and index: each pair once.
  void Add(const InterfaceKey& key, Interface interface, InterfaceOrigin origin) {
    const std::string vlan = std::to_string(key.first);
    if (m_result.interfaces.count(key)) {
      Complain(origin.place, "VLAN " + vlan + " has another interface with index " +
                                 std::to_string(key.second) + ", which stays");
    } else if (!m_names.insert({key.first, interface.name}).second) {
      Complain(origin.place,
               "VLAN " + vlan + " has another interface " + interface.name + ", which stays");
    } else {
      m_result.interfaces.emplace(key, std::move(interface));
      m_result.origins.emplace(key, std::move(origin));
    }
  }

  void ReadOptional(JsonMembers& members, Interface& interface, InterfaceOrigin& origin) {
    members.Number("mtu", MIN_MTU, MAX_MTU, interface.mtu);
    members.Bool("up", interface.up);
    members.Bool("joined", interface.joined);
    if (const Json::Value* flags = members.Array("flags")) {
      for (Json::ArrayIndex i = 0; i < flags->size(); ++i) {
        ReadFlag((*flags)[i], members.PlaceOf("flags").Element(i), interface);
      }
    }
    std::string address;
    Ip4Network network;
    if (members.Text("ipv4", address)) {
      if (documents::ReadPrefix(address, network)) {
        interface.ip4 = network;
      } else {
        members.Complain("ipv4", "expected an IPv4 address/length, found " + Quote(address));
      }
    }
    if (const Json::Value* prefixes = members.Array("ipv6")) {
      std::set<Tarsel::Ip6Prefix, Ip6PrefixOrder> addresses;
      for (Json::ArrayIndex i = 0; i < prefixes->size(); ++i) {
        if (ReadPrefix((*prefixes)[i], members.PlaceOf("ipv6").Element(i), addresses, interface)) {
          origin.ip6.push_back(i);
        }
      }
    }
  }

  void ReadFlag(const Json::Value& value, const Place& place, Interface& interface) {
    for (const Flag& flag : FLAGS) {
      if (value.isString() && value.asString() == flag.name) {
        interface.flags |= flag.bit;
        return;
      }
    }
    std::string names;
    for (const Flag& flag : FLAGS) {
      names += std::string(names.empty() ? "" : ", ") + flag.name;
    }
    Complain(place, "expected one of " + names + ", found " + Describe(value));
  }

  // `addresses` has those that the interface has already. The length is not part of an address's
  // identity.
  bool ReadPrefix(const Json::Value& value, const Place& place,
                  std::set<Tarsel::Ip6Prefix, Ip6PrefixOrder>& addresses, Interface& interface) {
    Tarsel::Ip6Prefix prefix;
    if (!value.isString() || !documents::ReadPrefix(value.asString(), prefix)) {
      Complain(place, "expected an IPv6 address/length, found " + Describe(value));
      return false;
    }
    if (!addresses.insert(Tarsel::Ip6Prefix(prefix.GetAddress(), 0)).second) {
      Complain(place, "the interface has this address already");
      return false;
    }
    interface.ip6.push_back(prefix);
    return true;
  }

  void ReadPrimaries(const Json::Value& primaries, const Place& place) {
    for (auto member = primaries.begin(); member != primaries.end(); ++member) {
      const Place here = place.Member(member.name());
      const auto number = program::ReadDecimal(member.name(), 0, MAX_VLAN);
      const auto vlan = static_cast<unsigned short>(number.value_or(0));
      if (!number) {
        Complain(here, "expected a VLAN from 0 to " + std::to_string(MAX_VLAN) + " as the name");
      } else if (!member->isString()) {
        Complain(here, "expected an interface's name, found " + Describe(*member));
      } else if (!m_names.count({vlan, member->asString()})) {
        Complain(here,
                 "VLAN " + std::to_string(vlan) + " has no interface " + Quote(member->asString()));
      } else {
        m_result.primaries[vlan] = member->asString();
      }
    }
  }

  const Place m_file;
  const program::Report& m_report;
  Device m_result;
  std::set<std::pair<unsigned short, std::string>> m_names;
};

}  // namespace

bool Ip6PrefixOrder::operator()(const Tarsel::Ip6Prefix& a, const Tarsel::Ip6Prefix& b) const {
  const int order = std::memcmp(a.GetAddress().GetBytes(), b.GetAddress().GetBytes(), 16);
  return order != 0 ? order < 0 : a.GetLength() < b.GetLength();
}

bool ReadPrefix(const std::string& text, Ip4Network& network) {
  std::string address;
  std::uint32_t length = 0;
  if (!SplitPrefix(text, 32, address, length) ||
      !Tarsel::ParseAddress(network.address, address.c_str())) {
    return false;
  }
  network.mask = Tarsel::Ip4Addr(Tarsel::Ip6Prefix::s_masks32[length]);
  return true;
}

// Not Ip6Prefix::FromString, which clears the host bits: they are the interface's own address.
bool ReadPrefix(const std::string& text, Tarsel::Ip6Prefix& prefix) {
  std::string text6;
  std::uint32_t length = 0;
  Tarsel::Ip6Addr address;
  if (!SplitPrefix(text, 128, text6, length) || !Tarsel::ParseIp6Address(address, text6.c_str())) {
    return false;
  }
  prefix = Tarsel::Ip6Prefix(address, length);
  return true;
}

Device ReadDeviceDocument(const Json::Value& document, const std::string& file,
                          const program::Report& report) {
  return Reader(file, report).Read(document);
}

}  // namespace documents
