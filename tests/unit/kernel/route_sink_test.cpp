// The sink on a loop of its own, with a kernel that can be broken.

#include "device/kernel/route_sink.h"

#include <gmock/gmock.h>
#include <uv.h>

#include <cerrno>
#include <optional>
#include <stdexcept>

#include "device/loop/loop.h"
#include "fake_channel.h"

namespace {

using kernel::Channel;
using kernel::RouteSink;
using test_kernel::FakeChannel;
using test_kernel::Hop;
using test_kernel::KEY;
using test_kernel::Key;
using test_kernel::OTHER;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using Accident = FakeChannel::Accident;

class Sink : public testing::Test {
 protected:
  void Open() {
    sink.emplace(
        m_loop.Get(), [] { return uv_hrtime() / 1000000; },
        [this](kernel::Subscription subscription) {
          auto channel = std::make_unique<FakeChannel>(fake);
          channels.push_back(channel.get());
          EXPECT_EQ(channels.size() == 3,
                    subscription == kernel::Subscription::LINKS_AND_ADDRESSES);
          Prepare(*channel);
          return channel;
        },
        [this](const std::string& line) { lines.push_back(line); });
  }
  /// Called for each channel before it is used.
  void Prepare(FakeChannel& channel) {
    if (channels.size() == 2) {
      channel.accidents = accidentsOfReading;
    }
  }
  FakeChannel& Writing() { return *channels.at(0); }
  FakeChannel& Reading() { return *channels.at(1); }
  FakeChannel& Hearing() { return *channels.at(2); }

  /// Runs the loop until `isOver`; ten seconds are more than anything here needs.
  void RunUntil(const std::function<bool()>& isOver) {
    const std::uint64_t end = uv_hrtime() + 10000000000u;
    while (!isOver() && uv_hrtime() < end) {
      uv_run(m_loop.Get(), UV_RUN_ONCE);
    }
    ASSERT_TRUE(isOver());
  }
  void Settle() {
    RunUntil([this] { return sink->IsSettled(); });
  }
  void RunFor(std::uint64_t milliseconds) {
    bool isOver = false;
    loop::Timer timer(m_loop.Get());
    timer.Start(milliseconds, [&] { isOver = true; });
    RunUntil([&] { return isOver; });
  }
  RouteSink::Result Compare() {
    std::optional<RouteSink::Result> result;
    sink->Compare([&](const RouteSink::Result& found) { result = found; });
    RunUntil([&] { return result.has_value(); });
    return result.value_or(RouteSink::Result{});
  }
  void ExpectInstalled(std::size_t count) {
    EXPECT_EQ(count, fake.CountOurs());
    EXPECT_EQ(count, sink->GetLedger().CountStanding());
  }

