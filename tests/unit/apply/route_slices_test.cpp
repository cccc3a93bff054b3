// Many routes: no turn of the loop has more than a slice of them, and the stack may restart after
// any turn.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <string>
#include <vector>

#include "tests/support/recording_console.h"
#include "tests/unit/apply/reloader_fixture.h"

namespace {

using testing::Each;
using testing::Ge;
using testing::Le;
using testing::SizeIs;

constexpr std::size_t SLICE = apply::Applier::ROUTES_A_TURN;

class RouteSlices : public apply_test::ReloaderFixture {
 protected:
  // Routes of VLAN 10 to networks that are numbered from `first` on.
  static std::string Entry(unsigned first, std::size_t count) {
    std::string routes;
    for (unsigned i = first; i < first + count; ++i) {
      routes += std::string(i == first ? "" : ", ") + "\"" + std::to_string(i) +
                R"(": {"network": "20.)" + std::to_string(i / 256) + "." + std::to_string(i % 256) +
                R"(.0", "netmask": "255.255.255.0", "gateway": "10.1.2.1"})";
    }
    return R"("a": {"vid": 10, "STATIC_ROUTES": {)" + routes + "}}";
  }

  // The items that the library has not sent; nothing is sent while time stands still.
  std::size_t CountRequests() {
    const auto log = test_support::NewConsoleLog(10);
    test_support::RecordingConsole console(log);
    Manager().GetCfgSched().Print(&console);
    std::size_t count = 0;
    for (std::size_t at = 0;
         (at = log->output.find("StaticRouteItem:", at)) != std::string::npos;) {
      ++count;
      ++at;
    }
    return count;
  }

  // How many requests each turn makes until everything is over.
  std::vector<std::size_t> CountTurns() {
    std::vector<std::size_t> counts;
    std::size_t before = CountRequests();
    EXPECT_TRUE(TurnUntil(
        [&] {
          const std::size_t now = CountRequests();
          if (now != before) {
            counts.push_back(now - before);
            before = now;
          }
          return !m_reloader->IsBusy();
        },
        false));
    return counts;
  }
};

TEST_F(RouteSlices, AreOfOneTurnEach) {
  StartWith(R"("a": {"vid": 10})");
  ASSERT_EQ(CountRequests(), 0u);
  WriteVlans(Entry(0, 2 * SLICE + 100));
  m_reloader->Reload();
  const std::vector<std::size_t> turns = CountTurns();
  EXPECT_EQ(CountRequests(), 2 * SLICE + 100);
  EXPECT_THAT(turns, Each(Le(SLICE)));
  EXPECT_THAT(turns, SizeIs(Ge(3u)));
  EXPECT_EQ(RequestedRoutes().size(), 2 * SLICE + 100);
  ASSERT_TRUE(Settle(600000));
  EXPECT_EQ(CountRequests(), 0u);
}

TEST_F(RouteSlices, AreRemovalsBeforeAdditionsInTheOrderOfRoutes) {
  StartWith(Entry(0, SLICE));
  WriteVlans(Entry(SLICE, SLICE));
  Reload();
  ASSERT_TRUE(Settle(600000));
  std::vector<std::string> kinds;
  for (const std::string& call : TakeCalls()) {
    if (call.find("sms_update_route") == 0) {
      kinds.push_back(call.substr(0, std::string("sms_update_route(1, 6").size()));
    }
  }
  EXPECT_THAT(kinds, SizeIs(2 * SLICE));
  EXPECT_TRUE(std::is_sorted(kinds.rbegin(), kinds.rend())) << "6 removes, 1 adds";
}

// The folder changes to and fro. Each time the stack restarts one turn later, until the reload is
// over before it does.
TEST_F(RouteSlices, MayMeetARestartAfterAnyTurn) {
  const std::string small = R"("b": {"vid": 20})";
  const std::string large =
      Entry(0, 2 * SLICE + 100) +
      R"(, "b": {"vid": 20, "RIPV2": {"enabled": true}, "REDISTRIBUTION": {"rip": false}})";
  StartWith(large);
  ASSERT_EQ(Control().Redistributions().size(), 4u);
  const std::string largeDump = Dump();
  WriteVlans(small);
  Reload();
  ASSERT_TRUE(Settle(600000));
  RestartTheStack();
  const std::string smallDump = Dump();
  ASSERT_NE(largeDump, smallDump);

  bool isBusy = true;
  int turns = 0;
  for (; isBusy && turns < 1000; ++turns) {
    const bool isLarge = turns % 2 == 0;
    WriteVlans(isLarge ? large : small);
    m_reloader->Reload();
    for (int turn = 0; turn < turns; ++turn) {
      uv_run(m_turns.Get(), UV_RUN_ONCE);  // with the pool's work
      loop.AdvanceMilliseconds(1);
    }
    isBusy = m_reloader->IsBusy();
    Control().Restart();
    m_reloader->BringBack();
    TurnUntilDone();
    ASSERT_TRUE(Settle(600000));
    ASSERT_EQ(Dump(), isLarge ? largeDump : smallDump) << "after " << turns << " turns";
  }
  EXPECT_FALSE(isBusy);
  EXPECT_GT(turns, 10);
}

// A reload of the same folder, which compares no routes, while they are being brought back.
TEST_F(RouteSlices, MayBeReloadedAfterAnyTurnOfARestart) {
  StartWith(Entry(0, 2 * SLICE + 100));
  const std::string before = Dump();
  bool isBusy = true;
  int turns = 0;
  for (; isBusy && turns < 1000; ++turns) {
    Control().Restart();
    m_reloader->BringBack();
    for (int turn = 0; turn < turns; ++turn) {
      uv_run(m_turns.Get(), UV_RUN_ONCE);
    }
    isBusy = m_reloader->IsBusy();
    Reload();
    ASSERT_TRUE(Settle(600000));
    ASSERT_EQ(Dump(), before) << "after " << turns << " turns";
  }
  EXPECT_FALSE(isBusy);
  EXPECT_GT(turns, 5);
}

}  // namespace
