// What somebody hears who watches a whole device.
#include "device/daemon/watch_tap.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "device/documents/device_document.h"
#include "device/views/watch_view.h"
#include "tests/unit/apply/reloader_fixture.h"

namespace {

using routing_stack::Answer;
using routing_stack::RowType;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using views::WatchQuery;
using Kind = WatchQuery::Kind;

class WatchTap : public apply_test::ReloaderFixture {
 protected:
  WatchTap() : WatchTap(Settings()) {}
  explicit WatchTap(const Settings& settings) : ReloaderFixture(settings) {
    m_turns.AtTurnEnd([this] { m_tap->Look(); });
    m_tap.emplace(m_feed, m_port, m_interfaces, *m_reloader);
    m_hearLine = [this](const std::string& line) { m_tap->HearLine(line); };
  }
  ~WatchTap() override {
    m_views.clear();
    m_tap.reset();
  }
  void SetUp() override { StartWith(WITH_ROUTE); }

  std::size_t Watch(const WatchQuery& query = {}) {
    m_views.push_back(
        std::make_unique<views::WatchView>(m_feed, m_interfaces, query, views::Format::TEXT));
    return m_views.size() - 1;
  }
  /// The lines since the last call, without their time.
  std::vector<std::string> Lines(std::size_t number = 0) {
    std::string text;
    while (m_views[number]->Next(text) == views::View::Rest::MORE) {
    }
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
      lines.push_back(line.substr(line.find(' ') + 1));
    }
    return lines;
  }
  void ReloadWith(const std::string& entries) {
    WriteVlans(entries);
    Reload();
    ASSERT_TRUE(SettleAll());
  }

  const std::string TWO_ROUTES = R"("a": {"vid": 10, "STATIC_ROUTES": {"r": {"interface": "eth0",
    "network": "10.9.0.0", "netmask": "255.255.0.0", "gateway": "10.1.2.1"},
    "s": {"network": "10.8.0.0", "netmask": "255.255.0.0", "gateway": "10.1.2.2", "metric": 7}}})";
  views::Feed m_feed{m_turns.Get(), [] { return std::int64_t{0}; }};
  std::optional<vantacored::WatchTap> m_tap;
  std::vector<std::unique_ptr<views::WatchView>> m_views;
};

TEST_F(WatchTap, TellsOfARouteThatADocumentBringsAndTakes) {
  Watch();
  ReloadWith(TWO_ROUTES);
  EXPECT_THAT(Lines(),
              ElementsAre("Reload: 1 route added; 1 request (document)",
                          "VLAN 10 route + 10.8.0.0/16 via 10.1.2.2 eth0 static (document)",
                          "VLAN 10 request + route 10.8.0.0/16 via 10.1.2.2 done (document)"));
  ReloadWith(WITH_ROUTE);
  EXPECT_THAT(Lines(),
              ElementsAre("Reload: 1 route removed; 1 request (document)",
                          "VLAN 10 route - 10.8.0.0/16 (document)",
                          "VLAN 10 request - route 10.8.0.0/16 via 10.1.2.2 done (document)"));
}

TEST_F(WatchTap, TellsOfAnInterfaceThatFlaps) {
  Watch();
  m_interfaces.SetStatus({10, 3}, false);
  ASSERT_TRUE(SettleAll());
  EXPECT_THAT(Lines(), ElementsAre("VLAN 10 interface eth0 down (console)",
                                   "VLAN 10 request + interface eth0 in IPv4 done (interface)",
                                   "VLAN 10 route - 10.1.0.0/16 (interface)",
                                   "VLAN 10 route - 10.9.0.0/16 (interface)",
                                   "VLAN 10 request + interface eth0 in IPv6 done (interface)"));
  m_interfaces.SetStatus({10, 3}, true);
  ASSERT_TRUE(SettleAll());
  EXPECT_THAT(Lines(),
              ElementsAre("VLAN 10 interface eth0 up (console)",
                          "VLAN 10 request + interface eth0 in IPv4 done (interface)",
                          "VLAN 10 route + 10.1.0.0/16 eth0 connected (interface)",
                          "VLAN 10 route + 10.9.0.0/16 via 10.1.2.1 eth0 static (interface)",
                          "VLAN 10 request + interface eth0 in IPv6 done (interface)"));
}