  test_kernel::FakeKernel fake;
  loop::Loop m_loop;  // whose pool works on the kernel, as long as it is there
  std::vector<FakeChannel*> channels;
  std::vector<Accident> accidentsOfReading;
  std::vector<std::string> lines;
  std::optional<RouteSink> sink;
};

TEST_F(Sink, NothingIsSentBeforeTheTablesHaveBeenRead) {
  fake.tables[KEY][220] = {kernel::OUR_PROTOCOL, Hop("10.1.2.1")};
  Open();
  sink->Want(KEY, Hop("10.1.2.1"));
  sink->Want(OTHER, Hop("10.1.2.1"));
  EXPECT_FALSE(sink->IsSettled());
  Settle();
  EXPECT_EQ(1u, fake.requests) << "one of them stood already";
  EXPECT_EQ(2u, Reading().dumps);
  ExpectInstalled(2);
  EXPECT_THAT(lines, IsEmpty());
}

TEST_F(Sink, WithoutAWayToTheKernelThereIsNone) {
  EXPECT_THROW(RouteSink(
                   m_loop.Get(), [] { return 0; },
                   [](auto) -> std::unique_ptr<Channel> { throw std::runtime_error("none"); },
                   [](const std::string&) {}),
               std::runtime_error);
}

TEST_F(Sink, BatchesFollowOneAnother) {
  Open();
  for (int i = 0; i < 1200; ++i) {
    sink->Want(Key("10." + std::to_string(i / 200) + "." + std::to_string(i % 200) + ".0/24"),
               Hop("10.1.2.1"));
  }
  Settle();
  EXPECT_EQ(3u, Writing().batches);
  ExpectInstalled(1200);
}

TEST_F(Sink, EarlierRoutesGoWithTheSweep) {
  fake.tables[KEY][220] = {kernel::OUR_PROTOCOL, Hop("10.1.2.1")};
  Open();
  Settle();
  EXPECT_EQ(1u, fake.CountOurs());
  sink->Sweep();
  Settle();
  EXPECT_EQ(0u, fake.CountOurs());
  EXPECT_EQ(1u, sink->GetLedger().GetTotals().deleted);
}

TEST_F(Sink, AComparisonTellsAndPutsBack) {
  Open();
  sink->Want(KEY, Hop("10.1.2.1"));
  sink->Sweep();
  Settle();
  fake.tables.erase(KEY);
  fake.tables[OTHER][220] = {kernel::OUR_PROTOCOL, Hop("10.1.2.1")};
  const RouteSink::Result result = Compare();
  EXPECT_TRUE(result.isComplete);
  EXPECT_EQ(1u, result.comparison.missing);
  EXPECT_EQ(1u, result.comparison.strays);
  Settle();
  ExpectInstalled(1);
  EXPECT_THAT(lines, ElementsAre("The kernel had lost 1 route, which is put back",
                                 "The kernel had 1 stray of this device, which is removed"));
  EXPECT_EQ(2u, sink->CountComparisons());
}

TEST_F(Sink, WhoAsksDuringAComparisonHasTheNextOne) {
  Open();
  Settle();
  std::vector<int> order;
  sink->Compare([&](const auto&) { order.push_back(1); });
  uv_run(m_loop.Get(), UV_RUN_NOWAIT);
  sink->Compare([&](const auto&) { order.push_back(2); });
  sink->Compare([&](const auto&) { order.push_back(3); });
  RunUntil([&] { return order.size() == 3; });
  EXPECT_THAT(order, ElementsAre(1, 2, 3));
  EXPECT_EQ(3u, sink->CountComparisons());
}

TEST_F(Sink, AnInterruptedDumpIsReadAgain) {
  accidentsOfReading = {Accident::INTERRUPTED, Accident::NONE, Accident::INTERRUPTED};
  fake.tables[KEY][220] = {kernel::OUR_PROTOCOL, Hop("10.1.2.1")};
  Open();
  sink->Want(KEY, Hop("10.1.2.1"));
  Settle();
  EXPECT_EQ(5u, Reading().dumps);
  EXPECT_EQ(0u, fake.requests);
}

TEST_F(Sink, ADumpIsReadAgainFiveTimes) {
  Open();
  Settle();
  Reading().accidents.assign(5, Accident::INTERRUPTED);
  EXPECT_TRUE(Compare().isComplete);
  Reading().accidents.assign(6, Accident::INTERRUPTED);
  EXPECT_FALSE(Compare().isComplete);
}

TEST_F(Sink, AnOverrunOfADumpIsAnInterruption) {
  accidentsOfReading = {Accident::OVERRUN};
  Open();
  sink->Want(KEY, Hop("10.1.2.1"));
  Settle();
  EXPECT_EQ(1u, sink->CountOverruns());
  ExpectInstalled(1);
}

TEST_F(Sink, ATableThatCannotBeReadIsReadLater) {
  accidentsOfReading = {Accident::REFUSED, Accident::REFUSED};
  Open();
  sink->Want(KEY, Hop("10.1.2.1"));
  EXPECT_FALSE(Compare().isComplete);
  EXPECT_EQ(0u, fake.requests);
  EXPECT_THAT(lines,
              ElementsAre("The kernel's tables cannot be read; it is tried again each second"));
  Settle();
  ExpectInstalled(1);
}

TEST_F(Sink, EachTimeWithoutTablesIsTold) {
  Open();
  Settle();
  for (std::size_t times = 1; times <= 2; ++times) {
    Reading().accidents = {Accident::REFUSED};
    EXPECT_FALSE(Compare().isComplete);
    EXPECT_THAT(lines, SizeIs(times));
    EXPECT_TRUE(Compare().isComplete);
  }
}

TEST_F(Sink, WhatComesAfterAFailedReadingIsPassedOver) {
  Open();
  Settle();
  Reading().accidents = {Accident::LATE};
  bool hasEnded = false;
  sink->Compare([&](const auto& result) { hasEnded = !result.isComplete; });
  const std::size_t dumps = Reading().dumps;
  Reading().Tell(Channel::Outcome::FAILED);
  RunUntil([&] { return hasEnded; });
  Reading().AnswerLate();
  for (int i = 0; i < 5; ++i) {
    uv_run(m_loop.Get(), UV_RUN_NOWAIT);
  }
  EXPECT_EQ(dumps, Reading().dumps) << "the next one begins in a second";
}

TEST_F(Sink, AFamilyThatTheMachineHasNotIsEmpty) {
  accidentsOfReading = {Accident::WITHOUT_FAMILY, Accident::NONE};
  Open();
  Settle();
  EXPECT_EQ(2u, Reading().dumps);
  EXPECT_EQ(1u, sink->CountComparisons());
}

TEST_F(Sink, LostAnswersAreFoundOut) {
  Open();
  Settle();
  Writing().accidents = {Accident::OVERRUN};
  sink->Want(KEY, Hop("10.1.2.1"));
  sink->Want(OTHER, Hop("10.1.2.1"));
  RunUntil([this] { return sink->CountComparisons() == 2; });
  Settle();
  EXPECT_EQ(1u, sink->CountOverruns());
  ExpectInstalled(2);
  EXPECT_EQ(0u, sink->GetLedger().CountRefused());
  EXPECT_THAT(lines, IsEmpty());
}

TEST_F(Sink, ABatchThatTheKernelDoesNotTakeIsSentAgain) {
  Open();
  Settle();
  Writing().sendErrors = {ENOBUFS, ENOBUFS};
  sink->Want(KEY, Hop("10.1.2.1"));
  RunUntil([this] { return fake.CountOurs() == 1; });
  Settle();
  ExpectInstalled(1);
  ASSERT_THAT(lines, SizeIs(1)) << "of two failures";
  EXPECT_THAT(lines[0], HasSubstr("No buffer space available"));
}

TEST_F(Sink, ARefusalIsToldOnceAndAskedAgain) {
  Open();
  Settle();
  fake.refuse = [](const auto&, bool) { return ENETUNREACH; };
  sink->Want(KEY, Hop("10.7.7.7"));
  sink->Want(OTHER, Hop("10.7.7.7"));
  Settle();
  EXPECT_EQ(2u, sink->GetLedger().CountRefused());
  ASSERT_THAT(lines, SizeIs(1));
  EXPECT_THAT(lines[0], HasSubstr("in table 254: Network is unreachable; it is asked again"));
  fake.refuse = {};
  RunUntil([this] { return fake.CountOurs() == 2; });
  Settle();
  ExpectInstalled(2);
}

TEST_F(Sink, WhatIsRefusedIsAskedForWhenSomebodyWantsIt) {
  Open();
  Settle();
  fake.refuse = [](const auto&, bool) { return ENETUNREACH; };
  sink->Want(KEY, Hop("10.7.7.7"));
  Settle();
  for (std::uint64_t refused = 2; refused < 9; ++refused) {  // by itself that takes two minutes
    EXPECT_EQ(1u, sink->Retry([](const auto& key) { return key == KEY; }));
    EXPECT_FALSE(sink->IsSettled());
    Settle();
    EXPECT_LE(refused, sink->GetLedger().GetTotals().refused);
  }
  fake.refuse = {};
  sink->Retry([](const auto&) { return true; });
  Settle();
  ExpectInstalled(1);
}

// Whoever removes what is there afterwards must not be overtaken.
TEST_F(Sink, OneThatIsShutSendsNothingAnyMore) {
  Open();
  Settle();
  sink->Want(KEY, Hop("10.1.2.1"));
  uv_run(m_loop.Get(), UV_RUN_NOWAIT);  // the pool has it, or will
  sink->Shut();
  const std::size_t requests = fake.requests;
  sink.reset();
  while (uv_run(m_loop.Get(), UV_RUN_NOWAIT) != 0) {
  }
  EXPECT_EQ(requests, fake.requests);
}

// A link that comes up is what a refused route may have waited for, and one that goes takes routes.
TEST_F(Sink, AChangeOfALinkIsACauseToAskAndToCompare) {
  Open();
  sink->Want(OTHER, Hop("10.1.2.1"));
  Settle();
  fake.refuse = [](const auto&, bool) { return ENETDOWN; };
  for (int i = 0; i < 4; ++i) {  // the next try is a while away
    sink->Forgo(KEY);
    sink->Want(KEY, Hop("10.1.2.1"));
  }
  Settle();
  fake.refuse = {};
  fake.tables.erase(OTHER);
  const std::size_t comparisons = sink->CountComparisons();
  Hearing().Tell(Channel::Outcome::MESSAGES);
  RunUntil([&] { return sink->CountComparisons() == comparisons + 1; });
  Settle();
  ExpectInstalled(2);
  EXPECT_EQ(0u, sink->CountOverruns());
}

TEST_F(Sink, WithoutNewsThereIsNoCauseToCompare) {
  Open();
  Settle();
  Hearing().Tell(Channel::Outcome::NOTHING);
  RunFor(500);
  EXPECT_EQ(1u, sink->CountComparisons());
}

// What it loses until then, nobody hears of.
TEST_F(Sink, ASocketThatHasOverrunIsACauseWhenItIsEmpty) {
  Open();
  Settle();
  Hearing().Tell(Channel::Outcome::OVERRUN);
  for (std::size_t i = 1; i < kernel::PACKETS_A_TURN; ++i) {
    Hearing().Tell(Channel::Outcome::MESSAGES);
  }
  uv_run(m_loop.Get(), UV_RUN_NOWAIT);
  uv_sleep(300);  // the comparison that this has caused begins before the socket is looked at
  RunUntil([this] { return sink->CountComparisons() == 3; });
}

TEST_F(Sink, ALinkThatChangesAllTheTimeDoesNotPutOffTheComparison) {
  Open();
  Settle();
  loop::Timer flapping(m_loop.Get());
  const std::function<void()> flap = [&] {
    Hearing().Tell(Channel::Outcome::MESSAGES);
    flapping.Start(20, flap);
  };
  flap();
  RunUntil([this] { return sink->CountComparisons() == 3; });
}

// It may have passed by what has changed; and a second one beside it would take its rows for its own.
TEST_F(Sink, AChangeDuringAComparisonIsACauseForAnotherOneAfterIt) {
  Open();
  Settle();
  const std::size_t comparisons = sink->CountComparisons();
  Reading().accidents = {Accident::LATE};
  bool hasEnded = false;
  sink->Compare([&](const auto&) { hasEnded = true; });
  const std::size_t dumps = Reading().dumps;
  Hearing().Tell(Channel::Outcome::MESSAGES);
  RunFor(500);  // twice as long as more news are waited for
  EXPECT_EQ(dumps, Reading().dumps);
  EXPECT_FALSE(hasEnded);
  Reading().AnswerLate();
  RunUntil([&] { return hasEnded; });
  RunUntil([&] { return sink->CountComparisons() == comparisons + 2; });
}

TEST_F(Sink, AnOverrunOfWhatIsHeardIsCounted) {
  Open();
  Settle();
  Hearing().Tell(Channel::Outcome::OVERRUN);
  RunUntil([this] { return sink->CountComparisons() == 2; });
  EXPECT_EQ(1u, sink->CountOverruns());
}

TEST_F(Sink, WhoGoesLeavesItsRoutes) {
  Open();
  sink->Want(KEY, Hop("10.1.2.1"));
  Settle();
  sink->Compare([](const auto&) { FAIL(); });
  sink.reset();
  uv_run(m_loop.Get(), UV_RUN_NOWAIT);
  EXPECT_EQ(1u, fake.CountOurs());
}

}  // namespace
