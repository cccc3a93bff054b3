// The words of the library's trees, to the library and to the host.
#include "device/console/passed_over.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>

#include "device/console/dispatcher.h"
#include "device/console/host_console.h"
#include "tests/support/device_fixture.h"
#include "tests/support/recording_console.h"
#include "vantacore/dc_console_command.h"
#include "vantacore/dc_rtm_mgr.h"
#include "vantacore/rtm_commands.h"

namespace {

using console::Result;
using console::RunningCommand;
using console::Words;
using testing::HasSubstr;
using testing::StartsWith;

class PassedOver : public test_support::DeviceFixture {
 protected:
  void SetUp() override {
    Start(10);
    Reload(R"({"VLAN_CONFIGURATIONS": {"a": {"vid": 10, "RIPV2": {"enabled": true}},
                                       "b": {"vid": 20, "BGP": {"enabled": true}}}})",
           "vlans.json");
    ASSERT_TRUE(Settle());
  }

  // What the library prints, without the host's judgement.
  std::string AskLibrary(const Words& line) {
    const auto log = test_support::NewConsoleLog(10);
    auto* const console = new test_support::RecordingConsole(log);
    const bool isTable = line[0] == "rtm";
    const bool ip6 = isTable && line.size() > 2 && line[2] == "ipv6";
    Words words(line.begin() + (ip6 ? 3 : isTable ? 2 : 1), line.end());
    std::vector<char*> argv;
    for (std::string& word : words) {
      argv.push_back(&word[0]);
    }
    argv.push_back(nullptr);
    const int argc = static_cast<int>(words.size());
    if (isTable) {
      const unsigned short family = ip6 ? Tarsel::DcRtmMgr::PROTO_IPV6 : 0;
      Tarsel::DcConsoleCommand* table = nullptr;
      if (line[1] == "rib") {
        table = new Tarsel::RtmRibCommand(console, family);
      } else {
        table = new Tarsel::RtmRouteCommand(console, family);
      }
      if (!table->Parse(argc, argv.data())) {
        delete table;
      }
    } else {
      const auto& registry =
          line[0] == "ip" ? Manager().GetIp4ConCmdHandlers() : Manager().GetIp6ConCmdHandlers();
      registry.find(line[1].c_str())->second.handler(nullptr, console, argc, argv.data());
    }
    if (!log->destroyed && !Tarsel::DcConsoleCommand::Owns(console)) {
      delete console;
    }
    EXPECT_TRUE(Settle());
    EXPECT_TRUE(log->destroyed);
    return log->all;
  }

  std::string AskHost(const std::string& line) {
    std::string output;
    command = std::make_shared<RunningCommand>(
        10, console::Operator{"alice", false}, [&](std::string_view text) { output += text; },
        [] {});
    dispatcher.Execute(line, command);
    EXPECT_TRUE(Settle());
    EXPECT_TRUE(command->IsOver());
    return output;
  }

  keepers::Interfaces state;
  console::Lab lab{Control(), state, [](auto) {}};
  console::Dispatcher dispatcher{
      {[](const apply::Asker&, const apply::ReloadRequest&) {}, [](const apply::Asker&, bool) {}},
      &lab};
  std::shared_ptr<RunningCommand> command;
};

TEST_F(PassedOver, NamesTheFirstWordThatIsLeftOver) {
  const struct {
    const char* line;
    const char* says;
  } lines[] = {
      {"ip protocol database detail vrf 10",
       "\"ip protocol database detail\" is understood, \"vrf\" after it is not. Nothing may "
       "follow.\n"},
      {"ip protocol DA DEST 10.0.0.0 v 10",
       "\"ip protocol DA DEST 10.0.0.0\" is understood, \"v\" after it is not. Possible: proto "
       "detail\n"},
      {"ip6 protocol database vrf 10 x",
       "\"ip6 protocol database vrf 10\" is understood, \"x\" after it is not. Possible: dest "
       "proto "
       "detail\n"},
      {"show rtm rib ipv6 proto bgp dest ::",
       "\"show rtm rib ipv6 proto bgp\" is understood, \"dest\" after it is not. Possible: "
       "detail\n"},
      {"rtm route deteil",
       "\"rtm route\" is understood, \"deteil\" after it is not. Did you mean \"detail\"? "
       "Possible: "
       "vrf dest proto detail\n"},
      {"ip6 rip vrf 10",
       "\"ip6 rip\" is understood, \"vrf\" after it is not. Nothing may follow.\n"},
  };
  for (const auto& one : lines) {
    EXPECT_EQ(AskHost(one.line), one.says);
    EXPECT_EQ(command->GetResult(), Result::USAGE) << one.line;
  }
}

