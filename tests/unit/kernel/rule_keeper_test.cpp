// The keeper of rules on a loop of its own, with a kernel that can be broken.

#include "device/kernel/rule_keeper.h"

#include <gmock/gmock.h>
#include <uv.h>

#include <cerrno>
#include <optional>
#include <stdexcept>

#include "device/loop/loop.h"
#include "fake_channel.h"

namespace {

using kernel::RuleKeeper;
using test_kernel::FakeChannel;
using test_kernel::OddRule;
using test_kernel::RuleFor;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using Accident = FakeChannel::Accident;

const kernel::Rules WANTED = {RuleFor("r2", 20), RuleFor("r2"), RuleFor("r2", 20, true),
                              RuleFor("r2", 0, true)};

class Keeper : public testing::Test {
 protected:
  /// With what becomes of its first dumps and answers, the last one first.
  void Open(std::vector<Accident> accidents = {}) {
    keeper.emplace(
        m_loop.Get(), [] { return uv_hrtime() / 1000000; },
        [&](kernel::Subscription subscription) {
          EXPECT_EQ(kernel::Subscription::NOTHING, subscription);
          auto opened = std::make_unique<FakeChannel>(fake);
          channel = opened.get();
          channel->accidents = std::move(accidents);
          return opened;
        },
        [this](const std::string& line) { lines.push_back(line); });
  }
  /// Ten seconds are more than anything here needs.
  void RunUntil(const std::function<bool()>& isOver) {
    const std::uint64_t end = uv_hrtime() + 10000000000u;
    while (!isOver() && uv_hrtime() < end) {
      uv_run(m_loop.Get(), UV_RUN_ONCE);
    }
    ASSERT_TRUE(isOver());
  }
  void Settle() {
    RunUntil([this] { return keeper->IsSettled(); });
  }
  void Begin() {
    Open();
    keeper->Want(WANTED);
    keeper->Sweep();
    Settle();
  }
  RuleKeeper::Result Compare() {
    std::optional<RuleKeeper::Result> result;
    keeper->Compare([&](const RuleKeeper::Result& found) { result = found; });
    RunUntil([&] { return result.has_value(); });
    return result.value_or(RuleKeeper::Result{});
  }

