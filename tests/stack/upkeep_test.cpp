// What a host may do: walks that are held, go on and are ended.

#include "device/stack/upkeep.h"

#include "stack_test.h"

namespace stack_test {
namespace {

using routing_stack::RunningWalk;

/// A walk's side of the conversation.
struct Reader {
  std::vector<unsigned int> results;
  std::vector<unsigned int> rows;  // the indexes of interfaces
  std::function<void(unsigned int walk, unsigned int result)> onAnswer;
  bool stops = false;
};

unsigned char Hear(void* context, unsigned int walk, unsigned int result, void* row) {
  Reader& reader = *static_cast<Reader*>(context);
  reader.results.push_back(result);
  if (result == 1) {
    reader.rows.push_back(static_cast<amb_stubs_i3_ei*>(row)->if_index);
  }
  if (reader.onAnswer) {
    reader.onAnswer(walk, result);
  }
  return result == 1 && !reader.stops ? 1 : 0;
}

class UpkeepTest : public StackTest {
 protected:
  void SetUp() override {
    Start();
    for (unsigned int i = 1; i <= 4; ++i) {
      AddInterface(10, i);
    }
    RunAll();
    host.Take();
  }
  unsigned int Begin(Reader& reader) {
    sms_get_next_i3_ei(10, &Hear, &reader);
    return facts.LastWalk();
  }
  /// "1(1) 2(1)h": numbers with their first ones, and which are held.
  std::string Walks() const {
    std::string text;
    for (const RunningWalk& walk : facts.Walks()) {
      text += (text.empty() ? "" : " ") + std::to_string(walk.number) + "(" +
              std::to_string(walk.first) + ")" + (walk.isHeld ? "h" : "");
    }
    return text;
  }