// Whatever the library answers is passed on as it is; what it would pass over is refused.
TEST_F(PassedOver, AreAllThatTheHostRefuses) {
  const Words heads = {"ip protocol",
                       "ip bgp",
                       "ip igmp",
                       "ip ospf",
                       "ip rip",
                       "ip6 protocol",
                       "ip6 bgp",
                       "ip6 ospf",
                       "ip6 rip",
                       "rtm route",
                       "rtm rib",
                       "rtm route ipv6",
                       "rtm rib ipv6",
                       "ip protocol database",
                       "ip protocol mcast-database",
                       "ip6 protocol database",
                       "ip protocol ips"};
  const Words words = {"vrf",  "v",           "VRF",     "10",       "20",       "99",     "ten",
                       "dest", "DE",          "d",       "10.0.0.0", "::",       "10.0",   "proto",
                       "pr",   "bgp",         "static",  "isis",     "detail",   "det",    "group",
                       "g",    "239.1.1.1",   "summary", "su",       "database", "da",     "mc",
                       "ipv6", "x",           "on",      "set",      "filter",   "status", "65546",
                       "-1",   "destination", "details", "ips",      "type",     "in"};
  const unsigned int seed = std::random_device{}();
  SCOPED_TRACE("seed " + std::to_string(seed));
  std::mt19937 random(seed);
  int refused = 0;
  for (int i = 0; i < 1500; ++i) {
    std::string line = heads[random() % heads.size()];
    for (std::size_t count = random() % 6; count > 0; --count) {
      line += " " + words[random() % words.size()];
    }
    const std::string told = AskLibrary(console::Split(line));
    const std::string shown = AskHost(line);
    if (told.empty() && line != "ip6 rip") {
      EXPECT_THAT(shown, HasSubstr("after it is not. ")) << line;
      EXPECT_EQ(command->GetResult(), Result::USAGE) << line;
      ++refused;
    } else {
      EXPECT_EQ(shown, told) << line;
    }
    ASSERT_FALSE(HasFailure());
  }
  EXPECT_GT(refused, 100);
}

// Of what is let through where nothing may change the library changes nothing.
TEST_F(PassedOver, AreToldFromWhatChangesSomething) {
  for (const char* line :
       {"ip bgp", "ip bgp vrf 10", "ip protocol", "ip protocol database detail", "ip protocol ips",
        "ip protocol ips status", "ip protocol IPS Status x", "ip6 protocol summary", "rtm rib"}) {
    EXPECT_TRUE(console::OnlyShows(console::Split(line))) << line;
  }
  for (const char* line : {"ip protocol ips on", "ip protocol IPS OFF", "ip protocol ips Set",
                           "ip protocol ips reset filter type in", "ip beacon", "ip6 igmp"}) {
    EXPECT_FALSE(console::OnlyShows(console::Split(line))) << line;
  }
  const Words words = {"on",   "OFF", "off", "status", "set", "filter",
                       "type", "in",  "ips", "o",      "x"};
  const unsigned int seed = std::random_device{}();
  SCOPED_TRACE("seed " + std::to_string(seed));
  std::mt19937 random(seed);
  int switched = 0;
  for (int i = 0; i < 300; ++i) {
    Words line = {"ip", "protocol", random() % 4 == 0 ? "Ips" : "ips"};
    for (std::size_t count = random() % 4; count > 0; --count) {
      line.push_back(words[random() % words.size()]);
    }
    for (const bool isOn : {false, true}) {
      Manager().TripsControl(isOn);
      AskLibrary(line);
      if (Manager().GetIPSTracing() != isOn) {
        EXPECT_FALSE(console::OnlyShows(line)) << console::Joined(line);
        ++switched;
      }
    }
  }
  Manager().TripsControl(false);
  EXPECT_GT(switched, 20);
}

}  // namespace