  test_kernel::FakeKernel fake;
  loop::Loop m_loop;  // whose pool works on the kernel, as long as it is there
  FakeChannel* channel = nullptr;
  std::vector<std::string> lines;
  std::optional<RuleKeeper> keeper;
};

TEST_F(Keeper, WritesWhatIsWantedAndTakesItOut) {
  Open();
  EXPECT_FALSE(keeper->IsSettled()) << "nobody knows what stands";
  keeper->Want(WANTED);
  Settle();
  EXPECT_EQ(WANTED, fake.rules.ours);
  EXPECT_EQ(1u, channel->batches);
  EXPECT_EQ(2u, channel->dumps);
  keeper->Want({});
  keeper->Sweep();
  EXPECT_FALSE(keeper->IsSettled());
  Settle();
  EXPECT_THAT(fake.rules.ours, IsEmpty());
  EXPECT_THAT(lines, IsEmpty());
}

TEST_F(Keeper, ThatGoesLeavesItsRules) {
  Begin();
  keeper.reset();
  EXPECT_EQ(WANTED, fake.rules.ours);
}

TEST_F(Keeper, ThousandsOfRulesComeInBatches) {
  Open();
  kernel::Rules many;
  for (unsigned int i = 0; i < 500; ++i) {
    many.insert({RuleFor("r" + std::to_string(i), i + 1), RuleFor("r" + std::to_string(i))});
  }
  keeper->Want(many);
  Settle();
  EXPECT_EQ(many, fake.rules.ours);
  EXPECT_EQ(5u, channel->batches);
}

TEST_F(Keeper, AComparisonPutsRightWhatItFinds) {
  Begin();
  fake.rules.ours.erase(RuleFor("r2"));
  fake.rules.ours.insert(OddRule(7));
  const RuleKeeper::Result result = Compare();
  EXPECT_TRUE(result.isComplete);
  EXPECT_THAT(result.comparison.missing, ElementsAre(RuleFor("r2")));
  EXPECT_THAT(result.comparison.strays, ElementsAre(OddRule(7)));
  Settle();
  EXPECT_EQ(WANTED, fake.rules.ours);
  EXPECT_THAT(lines, ElementsAre("The kernel had lost 1 rule, which is put back",
                                 "The kernel had 1 stray rule of this device, which is removed"));
}

TEST_F(Keeper, NothingIsSentBeforeTheFirstComparisonHasTold) {
  fake.rules.ours = WANTED;
  Open({Accident::NONE, Accident::NONE, Accident::INTERRUPTED});
  keeper->Want(WANTED);
  Settle();
  EXPECT_THAT(fake.rules.requests, IsEmpty());
  EXPECT_EQ(3u, channel->dumps);
}

TEST_F(Keeper, LostAnswersAreFoundOut) {
  Open({Accident::OVERRUN, Accident::NONE, Accident::NONE});
  keeper->Want(WANTED);
  Settle();
  EXPECT_EQ(WANTED, fake.rules.ours);
  EXPECT_EQ(4u, keeper->GetLedger().CountStanding());
  EXPECT_EQ(1u, keeper->CountOverruns());
  EXPECT_EQ(1u, channel->batches);
  EXPECT_EQ(4u, channel->dumps);
}

TEST_F(Keeper, ADumpOfWhichSomethingIsLostIsReadAgain) {
  fake.rules.ours = WANTED;
  Open({Accident::NONE, Accident::NONE, Accident::OVERRUN});
  keeper->Want(WANTED);
  Settle();
  EXPECT_THAT(fake.rules.requests, IsEmpty());
  EXPECT_EQ(1u, keeper->CountOverruns());
}

TEST_F(Keeper, RulesThatCannotBeReadAreToldOnceAndReadLater) {
  Open({Accident::REFUSED, Accident::REFUSED});
  keeper->Want(WANTED);
  bool isComplete = true;
  keeper->Compare([&](const RuleKeeper::Result& result) { isComplete = result.isComplete; });
  RunUntil([&] { return !isComplete; });
  EXPECT_THAT(fake.rules.requests, IsEmpty());
  EXPECT_FALSE(keeper->IsSettled());
  Settle();
  EXPECT_EQ(WANTED, fake.rules.ours);
  EXPECT_THAT(lines,
              ElementsAre("The kernel's rules cannot be read; it is tried again each second"));
}

TEST_F(Keeper, RulesThatChangeAllTheTimeCannotBeRead) {
  Open(std::vector<Accident>(6, Accident::INTERRUPTED));
  EXPECT_FALSE(Compare().isComplete);
  channel->accidents.assign(5, Accident::INTERRUPTED);
  EXPECT_TRUE(Compare().isComplete);
}

TEST_F(Keeper, EachTimeWithoutRulesIsTold) {
  Begin();
  for (std::size_t times = 1; times <= 2; ++times) {
    channel->accidents = {Accident::REFUSED};
    EXPECT_FALSE(Compare().isComplete);
    EXPECT_THAT(lines, SizeIs(times));
    EXPECT_TRUE(Compare().isComplete);
  }
}

TEST_F(Keeper, WhatComesAfterAFailedReadingIsPassedOver) {
  Begin();
  channel->accidents = {Accident::LATE};
  bool hasEnded = false;
  keeper->Compare([&](const auto& result) { hasEnded = !result.isComplete; });
  const std::size_t before = channel->dumps;
  RunUntil([&] { return channel->dumps > before; });
  channel->Tell(kernel::Channel::Outcome::FAILED);
  RunUntil([&] { return hasEnded; });
  const std::size_t dumps = channel->dumps;
  channel->AnswerLate();
  for (int i = 0; i < 5; ++i) {
    uv_run(m_loop.Get(), UV_RUN_NOWAIT);
  }
  EXPECT_EQ(dumps, channel->dumps) << "the next one begins in a second";
}

TEST_F(Keeper, AMachineWithoutIp6HasRulesOfIp4) {
  Open({Accident::WITHOUT_FAMILY, Accident::NONE});
  keeper->Want(WANTED);
  Settle();
  EXPECT_THAT(fake.rules.ours, SizeIs(2));
  EXPECT_EQ(2u, keeper->GetLedger().CountWanted());
}

TEST_F(Keeper, AMachineWithoutRulesIsToldOf) {
  Open({Accident::WITHOUT_FAMILY});
  EXPECT_FALSE(Compare().isComplete);
  EXPECT_THAT(lines, ElementsAre(HasSubstr("cannot be read")));
}

TEST_F(Keeper, ARefusalIsToldOnceAndAskedAgain) {
  fake.rules.refuse = [](const kernel::Rule& rule, bool) { return rule.isIp6 ? EPERM : 0; };
  Open();
  keeper->Want(WANTED);
  RunUntil([this] { return !lines.empty(); });
  EXPECT_TRUE(keeper->IsSettled());
  EXPECT_THAT(fake.rules.ours, SizeIs(2));
  EXPECT_THAT(lines,
              ElementsAre("The kernel refuses the rule iif r2 unreachable of IPv6: Operation "
                          "not permitted; it is asked again, and so are others that it may "
                          "refuse"));
  fake.rules.refuse = nullptr;
  RunUntil([this] { return keeper->GetLedger().CountStanding() == 4; });
  EXPECT_EQ(0u, keeper->GetLedger().CountRefused());
  EXPECT_THAT(lines, SizeIs(1));
}

// The comparison that follows a deletion must not bring about the next one.
TEST_F(Keeper, ADeletionThatIsRefusedIsAskedForAfterAPause) {
  Begin();
  fake.rules.refuse = [](const kernel::Rule&, bool) { return EPERM; };
  fake.rules.requests.clear();
  keeper->Want({});
  RunUntil([this] { return !lines.empty() && keeper->IsSettled(); });
  EXPECT_LE(fake.rules.requests.size(), 8u) << "twice at most, on a machine that took a second";
  EXPECT_THAT(lines, ElementsAre(HasSubstr("refuses to delete the rule iif r2 ")));
  fake.rules.refuse = nullptr;
  RunUntil([this] { return keeper->GetLedger().GetTotals().deleted == 4 && keeper->IsSettled(); });
  EXPECT_THAT(fake.rules.ours, IsEmpty());
  EXPECT_EQ(0u, keeper->GetLedger().CountRefused());
}

TEST_F(Keeper, ARefusalIsAskedAgainWithAComparison) {
  fake.rules.refuse = [](const kernel::Rule&, bool) { return EPERM; };
  Begin();
  fake.rules.requests.clear();
  Compare();
  Settle();
  EXPECT_THAT(fake.rules.requests, SizeIs(4));
}

// With the pauses between them, so many refusals would take minutes.
TEST_F(Keeper, ARefusalIsAskedAgainAtAWord) {
  fake.rules.refuse = [](const kernel::Rule&, bool) { return EPERM; };
  Begin();
  for (int i = 0; i < 8; ++i) {
    fake.rules.requests.clear();
    EXPECT_EQ(4u, keeper->Retry());
    Settle();
    EXPECT_THAT(fake.rules.requests, SizeIs(4));
  }
  fake.rules.refuse = nullptr;
  keeper->Retry();
  RunUntil([this] { return keeper->GetLedger().CountStanding() == 4; });
  EXPECT_EQ(0u, keeper->Retry());
}

TEST_F(Keeper, WhatCannotBeSentIsToldOnceAndSentLater) {
  Begin();
  channel->sendErrors = {ENOBUFS, ENOBUFS};
  keeper->Want({});
  RunUntil([this] { return !lines.empty(); });
  EXPECT_THAT(lines, ElementsAre(HasSubstr("The kernel takes no requests for rules: ")));
  Settle();
  EXPECT_THAT(fake.rules.ours, IsEmpty());
}

TEST_F(Keeper, WithoutAWayToTheKernelThereIsNone) {
  const auto open = [](kernel::Subscription) -> std::unique_ptr<kernel::Channel> {
    throw std::runtime_error("no socket");
  };
  EXPECT_THROW(RuleKeeper(
                   m_loop.Get(), [] { return std::uint64_t{0}; }, open, [](const auto&) {}),
               std::runtime_error);
}

}  // namespace
