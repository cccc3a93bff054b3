// Typos in the example network: each is an error that names its place, and changes nothing.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>

#include "example_network.h"
#include "signs.h"

namespace {

using system_test::DaemonProcess;
using system_test::ExampleNetwork;
using system_test::Result;
using system_test::RunDaemon;
using system_test::Tables;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

struct Typo {
  const char* name;
  const char* file;
  std::string before;
  std::string after;
  std::string errors;
  std::string warnings;      // after the errors
  std::string lost;          // what a device has no more if what cannot be used is left out
  std::string kept;          // what it still has
  bool isWholeFile = false;  // nothing of the file can be used
};

std::string NameOf(const testing::TestParamInfo<Typo>& info) { return info.param.name; }
void PrintTo(const Typo& typo, std::ostream* stream) { *stream << typo.name; }

class ATypo : public testing::TestWithParam<Typo> {
 protected:
  void Type() const { network.Replace(GetParam().file, GetParam().before, GetParam().after); }
  std::string Findings() const { return GetParam().errors + GetParam().warnings; }
  // What a reload that is refused ends with.
  static std::string Outcome() {
    const std::string& errors = GetParam().errors;  // a line each
    const auto count = std::count(errors.begin(), errors.end(), '\n');
    return std::to_string(count) + (count == 1 ? " error" : " errors") + "; nothing was changed\n";
  }
  system_test::Arguments With(const system_test::Arguments& more = {}) const {
    system_test::Arguments arguments = {"--config", network.folder.Path(), "--tick-us", "100"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return arguments;
  }
  // What a partial device has: all but what was typed.
  static void ExpectRest(const std::string& tables) {
    EXPECT_THAT(tables, HasSubstr(GetParam().kept));
    if (!GetParam().lost.empty()) {
      EXPECT_THAT(tables, Not(HasSubstr(GetParam().lost)));
    }
  }

  const ExampleNetwork network;
};

TEST_P(ATypo, ChangesNothingByReload) {
  DaemonProcess daemon(With(), DaemonProcess::PIPES);
  const std::string before = Tables(daemon);
  EXPECT_THAT(before, HasSubstr("10.40.0.0/13"));
  Type();
  EXPECT_EQ(Tables(daemon, "reload\n"), before);
  network.Restore();
  EXPECT_EQ(Tables(daemon, "reload\n"), before);
  daemon.CloseInput();
  EXPECT_EQ(daemon.Wait(), 1);
  EXPECT_EQ(daemon.Errors(), ExampleNetwork::WARNINGS + Findings() +
                                 "Refused to pipe: " + Outcome() + ExampleNetwork::WARNINGS);
}

TEST_P(ATypo, EndsTheStart) {
  Type();
  const Result result = RunDaemon(With(), system_test::ShowAll());
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.output, "");
  EXPECT_EQ(result.errors, Findings());
}

TEST_P(ATypo, FailsTheCheck) {
  Type();
  const Result result = RunDaemon({"--check", network.folder.Path()}, "");
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.output, "");
  EXPECT_EQ(result.errors, Findings());
}

// The smallest part that cannot be used is left out, by a start and by a reload alike. A file of
// which nothing can be used counts as missing by a start, and stays in force by a reload.
TEST_P(ATypo, IsLeftOutWhereThatIsAllowed) {
  Type();
  DaemonProcess daemon(With({"--partial"}), DaemonProcess::PIPES);
  ExpectRest(Tables(daemon));
  network.Restore();
  const std::string whole = Tables(daemon, "reload\n");
  EXPECT_THAT(whole, HasSubstr(GetParam().lost));
  Type();
  const std::string rest = Tables(daemon, "reload force\n");
  if (GetParam().isWholeFile) {
    EXPECT_EQ(rest, whole);
  } else {
    ExpectRest(rest);
  }
  daemon.CloseInput();
  EXPECT_EQ(daemon.Wait(), 1) << "a reload found errors";
  EXPECT_THAT(daemon.Errors(), StartsWith(Findings()));
  EXPECT_THAT(daemon.Errors(), HasSubstr(ExampleNetwork::WARNINGS + GetParam().errors));
}

// By SIGHUP, which tells the log only.
class ATypoAtASocket : public ATypo {
 protected:
  Result Run(const system_test::Arguments& words, const std::string& input = {}) const {
    system_test::Arguments arguments = {"--socket", place.PathOf("console")};
    arguments.insert(arguments.end(), words.begin(), words.end());
    return RunDaemon(arguments, input, VANTACORECTL_COMMAND);
  }
  std::string Tables() const {
    return system_test::WithoutAges(Run({}, system_test::ShowAll()).output);
  }

  const test_support::ScratchFolder place;
};

TEST_P(ATypoAtASocket, ChangesNothingByHangUp) {
  DaemonProcess daemon(With({"--daemon", "--socket", place.PathOf("console")}),
                       DaemonProcess::PIPES);
  system_test::Await("a daemon that listens", [&] { return Run({"help"}).status == 0; });
  const std::string before = Tables();
  EXPECT_THAT(before, HasSubstr("10.40.0.0/13"));
  Type();
  daemon.Kill(SIGHUP);
  daemon.ReadErrorsUntil(Findings() + "Refused to SIGHUP: " + Outcome());
  EXPECT_EQ(Tables(), before);

  const Result reload = Run({"reload"});
  EXPECT_EQ(reload.status, 1);
  EXPECT_EQ(reload.output, Findings() + "Refused: " + Outcome());
  const Result check = Run({"check"});
  EXPECT_EQ(check.status, 1);
  EXPECT_EQ(check.output, Findings());
  EXPECT_EQ(Tables(), before);
  daemon.Kill(SIGTERM);
  EXPECT_EQ(daemon.Wait(), 0);
  EXPECT_THAT(daemon.Errors(),
              testing::MatchesRegex(".*\nRefused to SIGHUP: [^\n]*\n.*\nRefused to [^\n]* at the "
                                    "socket: [^\n]*\n"));
}