TEST_F(WatchTap, TellsOfAddressesAndOfWhoJoins) {
  Watch({Kind::INTERFACE, {}});
  const auto network = [](const char* text) {
    documents::Ip4Network read;
    EXPECT_TRUE(documents::ReadPrefix(text, read));
    return read;
  };
  Tarsel::Ip6Prefix prefix;
  ASSERT_TRUE(documents::ReadPrefix("2001:db8::1/64", prefix));
  m_interfaces.ChangeAddress({10, 3}, network("10.1.0.2/16"));
  m_interfaces.DeleteAddress({10, 3}, network("10.1.0.2/16"));
  m_interfaces.AddAddress({10, 3}, network("10.1.0.3/24"));
  m_interfaces.AddAddress({10, 3}, prefix);
  m_interfaces.DeleteAddress({10, 3}, prefix);
  m_interfaces.SetJoined({10, 3}, true);
  m_interfaces.SetJoined({10, 3}, false);
  EXPECT_THAT(Lines(),
              ElementsAre("VLAN 10 interface eth0 address 10.1.0.2/16 changed (console)",
                          "VLAN 10 interface eth0 address 10.1.0.2/16 removed (console)",
                          "VLAN 10 interface eth0 address 10.1.0.3/24 added (console)",
                          "VLAN 10 interface eth0 address 2001:db8::1/64 added (console)",
                          "VLAN 10 interface eth0 address 2001:db8::1/64 removed (console)",
                          "VLAN 10 interface eth0 joined (console)",
                          "VLAN 10 interface eth0 left (console)"));
}

// Two interfaces exchange their names, one gets another MTU, one comes.
TEST_F(WatchTap, TellsOfInterfacesThatADocumentChanges) {
  m_files.Write("device.json", R"({"default_vlan": 10, "interfaces": [
    {"name": "eth0", "vlan": 10, "index": 3, "ipv4": "10.1.0.1/16"},
    {"name": "eth1", "vlan": 10, "index": 4}]})");
  Watch({Kind::INTERFACE, {}});
  Reload();
  ASSERT_TRUE(SettleAll());
  EXPECT_THAT(Lines(), ElementsAre("VLAN 10 interface eth1 added (document)",
                                   "VLAN 10 interface eth1 up (document)"));
  m_files.Write("device.json", R"({"default_vlan": 10, "interfaces": [
    {"name": "eth0", "vlan": 10, "index": 3, "ipv4": "10.1.0.1/16", "mtu": 9000, "up": false},
    {"name": "eth2", "vlan": 10, "index": 4}]})");
  Reload();
  ASSERT_TRUE(SettleAll());
  EXPECT_THAT(Lines(), ElementsAre("VLAN 10 interface eth1 down (document)",
                                   "VLAN 10 interface eth1 removed (document)",
                                   "VLAN 10 interface eth0 changed (document)",
                                   "VLAN 10 interface eth0 down (document)",
                                   "VLAN 10 interface eth2 added (document)",
                                   "VLAN 10 interface eth2 up (document)"));
}

TEST_F(WatchTap, TellsOfARefusalAndOfItsEnd) {
  Watch();
  Control().Script(RowType::kRoute, {Answer::kStatus, 3, 0}, 1);
  ReloadWith(TWO_ROUTES);
  EXPECT_THAT(Lines(), ElementsAre("Reload: 1 route added; 1 request (document)",
                                   "VLAN 10 request + route 10.8.0.0/16 via 10.1.2.2: wrong value "
                                   "(status 3) (document)",
                                   "VLAN 10: route 10.8.0.0/16 via 10.1.2.2 is missing in the "
                                   "stack: wrong value (status 3) (document)"));
  ASSERT_TRUE(
      TurnUntil([this] { return m_reloader->GetKnowledge().GetDifferences().Count() == 0; }));
  EXPECT_THAT(Lines(), ElementsAre("VLAN 10 route + 10.8.0.0/16 via 10.1.2.2 eth0 static (stack)",
                                   "VLAN 10 request + route 10.8.0.0/16 via 10.1.2.2 done (stack)",
                                   "VLAN 10: route 10.8.0.0/16 via 10.1.2.2 is as wanted now "
                                   "(stack)"));
}

