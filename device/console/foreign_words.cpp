#include "foreign_words.h"

#include <strings.h>

#include "places.h"

namespace console {

namespace {

constexpr std::size_t SHORTEST = 2;

const std::string EDIT =
    "The configuration is the folder: edit it, then \"check\", \"diff\" and \"reload\"";
const std::string SAVE =
    "Nothing is to be saved, the configuration is the folder: \"check\", \"diff\" and \"reload\" "
    "apply it";
const std::string CONFIGURATION =
    "The configuration is the folder: \"diff\" tells whether it is in force, \"history\" since "
    "when, \"revision N\" where it is kept";
const std::string LOG =
    "The log goes to the daemon's standard error: \"log level N\" sets how much, and \"watch\" "
    "shows "
    "changes here";

std::string Line(const std::string& line) { return "Here it is \"" + line + "\""; }

std::string Either(const std::string& line, const std::string& other) {
  return Line(line) + " or \"" + other + "\"";
}

std::string NoNeighbours(const std::string& line) {
  return "Sessions and neighbours are not shown here, \"" + line + "\" shows the configured rows";
}

bool IsPlace(const std::string& known) { return known.front() == '<'; }

std::string NameOf(const std::string& place) { return place.substr(1, place.size() - 2); }

bool Fits(const std::string& word, const std::string& known, bool isShort) {
  if (IsPlace(known)) {
    return Takes(NameOf(known), word);
  }
  const std::size_t size = isShort && word.size() >= SHORTEST ? word.size() : known.size();
  return word.size() <= known.size() && strncasecmp(word.c_str(), known.c_str(), size) == 0;
}

bool Begins(const Words& line, const Words& known, bool isShort) {
  bool begins = line.size() >= known.size();
  for (std::size_t i = 0; begins && i < known.size(); ++i) {
    begins = Fits(line[i], known[i], isShort);
  }
  return begins;
}

// With the values of the line.
std::string Answered(const ForeignWords& one, const Words& known, const Words& line) {
  std::string answer = one.answer;
  for (std::size_t i = 0; i < known.size(); ++i) {
    const std::size_t at = IsPlace(known[i]) ? answer.find(known[i]) : std::string::npos;
    if (at != std::string::npos) {
      answer.replace(at, known[i].size(), line[i]);
    }
  }
  return answer;
}

}  // namespace

// Of several that a line begins with the first one counts, so a longer one stands before its
// beginning.
const std::vector<ForeignWords>& GetForeignWords() {
  static const std::vector<ForeignWords> TABLE = {
      {"show ip route summary", Either("summary", "route summary")},
      {"show ip route json", Line("route json")},
      {"show ip route vrf <vid>", Line("route vrf <vid>")},
      {"show ip route vrf", Either("route vrf VID", "route vrf all")},
      {"show ip route <protocol>", Line("route proto <protocol>")},
      {"show ip route <prefix> longer-prefixes", Line("route <prefix> longer")},
      {"show ip route <prefix>", Line("route <prefix>")},
      {"show ip route <address>", Line("route <address>")},
      {"show ip route", Line("route")},
      {"show ipv6 route summary", Either("summary", "route6 summary")},
      {"show ipv6 route json", Line("route6 json")},
      {"show ipv6 route vrf <vid>", Line("route6 vrf <vid>")},
      {"show ipv6 route vrf", Either("route6 vrf VID", "route6 vrf all")},
      {"show ipv6 route <protocol>", Line("route6 proto <protocol>")},
      {"show ipv6 route <prefix> longer-prefixes", Line("route6 <prefix> longer")},
      {"show ipv6 route <prefix>", Line("route6 <prefix>")},
      {"show ipv6 route <address>", Line("route6 <address>")},
      {"show ipv6 route", Line("route6")},
      {"show ip rib", Line("route")},
      {"show ip fib", Line("route installed")},
      {"show ip nht <address>", Line("explain <address>")},
      {"show ip nht", Line("explain PREFIX")},
      {"show ipv6 nht <address>", Line("explain <address>")},
      {"show ipv6 nht", Line("explain PREFIX")},
      {"show route for <address> all", Line("explain <address>")},
      {"show route for <address>", Line("route <address>")},
      {"show route for <prefix>", Line("route <prefix>")},
      {"show route for", Line("route ADDRESS")},
      {"show route in <prefix>", Line("route <prefix> longer")},
      {"show route in", Line("route PREFIX longer")},
      {"show route protocol <protocol>", Line("route proto <protocol>")},
      {"show route protocol", Line("route proto NAME")},
      {"show route table <vid>", Line("route vrf <vid>")},
      {"show route table", Either("route vrf VID", "route vrf all")},
      {"show route primary", Line("route installed")},
      {"show route count", Either("summary", "route summary")},
      {"show route all", Line("explain PREFIX")},
      {"route default", Line("route 0.0.0.0/0")},
      {"route <protocol>", Line("route proto <protocol>")},
      {"route6 default", Line("route6 ::/0")},
      {"route6 <protocol>", Line("route6 proto <protocol>")},
      {"show ip bgp summary", NoNeighbours("ip bgp")},
      {"show ip bgp neighbors", NoNeighbours("ip bgp")},
      {"show bgp summary", NoNeighbours("ip bgp")},
      {"show bgp neighbors", NoNeighbours("ip bgp")},
      {"show bgp ipv6", Line("ip6 bgp")},
      {"show bgp", Line("ip bgp")},
      {"show ip ospf neighbor", NoNeighbours("ip ospf")},
      {"show ospf neighbors", NoNeighbours("ip ospf")},
      {"show ospf", Line("ip ospf")},
      {"show rip", Line("ip rip")},
      {"show ip interface", Line("interface")},
      {"show ipv6 interface", Line("interface6")},
      {"show ipv6 bgp", Line("ip6 bgp")},
      {"show ipv6 ospf6", Line("ip6 ospf")},
      {"show ipv6 ospf", Line("ip6 ospf")},
      {"show ip igmp groups", Line("ip protocol mcast-database")},
      {"show interfaces", Line("interface")},
      {"show interface brief", Line("interface")},
      {"show protocols", Line("ip protocol summary")},
      {"show protocol", Line("ip protocol summary")},
      {"show ip protocols", Line("ip protocol summary")},
      {"show running-config", CONFIGURATION},
      {"show startup-config", CONFIGURATION},
      {"show configuration", CONFIGURATION},
      {"show archive", Line("history")},
      {"show vrf", Line("summary vrf all")},
      {"show vlan", Line("summary vrf all")},
      {"show logging", LOG},
      {"show memory", Line("status")},
      {"show uptime", Line("status")},
      {"show symbols", Line("help")},
      {"ip route get <address>", Line("route <address>")},
      {"ip route add", EDIT},
      {"ip route del", EDIT},
      {"ip route <address/length> <word>", EDIT},
      {"ip route <address> <word>", EDIT},
      {"ip route", Line("route")},
      {"ip -6 route", Line("route6")},
      {"ip6 route", Line("route6")},
      {"ip address", Line("interface")},
      {"ip link", Line("interface")},
      {"ip monitor", Line("watch")},
      {"ipv6 route <address/length> <word>", EDIT},
      {"ipv6 route", Line("route6")},
      {"configure check", Line("check")},
      {"configure timeout <seconds>", Line("reload confirm <seconds>")},
      {"configure timeout", Line("reload confirm SECONDS")},
      {"configure confirm", Line("confirm REVISION")},
      {"configure undo", Line("undo")},
      {"configure", EDIT},
      {"write", SAVE},
      {"save", SAVE},
      {"copy running-config", SAVE},
      {"commit check", Line("check")},
      {"commit confirmed", Line("reload confirm SECONDS")},
      {"commit", EDIT},
      {"rollback", Line("undo")},
      {"no debug", Line("log level 1")},
      {"no", EDIT},
      {"do", "There are no modes here: leave that word out"},
      {"undebug all", Line("log level 1")},
      {"terminal length", Line("vantacorectl --no-pager")},
      {"terminal monitor", Either("watch", "log level N")},
      {"echo", Either("watch", "log level N")},
      {"debug", Either("watch", "log level N")},
      {"clear ip route", Line("retry")},
      {"end", Line("quit")},
      {"logout", Line("quit")},
      {"bye", Line("quit")},
  };
  return TABLE;
}

std::string FindForeignWords(const Words& line) {
  for (const ForeignWords& one : GetForeignWords()) {
    const Words words = Split(one.words);
    if (Begins(line, words, false)) {
      return Answered(one, words, line);
    }
  }
  return {};
}

std::string FindForeignWords(const Words& line, std::size_t misfit) {
  for (const ForeignWords& one : GetForeignWords()) {
    const Words words = Split(one.words);
    if (words.size() > misfit && Begins(line, words, true)) {
      return Answered(one, words, line);
    }
  }
  return {};
}

}  // namespace console