// The warnings of the example, whose routes a typo may have moved down.
std::string Unreached(const std::string& place, const std::string& route, const std::string& hop) {
  return "vlans.json:" + place + ": warning: VLAN_CONFIGURATIONS.office.STATIC_ROUTES" + route +
         ": a next hop that no subnet of VLAN 10 holds, expected a gateway in one, found " + hop +
         "\n";
}
std::string Unreached4(const char* line) {
  return Unreached(line + std::string(":37"), ".nobody-knows-the-gateway", "10.99.1.1");
}
std::string Unreached6(const char* line) {
  return Unreached(line + std::string(":37"), "6.nobody-knows-the-gateway", "2001:db8:ffff::1");
}
const char* const MACHINES = "172.20.0.0/14";

const Typo TYPOS[] = {
    {"VlanConfigurationForVlanConfigurations", "vlans.json", "VLAN_CONFIGURATIONS",
     "VLAN_CONFIGURATION",
     "vlans.json:1:1: VLAN_CONFIGURATIONS: a missing member, expected an object or an array of "
     "objects, found nothing\n"
     "vlans.json:2:3: VLAN_CONFIGURATION: unknown member, expected \"VLAN_CONFIGURATIONS\" or "
     "another known name, found \"VLAN_CONFIGURATION\"\n",
     "", MACHINES, "VLAN 10 is not present\n", true},
    {"StaticRoute", "vlans.json", "\"STATIC_ROUTES\": {\n        \"data-centre\"",
     "\"STATIC_ROUTE\": {\n        \"data-centre\"",
     "vlans.json:27:7: VLAN_CONFIGURATIONS.office.STATIC_ROUTE: unknown member, expected "
     "\"STATIC_ROUTES\" or another known name, found \"STATIC_ROUTE\"\n",
     Unreached6("49"), "10.40.0.0/13", MACHINES},
    {"AsInQuotes", "vlans.json", "                        \"as\": 65001",
     "                        \"as\": \"65001\"",
     "vlans.json:17:31: VLAN_CONFIGURATIONS.office.BGP.PEERS.upstream.as: wrong kind of value, "
     "expected a whole number from 1 to 4294967295, found \"65001\"\n",
     ExampleNetwork::WARNINGS, "address=10.1.0.254 as=65001", "address=2001:db8:10::fe as=65001"},
    {"Ip4AddressWithoutItsLength", "device.json", "10.1.0.1/16", "10.1.0.1",
     "device.json:5:15: interfaces[0].ipv4: not an IPv4 prefix, expected an IPv4 address/length, "
     "found \"10.1.0.1\"\n",
     Unreached("28:24", ".data-centre", "10.1.2.1") + Unreached("33:20", ".default", "10.1.0.254") +
         Unreached4("38") + Unreached6("49"),
     "10.1.0.1/16", "10.2.0.1/16"},
    {"NulInAnEntrysName", "vlans.json", "\"plant\"", "\"office\\u0000plant\"",
     "vlans.json:53:5: VLAN_CONFIGURATIONS.\"office\\x00plant\": a NUL in the name, expected a "
     "name without one, found \"office\\x00plant\"\n",
     ExampleNetwork::WARNINGS, "", MACHINES},
    {"NulItselfInAnEntrysName", "vlans.json", "\"plant\"", std::string("\"office\0plant\"", 14),
     "vlans.json:53:12: not JSON: a NUL in a text, expected an escape for it, found a NUL\n", "",
     MACHINES, "VLAN 10 is not present\n", true},
    {"VidOfAnInstance", "vlans.json", "\"vid\": 10,", "\"vid\": 32778,",
     "vlans.json:4:14: VLAN_CONFIGURATIONS.office.vid: out of range, expected a whole number from "
     "0 to 32767, found 32778\n",
     "", "2001:db8:9::/48", MACHINES},
    {"MetricThatBecomes0", "vlans.json", "\"default\": { \"network\": \"0.0.0.0\"",
     "\"second\": { \"network\": \"10.9.0.0\", \"netmask\": \"255.255.0.0\",\n"
     "                    \"gateway\": \"10.2.2.1\", \"metric\": \"255\" },\n"
     "        \"default\": { \"network\": \"0.0.0.0\"",
     "vlans.json:34:54: VLAN_CONFIGURATIONS.office.STATIC_ROUTES.second.metric: a metric that "
     "would become 0, expected at most 254 without a routemetricmode of \"passthrough\", found "
     "255\n",
     Unreached4("40") + Unreached6("51"), "", "10.9.0.0/16         10.2.2.1       eth1"},
};

INSTANTIATE_TEST_SUITE_P(Every, ATypo, testing::ValuesIn(TYPOS), NameOf);
INSTANTIATE_TEST_SUITE_P(Every, ATypoAtASocket, testing::ValuesIn(TYPOS), NameOf);

}  // namespace