TEST_F(WatchTap, NamesTheConsoleForWhatItHasHastened) {
  Control().Script(RowType::kRoute, {Answer::kStatus, 3, 0}, 1);
  ReloadWith(TWO_ROUTES);
  Watch();
  m_reloader->RetryAll();
  ASSERT_TRUE(
      TurnUntil([this] { return m_reloader->GetKnowledge().GetDifferences().Count() == 0; }));
  EXPECT_THAT(Lines(),
              ElementsAre("VLAN 10 route + 10.8.0.0/16 via 10.1.2.2 eth0 static (console)",
                          "VLAN 10 request + route 10.8.0.0/16 via 10.1.2.2 done (console)",
                          "VLAN 10: route 10.8.0.0/16 via 10.1.2.2 is as wanted now (console)"));
}

// Whatever is asked for at the same time, and the repeats that follow by themselves.
TEST_F(WatchTap, NamesTheStackForRepeatsThatWereDue) {
  Control().Script(RowType::kRoute, {Answer::kStatus, 3, 0}, 3);
  ReloadWith(R"("a": {"vid": 10, "STATIC_ROUTES": {"r": {"interface": "eth0",
    "network": "10.9.0.0", "netmask": "255.255.0.0", "gateway": "10.1.2.1"},
    "s": {"network": "10.7.0.0", "netmask": "255.255.0.0", "gateway": "10.1.2.1"},
    "t": {"network": "10.8.0.0", "netmask": "255.255.0.0", "gateway": "10.1.2.2"}}})");
  ASSERT_EQ(m_reloader->GetKnowledge().GetDifferences().Count(), 2u);
  Watch({Kind::REQUEST, {}});
  documents::RouteTarget prefix{10, false, 16, {10, 7}, {}};
  EXPECT_EQ(m_reloader->RetryRoutes(prefix).count, 1u);
  ASSERT_TRUE(
      TurnUntil([this] { return m_reloader->GetKnowledge().GetDifferences().Count() == 0; }));
  EXPECT_THAT(Lines(),
              ElementsAre("VLAN 10 request + route 10.7.0.0/16 via 10.1.2.1: wrong value (status "
                          "3) (console)",
                          "VLAN 10 request + route 10.8.0.0/16 via 10.1.2.2 done (stack)",
                          "VLAN 10 request + route 10.7.0.0/16 via 10.1.2.1 done (stack)"));
}

TEST_F(WatchTap, TellsOfARestartWhateverIsWatched) {
  Watch({Kind::ROUTE, {}});
  Watch({Kind::REQUEST, {}});
  RestartTheStack();
  const char* const restart = "the stack has been restarted and has lost everything (stack)";
  EXPECT_THAT(Lines(0),
              ElementsAre(restart, "VLAN 10 route + 10.1.0.0/16 eth0 connected (stack)",
                          "VLAN 10 route + 10.9.0.0/16 via 10.1.2.1 eth0 static (stack)"));
  EXPECT_THAT(Lines(1), ElementsAre(restart, "VLAN 10 request - IPv4 routing table done (stack)",
                                    "VLAN 10 request - IPv6 routing table done (stack)",
                                    "VLAN 10 request + IPv4 routing table done (stack)",
                                    "VLAN 10 request + IPv6 routing table done (stack)",
                                    "VLAN 10 request + interface eth0 in IPv4 done (stack)",
                                    "VLAN 10 request + interface eth0 in IPv6 done (stack)",
                                    "VLAN 10 request + address 10.1.0.1 of interface eth0 done "
                                    "(stack)",
                                    "VLAN 10 request + route 10.9.0.0/16 via 10.1.2.1 on "
                                    "eth0 done (stack)"));
}

