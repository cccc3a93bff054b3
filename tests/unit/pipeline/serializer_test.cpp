#include "vantacore/serializer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <numeric>
#include <vector>

#include "tests/models/scripted_action.h"

namespace Tarsel {
namespace {

using test_models::ActionLog;
using test_models::ScriptedAction;
using testing::ElementsAre;
using testing::IsEmpty;

MibOid Row(unsigned int number) { return MibOid(&number, 1); }

class SerializerTest : public testing::Test {
 protected:
  void Insert(unsigned int row, const std::string& name) {
    serializer.Insert(Row(row), new ScriptedAction(log, name));
  }
  int Complete(unsigned int row) { return serializer.RunPendingAction(&row, 1); }

  ActionLog log;
  Serializer serializer;
};

constexpr unsigned int A = 1;
constexpr unsigned int B = 2;
constexpr unsigned int C = 3;

TEST_F(SerializerTest, IssuesNothingBeforeTheReadySignal) {
  Insert(B, "b1");
  Insert(B, "b2");
  Insert(A, "a1");
  EXPECT_EQ(0, serializer.Send(Row(B)));
  EXPECT_THAT(log.Take(), IsEmpty());
  EXPECT_EQ(3U, log.alive.size());
}

TEST_F(SerializerTest, ReadySignalIssuesTheFirstOfEachRowInTheOrderOfTheRows) {
  Insert(B, "b1");
  Insert(B, "b2");
  Insert(A, "a1");
  Insert(B, "b3");
  EXPECT_EQ(1, serializer.RunPendingActions());
  EXPECT_THAT(log.Take(), ElementsAre("issue b1 shared", "end b1", "issue a1 shared", "end a1"));
}

TEST_F(SerializerTest, ReadySignalWithNothingPendingAnswersZero) {
  EXPECT_EQ(0, serializer.RunPendingActions());
}

TEST_F(SerializerTest, ReadySignalAnswersForTheLastRow) {
  Insert(A, "a1");
  serializer.Insert(Row(B), nullptr);
  EXPECT_EQ(0, serializer.RunPendingActions());
  EXPECT_THAT(log.Take(), ElementsAre("issue a1 shared", "end a1"));
}

TEST_F(SerializerTest, OnceReadyAnIdleRowIssuesAtOnceUnsharedAndTheNextWaits) {
  serializer.RunPendingActions();
  Insert(A, "a1");
  EXPECT_THAT(log.Take(), ElementsAre("issue a1", "end a1"));
  Insert(A, "a2");
  EXPECT_THAT(log.Take(), IsEmpty());
  EXPECT_EQ(1, Complete(A));
  EXPECT_THAT(log.Take(), ElementsAre("issue a2 shared", "end a2"));
}

TEST_F(SerializerTest, RowsOfTheLongestNamesMayDifferInTheLastNumberOnly) {
  serializer.RunPendingActions();
  std::vector<unsigned int> name(MibOid::MAX_LENGTH, 7);
  serializer.Insert(MibOid(name.data(), MibOid::MAX_LENGTH), new ScriptedAction(log, "a1"));
  name.back() = 8;
  serializer.Insert(MibOid(name.data(), MibOid::MAX_LENGTH), new ScriptedAction(log, "b1"));
  EXPECT_THAT(log.Take(), ElementsAre("issue a1", "end a1", "issue b1", "end b1"));
}

TEST_F(SerializerTest, RowsAreIndependent) {
  serializer.RunPendingActions();
  Insert(A, "a1");
  Insert(A, "a2");
  Insert(B, "b1");
  EXPECT_THAT(log.Take(), ElementsAre("issue a1", "end a1", "issue b1", "end b1"));
  EXPECT_EQ(0, Complete(B));
  EXPECT_THAT(log.Take(), IsEmpty());
}

TEST_F(SerializerTest, ARowIsAQueue) {
  serializer.RunPendingActions();
  for (int i = 1; i <= 5; ++i) {
    Insert(A, std::to_string(i));
  }
  log.Take();
  for (int i = 2; i <= 5; ++i) {
    EXPECT_EQ(1, Complete(A));
    EXPECT_THAT(log.Take(),
                ElementsAre("issue " + std::to_string(i) + " shared", "end " + std::to_string(i)));
    if (i == 3) {
      Insert(A, "6");
    }
  }
  EXPECT_EQ(1, Complete(A));
  EXPECT_EQ(0, Complete(A));
  EXPECT_THAT(log.Take(), ElementsAre("issue 6 shared", "end 6"));
}

TEST_F(SerializerTest, AnEmptiedRowStartsAnew) {
  serializer.RunPendingActions();
  Insert(A, "a1");
  EXPECT_EQ(0, Complete(A));
  log.Take();
  Insert(A, "a2");
  EXPECT_THAT(log.Take(), ElementsAre("issue a2", "end a2"));
}

TEST_F(SerializerTest, CompletionOfAnUnknownRowChangesNothing) {
  serializer.RunPendingActions();
  Insert(A, "a1");
  Insert(A, "a2");
  log.Take();
  EXPECT_EQ(0, Complete(B));
  unsigned int longer[] = {A, 0};
  EXPECT_EQ(0, serializer.RunPendingAction(longer, 2));
  EXPECT_EQ(0, serializer.RunPendingAction(longer, 0));
  EXPECT_THAT(log.Take(), IsEmpty());
  EXPECT_EQ(1, Complete(A));
}

TEST_F(SerializerTest, ARepeatedCompletionRetiresARequestThatWasNeverAnswered) {
  serializer.RunPendingActions();
  Insert(A, "a1");
  Insert(A, "a2");
  Insert(A, "a3");
  Complete(A);
  Complete(A);
  EXPECT_THAT(log.Take(), ElementsAre("issue a1", "end a1", "issue a2 shared", "end a2",
                                      "issue a3 shared", "end a3"));
}

TEST_F(SerializerTest, ARequestIsIssuedOnce) {
  serializer.RunPendingActions();
  Insert(A, "a1");
  log.Take();
  EXPECT_EQ(0, serializer.Send(Row(A)));
  EXPECT_EQ(0, serializer.RunPendingActions());
  EXPECT_THAT(log.Take(), IsEmpty());
}

TEST_F(SerializerTest, ARepeatedReadySignalIssuesNothingInFlight) {
  Insert(A, "a1");
  Insert(A, "a2");
  Insert(B, "b1");
  serializer.RunPendingActions();
  log.Take();
  EXPECT_EQ(0, serializer.RunPendingActions());
  EXPECT_THAT(log.Take(), IsEmpty());
  EXPECT_EQ(1, Complete(A));
}

TEST_F(SerializerTest, SendIssuesAFrontThatRemoveLeft) {
  serializer.RunPendingActions();
  Insert(A, "a1");
  Insert(A, "a2");
  log.Take();
  serializer.Remove(Row(A));
  EXPECT_THAT(log.Take(), IsEmpty());
  EXPECT_EQ(1, serializer.Send(Row(A)));
  EXPECT_THAT(log.Take(), ElementsAre("issue a2 shared", "end a2"));
  serializer.Remove(Row(A));
  EXPECT_EQ(0, serializer.Send(Row(A)));
  serializer.Remove(Row(A));
}

TEST_F(SerializerTest, ANullActionMakesTheRowKnownOnly) {
  serializer.Insert(Row(A), nullptr);
  serializer.RunPendingActions();
  serializer.Insert(Row(A), nullptr);
  EXPECT_EQ(0, serializer.Send(Row(A)));
  Insert(A, "a1");
  EXPECT_THAT(log.Take(), ElementsAre("issue a1", "end a1"));
  serializer.Insert(Row(A), nullptr);
  EXPECT_EQ(0, Complete(A));
  Insert(A, "a2");
  EXPECT_THAT(log.Take(), ElementsAre("issue a2", "end a2"));
}

TEST_F(SerializerTest, ANullActionGivesTheRowItsPlaceInTheArrivalOrder) {
  serializer.Insert(Row(A), nullptr);
  Insert(B, "b1");
  Insert(A, "a1");
  serializer.RunPendingActions();
  EXPECT_THAT(log.Take(), ElementsAre("issue a1 shared", "end a1", "issue b1 shared", "end b1"));
}

// An early completion takes a request away that nobody issued; it is not destroyed either.
TEST_F(SerializerTest, ACompletionBeforeTheReadySignalDropsTheFrontWithoutEndingIt) {
  Insert(A, "a1");
  Insert(A, "a2");
  EXPECT_EQ(0, Complete(A));
  EXPECT_THAT(log.Take(), IsEmpty());
  EXPECT_EQ(2U, log.alive.size());
  serializer.RunPendingActions();
  EXPECT_THAT(log.Take(), ElementsAre("issue a2 shared", "end a2"));
  EXPECT_EQ(1U, log.alive.size());
}

// The arrival order of A, B, C after the end of B reads A, C, C: the ready signal asks C twice, and
// the second answer, the last one, is that nothing was issued.
TEST_F(SerializerTest, TheArrivalOrderKeepsItsLengthAndItsTail) {
  Insert(A, "a1");
  Insert(B, "b1");
  Insert(C, "c1");
  serializer.Remove(Row(B));
  EXPECT_EQ(0, serializer.RunPendingActions());
  EXPECT_THAT(log.Take(), ElementsAre("issue a1 shared", "end a1", "issue c1 shared", "end c1"));
}

TEST_F(SerializerTest, TheLastRowsEndLeavesTheArrivalOrderAsItIs) {
  Insert(A, "a1");
  Insert(B, "b1");
  serializer.Remove(Row(B));  // A, B as before
  Insert(C, "c1");            // A, B, C
  EXPECT_EQ(1, serializer.RunPendingActions());
  EXPECT_THAT(log.Take(), ElementsAre("issue a1 shared", "end a1", "issue c1 shared", "end c1"));
}

// A, B, C; B ends: A, C, C; C ends: A, C, C; B and C again: A, C, C, B, C. So C goes before B.
TEST_F(SerializerTest, AStalePlaceBringsAReturningRowForward) {
  Insert(A, "a1");
  Insert(B, "b1");
  Insert(C, "c1");
  serializer.Remove(Row(B));
  serializer.Remove(Row(C));
  Insert(B, "b2");
  Insert(C, "c2");
  EXPECT_EQ(0, serializer.RunPendingActions());
  EXPECT_THAT(log.Take(), ElementsAre("issue a1 shared", "end a1", "issue c2 shared", "end c2",
                                      "issue b2 shared", "end b2"));
}

TEST_F(SerializerTest, ResetForgetsQueuesWithoutEndingActionsAndKeepsReadiness) {
  serializer.RunPendingActions();
  Insert(A, "a1");
  Insert(A, "a2");
  Insert(A, "a3");
  Insert(B, "b1");
  log.Take();
  serializer.Reset();
  EXPECT_THAT(log.Take(), IsEmpty());
  EXPECT_EQ(2U, log.alive.size());
  EXPECT_EQ(0, Complete(A));
  Insert(A, "a4");
  EXPECT_THAT(log.Take(), ElementsAre("issue a4", "end a4"));
}

TEST_F(SerializerTest, ResetBeforeTheReadySignalForgetsTheArrivalOrder) {
  Insert(A, "a1");
  Insert(B, "b1");
  serializer.Reset();
  Insert(B, "b2");
  Insert(A, "a2");
  EXPECT_EQ(1, serializer.RunPendingActions());
  EXPECT_THAT(log.Take(), ElementsAre("issue b2 shared", "end b2", "issue a2 shared", "end a2"));
  EXPECT_EQ(2U, log.alive.size());
}

TEST_F(SerializerTest, DestructionDoesNotEndQueuedActions) {
  {
    Serializer shortLived;
    shortLived.Insert(Row(A), new ScriptedAction(log, "a1"));
    shortLived.Insert(Row(A), new ScriptedAction(log, "a2"));
  }
  EXPECT_THAT(log.Take(), IsEmpty());
  EXPECT_EQ(2U, log.alive.size());
}

TEST_F(SerializerTest, IssueMibRequestNeedsAnActionAndReadiness) {
  auto* action = new ScriptedAction(log, "x");
  EXPECT_FALSE(serializer.IssueMibRequest(nullptr, false));
  EXPECT_FALSE(serializer.IssueMibRequest(action, true));
  EXPECT_THAT(log.Take(), IsEmpty());
  serializer.RunPendingActions();
  EXPECT_FALSE(serializer.IssueMibRequest(nullptr, false));
  EXPECT_TRUE(serializer.IssueMibRequest(action, true));
  EXPECT_THAT(log.Take(), ElementsAre("issue x shared", "end x"));
}

TEST_F(SerializerTest, CompletionIdentifiersAreCutLikeThoseOfRows) {
  serializer.RunPendingActions();
  std::vector<unsigned int> subIds(140);
  std::iota(subIds.begin(), subIds.end(), 0U);
  serializer.Insert(MibOid(subIds.data(), 140), new ScriptedAction(log, "x"));
  serializer.Insert(MibOid(subIds.data(), 130), new ScriptedAction(log, "y"));
  log.Take();
  subIds[135] = 0;
  EXPECT_EQ(1, serializer.RunPendingAction(subIds.data(), 140));
  EXPECT_THAT(log.Take(), ElementsAre("issue y shared", "end y"));
}

TEST_F(SerializerTest, TheEmptyIdentifierIsARowToo) {
  serializer.RunPendingActions();
  serializer.Insert(MibOid(), new ScriptedAction(log, "x"));
  serializer.Insert(MibOid(), new ScriptedAction(log, "y"));
  log.Take();
  EXPECT_EQ(1, serializer.RunPendingAction(nullptr, 0));
  EXPECT_THAT(log.Take(), ElementsAre("issue y shared", "end y"));
  EXPECT_EQ(0, serializer.RunPendingAction(nullptr, 0));
}

TEST_F(SerializerTest, ARawLengthIsPartOfTheRowsName) {
  serializer.RunPendingActions();
  MibOid raw;
  raw.SetOid(nullptr, 200);
  MibOid full;
  full.SetOid(nullptr, 130);
  serializer.Insert(full, new ScriptedAction(log, "full"));
  serializer.Insert(raw, new ScriptedAction(log, "raw1"));
  serializer.Insert(raw, new ScriptedAction(log, "raw2"));
  EXPECT_THAT(log.Take(), ElementsAre("issue full", "end full", "issue raw1", "end raw1"));
  serializer.Remove(raw);
  EXPECT_EQ(1, serializer.Send(raw));
  EXPECT_THAT(log.Take(), ElementsAre("issue raw2 shared", "end raw2"));
}

TEST_F(SerializerTest, ManyRowsComeAndGo) {
  serializer.RunPendingActions();
  constexpr unsigned int ROWS = 5000;
  for (unsigned int round = 0; round < 3; ++round) {
    for (unsigned int row = 0; row < ROWS; ++row) {
      Insert(row, "x");
      Insert(row, "y");
    }
    EXPECT_EQ(2 * ROWS, log.Take().size());
    for (unsigned int row = ROWS; row-- > 0;) {
      EXPECT_EQ(1, Complete(row));
    }
    for (unsigned int row = 0; row < ROWS; ++row) {
      EXPECT_EQ(0, Complete(row));
    }
    EXPECT_EQ(2 * ROWS, log.Take().size());
  }
  EXPECT_TRUE(log.alive.empty());
}

}  // namespace
}  // namespace Tarsel
