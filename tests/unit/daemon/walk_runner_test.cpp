// The stack's time stands still here, so it runs only when the runner runs it.
#include "device/daemon/walk_runner.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>
#include <uv.h>

#include <functional>
#include <map>
#include <optional>
#include <vector>

#include "device/loop/loop.h"
#include "stack/sms.h"
#include "tests/support/device_fixture.h"

namespace {

using testing::ElementsAre;

constexpr unsigned ROW = 1;
constexpr unsigned END_OF_TABLE = 7;
constexpr unsigned AGENT_ERROR = 8;

// What came from a walk.
struct Reader {
  std::map<unsigned, unsigned> rows;  // by the walk's number
  std::vector<unsigned> ends;         // results
  std::function<void(unsigned number)> onRow;
};

unsigned char Take(void* command, unsigned number, unsigned result, void*) {
  auto& reader = *static_cast<Reader*>(command);
  if (result != ROW) {
    reader.ends.push_back(result);
    return 0;
  }
  ++reader.rows[number];
  if (reader.onRow) {
    reader.onRow(number);
  }
  return 1;
}

class WalkRunner : public test_support::DeviceFixture {
 protected:
  static constexpr unsigned VLANS = 50;

  void SetUp() override {
    Start(10);
    std::string entries;
    for (unsigned i = 0; i < VLANS; ++i) {
      entries += (i == 0 ? "" : ",") + ("\"v" + std::to_string(i)) + R"(": {"vid": )" +
                 std::to_string(10 + i) + "}";
    }
    Reload(R"({"VLAN_CONFIGURATIONS": {)" + entries + "}}", "vlans.json");
    ASSERT_TRUE(Settle());
    for (unsigned i = 0; i < VLANS; ++i) {
      routing_stack::Candidate candidate;
      candidate.instance = 10 + i;
      candidate.destination[0] = 10;
      candidate.prefixLength = 8;
      candidate.ifIndex = 3;
      Control().PutCandidate(candidate);
    }
    ASSERT_TRUE(Settle());
    ASSERT_EQ(Control().Rib().size(), VLANS);
    Control().SetSliceEvents(10);
    runner.emplace(turns.Get(), stack, [this] {
      ++runs;
      Manager().GetScheduler().SchedNBase();
    });
  }
  void TearDown() override { runner.reset(); }

  unsigned Begin() {
    sms_get_next_rtm_rib(Take, &reader);
    runner->Attend();
    return runner->Last();
  }
  void Turn() { uv_run(turns.Get(), UV_RUN_NOWAIT); }
  // A turn of the loop that has begun late has taken its time, and leaves the stack alone.
  void TurnUntilTheStackRuns() {
    const std::uint64_t end = uv_hrtime() + 10000000000;
    for (const unsigned before = runs; runs == before && uv_hrtime() < end;) {
      Turn();
    }
  }
  void TurnFor(std::uint64_t milliseconds) {
    const std::uint64_t end = uv_hrtime() + milliseconds * 1000000;
    while (uv_hrtime() < end) {
      Turn();
      usleep(500);
    }
  }
  // Until nothing is left to do. Every handle of the runner ends by itself, or this would not
  // return.
  void TurnToTheEnd() { uv_run(turns.Get(), UV_RUN_DEFAULT); }