TEST_F(WatchTap, TellsOfARequestThatIsNeverAnswered) {
  Watch({Kind::REQUEST, {}});
  Control().Script(RowType::kAddress, {Answer::kNever, 0, 0}, 1);
  documents::Ip4Network network;
  ASSERT_TRUE(documents::ReadPrefix("10.1.0.1/16", network));
  m_interfaces.DeleteAddress({10, 3}, network);
  loop.AdvanceMilliseconds(1000);
  EXPECT_THAT(Lines(), IsEmpty());
  RestartTheStack();
  EXPECT_THAT(Lines(),
              Contains("VLAN 10 request - address 10.1.0.1 of interface eth0: never answered "
                       "(stack)"));
}

TEST_F(WatchTap, KnowsADocumentThatIsBeingAppliedWhenAWatchBegins) {
  WriteVlans(TWO_ROUTES);
  Control().Hold();
  Reload();
  Watch({Kind::ROUTE, {}});
  Control().Release();
  ASSERT_TRUE(SettleAll());
  EXPECT_THAT(Lines(),
              ElementsAre("VLAN 10 route + 10.8.0.0/16 via 10.1.2.2 eth0 static (document)"));
}

TEST_F(WatchTap, KeepsOneWhoWatchesWhenAnotherComesAndGoes) {
  Watch({Kind::ROUTE, {}});
  ReloadWith(TWO_ROUTES);
  m_views.push_back(nullptr);
  for (int i = 0; i < 3; ++i) {
    m_views.pop_back();
    Watch({i == 0 ? Kind::ROUTE : Kind::REQUEST, {}});
  }
  ReloadWith(WITH_ROUTE);
  EXPECT_THAT(Lines(0),
              ElementsAre("VLAN 10 route + 10.8.0.0/16 via 10.1.2.2 eth0 static (document)",
                          "VLAN 10 route - 10.8.0.0/16 (document)"));
  EXPECT_THAT(Lines(1), ElementsAre("VLAN 10 request - route 10.8.0.0/16 via 10.1.2.2 done "
                                    "(document)"));
}

// The log goes on as before.
TEST_F(WatchTap, HearsNothingWhenNobodyWatches) {
  Watch();
  m_views.clear();
  ReloadWith(TWO_ROUTES);
  m_interfaces.SetStatus({10, 3}, false);
  RestartTheStack();
  Watch();
  EXPECT_THAT(Lines(), IsEmpty());
  m_interfaces.SetStatus({10, 3}, true);
  EXPECT_THAT(Lines(), ElementsAre("VLAN 10 interface eth0 up (console)"));
}

struct StateFolder {
  test_support::ScratchFolder m_state;
};

class WatchHistory : private StateFolder, public WatchTap {
 protected:
  WatchHistory() : WatchTap(Settings{false, m_state.Path(), apply::Guard::OFF, 60}) {}
};

TEST_F(WatchHistory, TellsOfAnUndoAndOfAConfirmation) {
  ReloadWith(TWO_ROUTES);
  Watch();
  m_reloader->Undo({}, 1);
  TurnUntilDone();
  ASSERT_TRUE(SettleAll());
  EXPECT_THAT(Lines(),
              ElementsAre("Revision 3, undo to revision 1: 1 route removed; 1 request (document)",
                          "The folder differs from what is in force: what it says was undone "
                          "(document)",
                          "VLAN 10 route - 10.8.0.0/16 (document)",
                          "VLAN 10 request - route 10.8.0.0/16 via 10.1.2.2 done (document)"));
  m_reloader->Reload({}, {false, 60, false});
  TurnUntilDone();
  ASSERT_TRUE(SettleAll());
  EXPECT_THAT(Lines(),
              ElementsAre("Revision 4, reload: 1 route added; 1 request (document)",
                          "`confirm 4` within 60 s keeps it; otherwise revision 3 comes back "
                          "(document)",
                          "VLAN 10 route + 10.8.0.0/16 via 10.1.2.2 eth0 static (document)",
                          "VLAN 10 request + route 10.8.0.0/16 via 10.1.2.2 done (document)"));
  m_reloader->Confirm({}, 4);
  TurnUntilDone();
  EXPECT_THAT(Lines(), ElementsAre("Revision 4 is confirmed (document)"));
}

}  // namespace