  const routing_stack::Facts& facts = stack.GetFacts();
  routing_stack::Upkeep& upkeep = stack.GetUpkeep();
};

TEST_F(UpkeepTest, WalksAreListedUntilTheirLastAnswer) {
  EXPECT_EQ(0u, facts.LastWalk());
  EXPECT_EQ("", Walks());
  Reader first;
  Reader second;
  EXPECT_EQ(1u, Begin(first));
  second.stops = true;
  EXPECT_EQ(2u, Begin(second));
  EXPECT_EQ("1(1) 2(2)", Walks());
  first.onAnswer = [&](unsigned int walk, unsigned int result) {
    EXPECT_EQ(1u, walk);
    EXPECT_EQ("1(1)", Walks().substr(0, 4)) << "after result " << result;
  };
  RunAll();
  EXPECT_EQ("", Walks());
  EXPECT_EQ(2u, facts.LastWalk());
  EXPECT_THAT(first.results, ElementsAre(1, 1, 1, 1, 7));
  EXPECT_THAT(second.results, ElementsAre(1));
}

TEST_F(UpkeepTest, AHeldWalkIsNotAnsweredAndGoesOnAtItsPlace) {
  control.SetSliceEvents(1);
  Reader reader;
  const unsigned int walk = Begin(reader);
  RunOnce();
  RunOnce();
  upkeep.HoldWalk(walk);
  EXPECT_EQ("1(1)h", Walks());
  EXPECT_TRUE(stack.IsIdle());
  EXPECT_FALSE(facts.HasWork());
  EXPECT_EQ(kIdleMs, RunOnce());
  EXPECT_THAT(reader.rows, ElementsAre(1, 2));
  RemoveInterface(10, 2);
  RemoveInterface(10, 3);
  RunAll();
  host.runsAskedFor = 0;
  upkeep.GoOnWithWalk(walk);
  EXPECT_EQ(1u, host.runsAskedFor);
  EXPECT_FALSE(stack.IsIdle());
  EXPECT_TRUE(facts.HasWork());
  EXPECT_EQ("1(1)", Walks());
  EXPECT_THAT(reader.rows, ElementsAre(1, 2)) << "not inside the call";
  RunAll();
  EXPECT_THAT(reader.rows, ElementsAre(1, 2, 4));
  EXPECT_EQ(7u, reader.results.back());
}

TEST_F(UpkeepTest, AHeldWalkIsNotToldTheEndEither) {
  Reader reader;
  reader.onAnswer = [&](unsigned int walk, unsigned int) {
    if (reader.rows.size() == 4) {
      upkeep.HoldWalk(walk);
    }
  };
  const unsigned int walk = Begin(reader);
  EXPECT_EQ(kIdleMs, RunAll());
  EXPECT_THAT(reader.results, ElementsAre(1, 1, 1, 1));
  upkeep.GoOnWithWalk(walk);
  reader.onAnswer = nullptr;
  RunAll();
  EXPECT_THAT(reader.results, ElementsAre(1, 1, 1, 1, 7));
}

TEST_F(UpkeepTest, OneThatIsHeldDoesNotHoldTheOthers) {
  Reader held;
  Reader other;
  upkeep.HoldWalk(Begin(held));
  Begin(other);
  RunAll();
  EXPECT_THAT(held.results, IsEmpty());
  EXPECT_THAT(other.results, ElementsAre(1, 1, 1, 1, 7));
  EXPECT_EQ("1(1)h", Walks());
}

TEST_F(UpkeepTest, HoldingTwiceAndGoingOnTwiceIsHoldingAndGoingOn) {
  Reader reader;
  const unsigned int walk = Begin(reader);
  upkeep.GoOnWithWalk(walk);
  upkeep.HoldWalk(walk);
  upkeep.HoldWalk(walk);
  EXPECT_TRUE(stack.IsIdle());
  upkeep.GoOnWithWalk(walk);
  upkeep.GoOnWithWalk(walk);
  upkeep.HoldWalk(walk);
  upkeep.GoOnWithWalk(walk);
  RunAll();
  EXPECT_THAT(reader.results, ElementsAre(1, 1, 1, 1, 7));
}

TEST_F(UpkeepTest, AHandlerMayHoldItsOwnWalkAndChangeItsMind) {
  Reader reader;
  reader.onAnswer = [&](unsigned int walk, unsigned int) {
    upkeep.HoldWalk(walk);
    EXPECT_EQ("1(1)h", Walks());
    if (reader.rows.size() < 3) {
      upkeep.GoOnWithWalk(walk);
    }
  };
  Begin(reader);
  RunAll();
  EXPECT_THAT(reader.rows, ElementsAre(1, 2, 3));
  EXPECT_TRUE(stack.IsIdle());
}

TEST_F(UpkeepTest, AHandlerThatHoldsAndStopsHasEnded) {
  Reader reader;
  reader.stops = true;
  reader.onAnswer = [&](unsigned int walk, unsigned int) { upkeep.HoldWalk(walk); };
  const unsigned int walk = Begin(reader);
  RunAll();
  EXPECT_EQ("", Walks());
  upkeep.GoOnWithWalk(walk);
  upkeep.EndWalk(walk);
  EXPECT_EQ(kIdleMs, RunAll());
  EXPECT_THAT(reader.results, ElementsAre(1));
}

TEST_F(UpkeepTest, AWalkIsEndedWhileItRuns) {
  control.SetSliceEvents(1);
  Reader reader;
  const unsigned int walk = Begin(reader);
  RunOnce();
  upkeep.EndWalk(walk);
  EXPECT_THAT(reader.results, ElementsAre(1)) << "not inside the call";
  EXPECT_EQ("1(1)", Walks());
  upkeep.HoldWalk(walk);
  EXPECT_EQ("1(1)", Walks()) << "one that is to end cannot be held";
  RunOnce();
  EXPECT_THAT(reader.results, ElementsAre(1, 8));
  EXPECT_EQ("", Walks());
  upkeep.EndWalk(walk);
  EXPECT_EQ(kIdleMs, RunAll());
  EXPECT_THAT(reader.results, ElementsAre(1, 8));
}

TEST_F(UpkeepTest, AWalkIsEndedWhileItIsHeldOrBeforeItHasBegun) {
  Reader held;
  Reader fresh;
  const unsigned int walk = Begin(held);
  upkeep.HoldWalk(walk);
  RunAll();
  host.runsAskedFor = 0;
  upkeep.EndWalk(walk);
  EXPECT_EQ(1u, host.runsAskedFor);
  EXPECT_EQ("1(1)", Walks());
  upkeep.EndWalk(walk);
  upkeep.EndWalk(Begin(fresh));
  RunAll();
  EXPECT_THAT(held.results, ElementsAre(8));
  EXPECT_THAT(fresh.results, ElementsAre(8));
}

TEST_F(UpkeepTest, AHandlerMayEndItsOwnWalkAndOthers) {
  Reader reader;
  Reader other;
  reader.onAnswer = [&](unsigned int walk, unsigned int result) {
    if (result == 1) {
      upkeep.EndWalk(walk);
      upkeep.EndWalk(2);
    }
    EXPECT_EQ(reader.results.size(), 1u + (result == 8 ? 1u : 0u)) << "after the present call";
  };
  Begin(reader);
  Begin(other);
  RunAll();
  EXPECT_THAT(reader.results, ElementsAre(1, 8));
  EXPECT_THAT(other.results, ElementsAre(8));
  Reader third;
  third.stops = true;
  third.onAnswer = [&](unsigned int walk, unsigned int) { upkeep.EndWalk(walk); };
  Begin(third);
  RunAll();
  EXPECT_THAT(third.results, ElementsAre(1)) << "the handler has ended it itself";
  EXPECT_EQ("", Walks());
}

TEST_F(UpkeepTest, AWalkThatAHandlerBeginsNamesTheFirstOne) {
  Reader reader;
  Reader second;
  Reader third;
  Reader own;
  third.stops = true;
  reader.onAnswer = [&](unsigned int, unsigned int result) {
    if (result == 7) {
      Begin(second);
    }
  };
  second.onAnswer = [&](unsigned int, unsigned int) {
    if (second.results.size() == 1) {
      Begin(third);
      EXPECT_EQ("2(2)h 3(1) 4(1)", Walks()) << "the first one has ended";
    }
  };
  Begin(reader);
  upkeep.HoldWalk(Begin(own));
  RunAll();
  EXPECT_THAT(second.results, ElementsAre(1, 1, 1, 1, 7));
  EXPECT_THAT(third.results, ElementsAre(1));
  EXPECT_EQ(4u, facts.LastWalk());
  Reader later;
  EXPECT_EQ(5u, Begin(later));
  EXPECT_EQ("2(2)h 5(5)", Walks());
}

TEST_F(UpkeepTest, ARestartEndsHeldWalksLikeOthers) {
  Reader held;
  Reader holding;
  Reader waiting;
  upkeep.HoldWalk(Begin(held));
  holding.onAnswer = [&](unsigned int walk, unsigned int result) {
    if (result == 1) {
      upkeep.HoldWalk(walk);
      control.Restart();
      upkeep.HoldWalk(walk);
    }
  };
  Begin(holding);
  Begin(waiting);
  RunAll();
  EXPECT_THAT(held.results, ElementsAre(8));
  EXPECT_THAT(holding.results, ElementsAre(1, 8));
  EXPECT_THAT(waiting.results, ElementsAre(8));
  EXPECT_EQ("", Walks());
  EXPECT_TRUE(stack.IsIdle());
}

TEST_F(UpkeepTest, AHeldStackEndsWalksWhenItIsReleased) {
  Reader reader;
  const unsigned int walk = Begin(reader);
  control.Hold();
  upkeep.EndWalk(walk);
  RunOnce();
  EXPECT_THAT(reader.results, IsEmpty());
  EXPECT_EQ("1(1)", Walks());
  control.Release();
  RunAll();
  EXPECT_THAT(reader.results, ElementsAre(8));
}

TEST_F(UpkeepTest, UnknownNumbersAreIgnored) {
  Reader reader;
  Begin(reader);
  for (const unsigned int number : {0u, 2u, 0xFFFFFFFFu}) {
    upkeep.HoldWalk(number);
    upkeep.GoOnWithWalk(number);
    upkeep.EndWalk(number);
  }
  RunAll();
  EXPECT_THAT(reader.results, ElementsAre(1, 1, 1, 1, 7));
}

// The handler of one walk runs inside that of another there.
TEST_F(UpkeepTest, InSynchronousModeWalksNestAndMayBeHeldAndEnded) {
  control.SetSynchronous(true);
  Reader outer;
  Reader inner;
  unsigned int heldWalk = 0;
  inner.onAnswer = [&](unsigned int walk, unsigned int result) {
    if (result == 1 && inner.rows.size() == 2) {
      heldWalk = walk;
      upkeep.HoldWalk(walk);
      EXPECT_EQ("1(1) 2(1)h", Walks());
    }
  };
  outer.onAnswer = [&](unsigned int walk, unsigned int result) {
    if (outer.rows.size() == 1) {
      Begin(inner);
      EXPECT_THAT(inner.rows, ElementsAre(1, 2));
    } else if (result == 1) {
      upkeep.EndWalk(walk);
    }
  };
  Begin(outer);
  EXPECT_THAT(outer.results, ElementsAre(1, 1, 8));
  EXPECT_EQ("2(1)h", Walks());
  upkeep.GoOnWithWalk(heldWalk);
  EXPECT_THAT(inner.results, ElementsAre(1, 1, 1, 1, 7));
}

}  // namespace
}  // namespace stack_test