  Reader reader;
  loop::Loop turns;
  unsigned runs = 0;
  std::optional<vantacored::WalkRunner> runner;
};

TEST_F(WalkRunner, DoesNothingWithoutAWalk) {
  runner->Attend();
  TurnToTheEnd();
  EXPECT_EQ(runs, 0u);
}

TEST_F(WalkRunner, RunsTheStackOnceATurnUntilTheWalkHasEnded) {
  const unsigned walk = Begin();
  for (unsigned turn = 1; turn <= 3; ++turn) {
    TurnUntilTheStackRuns();
    EXPECT_EQ(runs, turn);
  }
  EXPECT_EQ(reader.rows[walk], 30u);
  TurnToTheEnd();
  EXPECT_EQ(reader.rows[walk], VLANS);
  EXPECT_THAT(reader.ends, ElementsAre(END_OF_TABLE));
  EXPECT_EQ(runs, 6u);
}

TEST_F(WalkRunner, LeavesATurnAloneThatHasTakenItsTime) {
  loop::Timer busy(turns.Get());
  bool isBusy = true;
  std::function<void()> work = [&] {
    usleep(5000);
    busy.Start(1, isBusy ? work : nullptr);
  };
  busy.Start(1, work);
  Begin();
  for (int turn = 0; turn < 2; ++turn) {
    usleep(2000);  // until the timer is due
    Turn();
  }
  EXPECT_EQ(runs, 0u);
  isBusy = false;
  TurnToTheEnd();
  EXPECT_THAT(reader.ends, ElementsAre(END_OF_TABLE));
}

TEST_F(WalkRunner, RestsWhileAllWalksAreHeld) {
  const unsigned walk = Begin();
  TurnUntilTheStackRuns();
  runner->Hold(walk);
  TurnToTheEnd();
  EXPECT_EQ(reader.rows[walk], 10u);
  const unsigned before = runs;
  const unsigned other = Begin();
  TurnToTheEnd();
  EXPECT_EQ(reader.rows[walk], 10u);
  EXPECT_EQ(reader.rows[other], VLANS);
  EXPECT_GT(runs, before);
  runner->GoOn(walk);
  TurnToTheEnd();
  EXPECT_EQ(reader.rows[walk], VLANS);
  EXPECT_THAT(reader.ends, ElementsAre(END_OF_TABLE, END_OF_TABLE));
}

TEST_F(WalkRunner, HoldsAWalkFromInsideIt) {
  reader.onRow = [this](unsigned number) {
    if (reader.rows[number] % 20 == 0) {
      runner->Hold(number);
    }
  };
  const unsigned walk = Begin();
  TurnToTheEnd();
  EXPECT_EQ(reader.rows[walk], 20u);
  runner->GoOn(walk);
  TurnToTheEnd();
  EXPECT_EQ(reader.rows[walk], 40u);
}

TEST_F(WalkRunner, EndsWalksHeldOrNot) {
  const unsigned first = Begin();
  const unsigned second = Begin();
  runner->Hold(first);
  runner->End(first);
  runner->End(second);
  TurnToTheEnd();
  EXPECT_TRUE(reader.rows.empty());
  EXPECT_THAT(reader.ends, ElementsAre(AGENT_ERROR, AGENT_ERROR));
  runner->End(first);
  TurnToTheEnd();
  EXPECT_EQ(reader.ends.size(), 2u);
}

TEST_F(WalkRunner, EndsAWalkThatItRestedFor) {
  const unsigned walk = Begin();
  runner->Hold(walk);
  TurnToTheEnd();
  runner->End(walk);
  TurnToTheEnd();
  EXPECT_THAT(reader.ends, ElementsAre(AGENT_ERROR));
}

TEST_F(WalkRunner, TellsWhichWalkBeganWhich) {
  reader.onRow = [this](unsigned number) {
    if (runner->Last() == number) {
      sms_get_next_rtm_rib(Take, &reader);
    }
    reader.onRow = nullptr;
  };
  const unsigned outer = Begin();
  TurnUntilTheStackRuns();
  const auto walks = runner->Running();
  ASSERT_EQ(walks.size(), 2u);
  for (const auto& walk : walks) {
    EXPECT_EQ(walk.first, outer);
    EXPECT_FALSE(walk.isHeld);
  }
  EXPECT_NE(walks[0].number, walks[1].number);
}

// Asked again and again, a stack that stands still would take all of the processor.
TEST_F(WalkRunner, WaitsForAStackThatStandsStill) {
  Control().Hold();
  const unsigned walk = Begin();
  TurnFor(100);
  EXPECT_EQ(runs, 0u);
  Control().Release();
  TurnToTheEnd();
  EXPECT_EQ(reader.rows[walk], VLANS);
  EXPECT_THAT(reader.ends, ElementsAre(END_OF_TABLE));
}

// So does a walk that cannot end before the stack goes on, though nobody reads it any more.
TEST_F(WalkRunner, HardlyWakesUpWhileTheStackStandsStill) {
  Control().Hold();
  const unsigned walk = Begin();
  runner->End(walk);
  const std::uint64_t end = uv_hrtime() + 1000000000;
  unsigned wakeUps = 0;
  for (; uv_hrtime() < end; ++wakeUps) {
    uv_run(turns.Get(), UV_RUN_ONCE);  // sleeps until a timer expires
  }
  EXPECT_GE(wakeUps, 2u);
  EXPECT_LE(wakeUps, 10u);
  Control().Release();
  TurnToTheEnd();
  EXPECT_THAT(reader.ends, ElementsAre(AGENT_ERROR));
  Control().Hold();
  uv_update_time(turns.Get());
  const unsigned other = Begin();
  EXPECT_LE(uv_backend_timeout(turns.Get()), 20) << "waits as long as the last one did";
  Control().Release();
  TurnToTheEnd();
  EXPECT_EQ(reader.rows[other], VLANS);
}

}  // namespace
