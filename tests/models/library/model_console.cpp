// The console of the model.
#include <strings.h>

#include <cstdlib>
#include <cstring>

#include "model.h"
#include "tarsel/address.h"

namespace library_model {

namespace {

bool IsWord(const std::string& word, const char* name) {
  return strcasecmp(word.c_str(), name) == 0;
}
bool BeginsLike(const std::string& word, const char* name) {
  return strncasecmp(word.c_str(), name, 2) == 0;
}
/// Whether an operator's word is (an abbreviation of) a keyword.
bool Abbreviates(const std::string& word, const char* name) {
  return strncasecmp(word.c_str(), name, word.size()) == 0;
}

// Two columns, as help texts and details are laid out.
std::size_t PieceLength(const std::string& text, std::size_t width) {
  if (width == 0 || text.empty()) {
    return 1;
  }
  if (text.size() <= width) {
    return text.size();
  }
  const std::size_t blank = text.rfind(' ', width);
  if (blank == std::string::npos) {
    return width;
  }
  return blank == 0 ? 1 : blank;
}

std::string TwoColumns(const std::vector<std::pair<std::string, std::string>>& rows,
                       std::size_t width1, std::size_t width2, const std::string& separator) {
  std::string output;
  for (const auto& row : rows) {
    std::string first = row.first;
    std::string second = row.second;
    for (bool firstLine = true; !first.empty() || !second.empty(); firstLine = false) {
      std::string cell(width1, ' ');
      if (!first.empty()) {
        const std::size_t length = PieceLength(first, firstLine ? width1 : width1 - 4);
        cell.replace(0, length, first, 0, length);
        first.erase(0, length);
      }
      output += cell + separator;
      if (!second.empty()) {
        cell.assign(width2, ' ');
        const std::size_t length = PieceLength(second, width2);
        cell.replace(0, length, second, 0, length);
        second.erase(0, length);
        output += cell;
      }
      output += "\n";
    }
  }
  return output;
}

const char* const DATABASE_HELP =
    "ip%s protocol database [vrf <vid>] [dest <address>] [proto connected|static|bgp|ospf|rip] "
    "[detail]";

std::string Usage4() {
  return TwoColumns(
      {{" " + Text(DATABASE_HELP, ""), "Show Routing Information Base"},
       {" ip protocol mcast-database [vrf <vid>] [group <address>]",
        "Show Multicast Routing Information Base"},
       {" ip protocol summary", "Show Summary of IP Protocols"},
       {" ip protocol pending-actions [summary]", "Show Pending Protocol Configurations"},
       {" ip protocol ips", "IPS Trace Commands"}},
      40, 40, "    ");
}
std::string Usage6() {
  return TwoColumns({{" " + Text(DATABASE_HELP, "6"), "Show Routing Information Base"}}, 40, 40,
                    "    ");
}

std::string Name(const char* const* names, unsigned int count, unsigned int code) {
  return code < count ? names[code] : "";
}
const char* const PROTOCOLS[] = {"", "other", "connnected", "static", "icmp", "",
                                 "", "",      "rip",        "",       "",     "",
                                 "", "ospf",  "bgp",        "idpr",   "",     ""};
const char* const TYPES[] = {"", "other", "reject", "local", "remote"};

std::string AddressText(const unsigned char* bytes, bool ipv6) {
  return ipv6 ? Tarsel::Ip6Addr::FromBytes(bytes).ToString().c_str()
              : Text("%u.%u.%u.%u", bytes[0], bytes[1], bytes[2], bytes[3]);
}

}  // namespace

// What the interface table has gathered.
struct LibraryModel::InterfaceCommand {
  int console;
  bool ipv6;
  unsigned int instance;
  bool addresses = false;
  std::map<unsigned int, std::pair<amb_stubs_i3_ei, std::vector<amb_stubs_i3_ea>>> table;
};

// The route table and the RIB. A RIB row begins like a route row.
struct LibraryModel::RtmCommand {
  int console;
  bool rib;
  bool ipv6;
  unsigned short vlan;
  bool detail = false;
  bool header = false;
  unsigned int proto = 0;
  Tarsel::Ip4Addr dest4;
  Tarsel::Ip6Addr dest6;
};

void LibraryModel::DestroyConsole(int console) {
  m_log.Add("console %d destroyed", console);
  m_destroyedConsoles.insert(console);
  m_ownedConsoles.erase(console);
}

void LibraryModel::EndConsole(int console) { m_log.Add("console %d ends", console); }

void LibraryModel::PrintError(int console, unsigned int result) {
  static const char* const TEXTS[] = {"",
                                      "",
                                      "Gen Error\n",
                                      "Wrong Value\n",
                                      "Inconsistent Value\n",
                                      "Resource Failure\n",
                                      "Family is not found\n",
                                      "End of table\n",
                                      "Agent Error\n",
                                      "Incomplete\n",
                                      "Partial Family ok\n"};
  if (result >= 2 && result <= 10) {
    m_log.Console(console, "error", TEXTS[result]);
  }
  EndConsole(console);
}

void LibraryModel::Console(Command command, unsigned short vlan,
                           const std::vector<std::string>& words) {
  const int console = m_consoles++;
  switch (command) {
    case IP_PROTOCOL:
      IpProtocol(console, vlan, words);
      break;
    case IP6_PROTOCOL:
      Ip6Protocol(console, vlan, words);
      break;
    case RTM_ROUTE:
    case RTM_ROUTE6:
      m_ownedConsoles.insert(console);
      if (!RunRtm(console, vlan, false, command == RTM_ROUTE6, words)) {
        DestroyConsole(console);
      }
      break;
    default: {
      m_ownedConsoles.insert(console);
      auto table = std::make_shared<InterfaceCommand>();
      table->console = console;
      table->ipv6 = !words.empty();
      table->instance = table->ipv6 ? vlan | 0x8000u : vlan;
      // One handler for both walks; which one is under way is the command's own knowledge.
      auto handler = std::make_shared<ScriptedStack::Response>();
      *handler = [this, table, handler](unsigned int result, void* row) -> unsigned char {
        if (result != 1 && result != 7) {
          Count("a walk fails");
          PrintError(table->console, result);
          DestroyConsole(table->console);
          return 0;
        }
        if (!table->addresses) {
          const auto* ei = static_cast<const amb_stubs_i3_ei*>(row);
          if (result == 1 && static_cast<int>(ei->instance) <= static_cast<int>(table->instance)) {
            table->table[ei->if_index].first = *ei;
            return 1;
          }
          Count("a walk is followed by a second one");
          table->addresses = true;
          m_stack->WalkAddresses(table->instance, *handler);
          return 0;
        }
        const auto* ea = static_cast<const amb_stubs_i3_ea*>(row);
        if (result == 1 && static_cast<int>(ea->instance) <= static_cast<int>(table->instance)) {
          table->table[ea->if_index].second.push_back(*ea);
          return 1;
        }
        std::string out =
            "\nFlags:\nB-Broadcast M-Multicast L-Loopback\nT-MPLS Tunnel "
            "P-Point2Point U-Unnumbered\n";
        out += Text("%4s %10s %10s %6s %6s %6s %s\n", "VLAN", "IfIndex", "IfName", "Status", "MTU",
                    "Flags", "IPAddress");
        for (const auto& entry : table->table) {
          const amb_stubs_i3_ei& line = entry.second.first;
          std::string flags;
          for (int bit = 0; bit < 6; ++bit) {
            if ((line.flags >> bit & 1u) != 0) {
              flags += "TLPBMU"[bit];
            }
          }
          out += Text("%4u %10u %10s ", line.instance & 0x7fffu, line.if_index, line.name);
          out +=
              Text("%6s %6u %6s ", line.oper_status == 1 ? "UP" : "DOWN", line.mtu, flags.c_str());
          bool isFirst = true;
          for (const amb_stubs_i3_ea& address : entry.second.second) {
            if (!isFirst) {
              out += Text("\n%4s %10s %10s %6s %6s %6s ", "", "", "", "", "", "");
            }
            isFirst = false;
            out += AddressText(address.address, table->ipv6) + Text("/%u", address.prefix_length);
          }
          out += "\n";
        }
        Print(table->console, out + "End of Table\n");
        EndConsole(table->console);
        DestroyConsole(table->console);
        return 0;
      };
      m_stack->WalkInterfaces(table->instance, *handler);
      break;
    }
  }
  if (m_destroyedConsoles.count(console) == 0 && m_ownedConsoles.count(console) == 0) {
    DestroyConsole(console);
  }
}

void LibraryModel::IpProtocol(int console, unsigned short vlan, std::vector<std::string> words) {
  const std::vector<std::string> rest(words.begin() + (words.empty() ? 0 : 1), words.end());
  if (words.empty()) {
    Print(console, "Usage: \n" + Usage4());
  } else if (BeginsLike(words[0], "pending-actions")) {
    if (words.size() == 2 && IsWord(words[1], "summary")) {
      Print(console, Text("Pending Item Buckets: %u\n", static_cast<unsigned>(m_buckets.size())));
      return;
    }
    unsigned int number = 0;
    for (const auto& bucket : m_buckets) {
      for (const auto& item : *bucket.second) {
        Print(console, Text("==== Item %u ====\n", number++) + ItemText(*item) + "\n");
      }
    }
  } else if (BeginsLike(words[0], "summary")) {
    Summary(console, false);
  } else if (BeginsLike(words[0], "database")) {
    m_ownedConsoles.insert(console);
    if (!RunRtm(console, vlan, true, false, rest)) {
      DestroyConsole(console);
    }
  } else if (IsWord(words[0], "ips")) {
    Ips(console, rest);
  } else if (BeginsLike(words[0], "mcast-database")) {
    m_ownedConsoles.insert(console);
    if (rest.empty()) {
      Print(console, "multicast\n");
      EndConsole(console);
    } else {
      Print(console, "Fail to parse mcast-database sub command.\n");
    }
    DestroyConsole(console);
  } else {
    Print(console, "Usage: \n" + Usage4());
  }
}

void LibraryModel::Ip6Protocol(int console, unsigned short vlan, std::vector<std::string> words) {
  if (!words.empty() && IsWord(words[0], "summary")) {
    Summary(console, true);
  } else if (!words.empty() && IsWord(words[0], "database")) {
    m_ownedConsoles.insert(console);
    if (!RunRtm(console, vlan, true, true, {words.begin() + 1, words.end()})) {
      DestroyConsole(console);
    }
  } else {
    Print(console, "Usage: \n" + Usage6());
  }
}

void LibraryModel::Summary(int console, bool ipv6) {
  Print(console, Text("%6s %6s %6s %6s %6s\n", "VID", "BGP4+", ipv6 ? "OSPFv3" : "OSPFv2",
                      ipv6 ? "RIPng" : "RIPv2", ipv6 ? "MLD" : "IGMP"));
  for (const auto& vlan : m_vlans) {
    Print(console, Text("%6u", vlan.first));
    for (const int protocol : {0, ipv6 ? 2 : 1, ipv6 ? 4 : 3, ipv6 ? 6 : 5}) {
      const auto& router = vlan.second->routers[static_cast<std::size_t>(protocol)];
      Print(console, Text(" %6s", RouterEnabled(router) ? "Yes" : "No"));
    }
    Print(console, "\n");
  }
  DestroyConsole(console);
}

void LibraryModel::Ips(int console, std::vector<std::string> words) {
  const std::size_t count = words.size();
  const bool hasFilter = count >= 4 && IsWord(words[1], "filter") &&
                         (IsWord(words[2], "type") || IsWord(words[2], "proc")) &&
                         (IsWord(words[3], "in") || IsWord(words[3], "out"));
  const int code =
      hasFilter ? (IsWord(words[2], "proc") ? 4 : 0) + (IsWord(words[3], "in") ? 1 : 2) : 0;
  if (count >= 1 && IsWord(words[0], "on")) {
    m_stack->Control("nbb_trips_control", "", 1);
    Print(console, "IPS TRACE is ON!\n");
  } else if (count >= 1 && IsWord(words[0], "off")) {
    m_stack->Control("nbb_trips_control", "", 0);
    Print(console, "IPS TRACE is OFF!\n");
  } else if (count >= 1 && IsWord(words[0], "status")) {
    m_stack->Control("nbb_get_ips_tracing", "", 0);
    Print(console, "IPS TRACE is OFF!\n");
  } else if (hasFilter && count >= 5 && IsWord(words[0], "set")) {
    Print(console, Text("IPS TRACE filter %s and type %d is set!\n", words[4].c_str(), code));
    m_stack->Control("nbb_set_ips_filter", words[4].c_str(), code);
  } else if (hasFilter && IsWord(words[0], "reset")) {
    Print(console, Text("IPS TRACE filter type %d is Reset!\n", code));
    m_stack->Control("nbb_set_ips_filter", "", code);
  } else {
    Print(console,
          "Usage: ips [on|off|status|set filter|reset filter]\n       ips set filter [type|proc] "
          "[in|out] <FILTERLIST>\n       ips reset filter [type|proc] [in|out]\n\n       where "
          "FILTERLIST :\n                   filter\n                   FILTERLIST, filter\n");
  }
}

bool LibraryModel::RunRtm(int console, unsigned short vlan, bool rib, bool ipv6,
                          std::vector<std::string> words) {
  auto command = std::make_shared<RtmCommand>();
  command->console = console;
  command->rib = rib;
  command->ipv6 = ipv6;
  command->vlan = vlan;
  m_log.Add("console %d asked for its VLAN", console);
  const char* what = rib ? "rib" : "route";
  const auto fail = [&] {
    Print(console, Text("Usage: rtm %s [vrf <vid>] [destination <Destination Address>] [protocol "
                        "bgp|connected|static|rip|ospf] [detail]\n",
                        what));
    return false;
  };
  for (const char* option : {"vrf", "dest", "proto"}) {
    if (words.empty() || !Abbreviates(words[0], option)) {
      continue;
    }
    words.erase(words.begin());
    if (words.empty()) {
      return fail();
    }
    const std::string value = words[0];
    if (option[0] == 'v') {
      char* end = nullptr;
      const unsigned long number = std::strtoul(value.c_str(), &end, 10);
      if (*end != '\0') {
        Print(console, "Invalid VLAN ID " + value + "\n");
        return fail();
      }
      command->vlan = static_cast<unsigned short>(number);
    } else if (option[0] == 'd') {
      const bool good = ipv6 ? command->dest6.FromString(value.c_str())
                             : Tarsel::Parse_IpAddr()(command->dest4, value.c_str()) != 0;
      if (!good) {
        Print(console, Text("Invalid IPv%d Destination Address %s\n", ipv6 ? 6 : 4, value.c_str()));
        return fail();
      }
    } else {
      static const std::map<std::string, unsigned int> CODES = {
          {"bgp", 14}, {"connected", 2}, {"ospf", 13}, {"rip", 8}, {"static", 3}};
      if (CODES.count(value) == 0) {
        return fail();
      }
      command->proto = CODES.at(value);
    }
    words.erase(words.begin());
  }
  if (!words.empty() && Abbreviates(words[0], "detail")) {
    command->detail = true;
    words.erase(words.begin());
  }
  if (!words.empty()) {
    return false;
  }
  if (FindRtm(command->vlan) == nullptr) {
    Print(console, Text("VLAN %u is not present\n", command->vlan));
    return false;
  }

  const auto handler = [this, command](unsigned int result, void* data) -> unsigned char {
    const RtmCommand& c = *command;
    if (result != 1) {
      if (result != 7) {
        Count("a walk fails");
      }
      PrintError(c.console, result);
      DestroyConsole(c.console);
      return 0;
    }
    const auto& row = *static_cast<const amb_cipr_rtm_route*>(data);
    const auto& ribRow = *static_cast<const amb_cipr_rtm_rib*>(data);
    const bool filtered = c.ipv6 ? c.dest6 != Tarsel::Ip6Addr() &&
                                       std::memcmp(c.dest6.GetBytes(), row.destination, 16) != 0
                                 : c.dest4 != Tarsel::Ip4Addr() &&
                                       std::memcmp(c.dest4.GetBytes(), row.destination, 4) != 0;
    if (row.instance != (c.ipv6 ? c.vlan | 0x8000u : c.vlan) ||
        (c.proto != 0 && c.proto != row.route_proto) || filtered) {
      Count("a walk skips a row");
      return 1;
    }
    const auto vid = static_cast<unsigned short>(row.instance & 0x7fffu);
    const std::string prefix =
        AddressText(row.destination, c.ipv6) + Text("/%u", row.prefix_length);
    const std::string nexthop = AddressText(row.next_hop, c.ipv6);
    const std::string protocol = Name(PROTOCOLS, 18, row.route_proto);
    if (c.detail) {
      std::vector<std::pair<std::string, std::string>> rows = {
          {"VLAN", std::to_string(vid)},
          {"Destination", prefix},
          {"Nexthop", nexthop},
          {"Route Type", Name(TYPES, 5, row.route_type)},
          {"Protocol", protocol}};
      const std::pair<const char*, unsigned int> numbers[] = {
          {"Route Info", row.route_info}, {"Age", row.age},         {"NextHop AS", row.next_hop_as},
          {"Metric1", row.metric1},       {"Metric2", row.metric2}, {"Metric3", row.metric3},
          {"Metric4", row.metric4},       {"Metric5", row.metric5}};
      for (const auto& number : numbers) {
        rows.emplace_back(number.first, std::to_string(number.second));
      }
      Print(c.console, TwoColumns(rows, 20, 40, ":  ") + "\n");
      if (c.rib) {
        Print(c.console, Text("FIB Route?  : %s\n", ribRow.fib_flag == 1 ? "yes" : "no"));
      }
      return 1;
    }
    const int prefixWidth = c.ipv6 ? 50 : 19;
    const int nexthopWidth = c.ipv6 ? 46 : 16;
    if (!c.header) {
      Print(c.console, Text("\n %4s %*s %*s %10s %10s %10s\n", "VLAN", prefixWidth, "PREFIX",
                            nexthopWidth, "NEXTHOP", "IFACE", "AGE", "PROTO"));
      command->header = true;
    }
    const std::string interface =
        c.rib && ribRow.interface_pending == 1 ? "TBD" : IfName(vid, row.if_index);
    Print(c.console,
          Text("%c%4u %*s %*s %10s %10u %-10s\n", c.rib && ribRow.fib_flag == 1 ? '>' : ' ', vid,
               prefixWidth, prefix.c_str(), nexthopWidth, nexthop.c_str(), interface.c_str(),
               row.age, protocol.c_str()));
    return 1;
  };
  if (rib) {
    m_stack->WalkRib(handler);
  } else {
    m_stack->WalkRoutes(handler);
  }
  return true;
}

}  // namespace library_model
