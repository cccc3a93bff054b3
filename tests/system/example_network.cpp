#include "example_network.h"

#include <gtest/gtest.h>

#include <fstream>
#include <regex>
#include <sstream>

namespace system_test {

namespace {

const char* const FILES[] = {"device.json", "vlans.json", "remote/headquarters.json"};

// A command that changes nothing, neither the tables nor the exit status, with its output.
const char* const LAST = "vrf 99\n";
const char* const END = "VLAN 99 is not present\n";

std::string Text(const std::string& path) {
  std::stringstream text;
  text << std::ifstream(path).rdbuf();
  return text.str();
}

}  // namespace

const char* const ExampleNetwork::WARNINGS =
    "vlans.json:38:37: warning: VLAN_CONFIGURATIONS.office.STATIC_ROUTES.nobody-knows-the-gateway: "
    "a next hop that no subnet of VLAN 10 holds, expected a gateway in one, found 10.99.1.1\n"
    "vlans.json:49:37: warning: VLAN_CONFIGURATIONS.office.STATIC_ROUTES6.nobody-knows-the-gateway:"
    " a next hop that no subnet of VLAN 10 holds, expected a gateway in one, found "
    "2001:db8:ffff::1\n";

ExampleNetwork::ExampleNetwork() { Restore(); }

void ExampleNetwork::WriteTo(const test_support::ScratchFolder& folder) {
  for (const std::string file : FILES) {
    folder.Write(file, Text("examples/first-network/" + file));
  }
}

void ExampleNetwork::Replace(const std::string& file, const std::string& before,
                             const std::string& after) const {
  std::string text = Text(folder.PathOf(file));
  const std::size_t at = text.find(before);
  ASSERT_NE(at, std::string::npos) << before;
  ASSERT_EQ(text.find(before, at + 1), std::string::npos) << before;
  folder.Write(file, text.replace(at, before.size(), after));
}

std::string ShowAll() {
  std::string lines;
  for (const std::string vlan : {"10", "20", "30"}) {
    for (const char* table : {"rtm rib vrf ", "rtm rib ipv6 vrf ", "rtm route vrf ",
                              "rtm route ipv6 vrf ", "interface vrf ", "interface6 vrf "}) {
      lines += table + vlan + "\n";
    }
  }
  for (const char* line : {"ip protocol summary", "ip6 protocol summary",
                           "ip protocol pending-actions", "ip bgp", "ip ospf", "ip rip", "ip igmp",
                           "ip6 bgp", "ip6 ospf", "ip6 rip", "ip protocol mcast-database vrf 10"}) {
    lines += line + std::string("\n");
  }
  return lines;
}

std::string Tables(DaemonProcess& daemon, const std::string& lines) {
  daemon.Send(lines + LAST);
  daemon.ReadUntil(END);
  daemon.Send(ShowAll() + LAST);
  return WithoutAges(daemon.ReadUntil(END));
}

std::string WithoutAges(const std::string& text) {
  return std::regex_replace(text, std::regex(" +[0-9]+ (connnected|static) *\n"), " AGE $1\n");
}

}  // namespace system_test
