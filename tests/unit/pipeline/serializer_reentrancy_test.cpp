// A stack that calls back from inside the request. Order and results are those of a proper stack as
// far as they can be; memory stays sound (run this with the address sanitizer).
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/models/scripted_action.h"
#include "vantacore/serializer.h"

namespace Tarsel {
namespace {

using test_models::ActionLog;
using test_models::ScriptedAction;
using testing::ElementsAre;

MibOid Row(unsigned int number) { return MibOid(&number, 1); }

class SynchronousStack : public testing::Test {
 protected:
  void Insert(unsigned int row, const std::string& name, std::function<void()> onIssue) {
    serializer.Insert(Row(row), new ScriptedAction(log, name, std::move(onIssue)));
  }
  /// An action whose row is completed before its request returns.
  void InsertCompleting(unsigned int row, const std::string& name) {
    Insert(row, name, [this, row] { Complete(row); });
  }
  int Complete(unsigned int row) { return serializer.RunPendingAction(&row, 1); }

  ActionLog log;
  Serializer serializer;
};

constexpr unsigned int A = 1;
constexpr unsigned int B = 2;
constexpr unsigned int C = 3;

TEST_F(SynchronousStack, CompletionInsideTheRequestFreesTheRow) {
  serializer.RunPendingActions();
  InsertCompleting(A, "a1");
  InsertCompleting(A, "a2");
  EXPECT_THAT(log.Take(), ElementsAre("issue a1", "end a1", "issue a2", "end a2"));
}

TEST_F(SynchronousStack, CompletionInsideTheRequestIssuesTheNext) {
  serializer.RunPendingActions();
  Insert(A, "a1", {});
  InsertCompleting(A, "a2");
  InsertCompleting(A, "a3");
  log.Take();
  EXPECT_EQ(1, Complete(A));
  EXPECT_THAT(log.Take(), ElementsAre("issue a2 shared", "issue a3 shared", "end a3", "end a2"));
  EXPECT_EQ(0, Complete(A));
}

TEST_F(SynchronousStack, NoRowIsLostFromTheReadySignal) {
  InsertCompleting(A, "a1");
  InsertCompleting(B, "b1");
  InsertCompleting(C, "c1");
  EXPECT_EQ(1, serializer.RunPendingActions());
  EXPECT_THAT(log.Take(), ElementsAre("issue a1 shared", "end a1", "issue b1 shared", "end b1",
                                      "issue c1 shared", "end c1"));
}

TEST_F(SynchronousStack, ARowThatArrivesDuringTheReadySignalIsIssuedOnce) {
  Insert(A, "a1", [this] {
    Insert(C, "c1", {});
    Complete(A);
    Insert(A, "a2", {});
  });
  Insert(B, "b1", {});
  EXPECT_EQ(1, serializer.RunPendingActions());
  EXPECT_THAT(log.Take(), ElementsAre("issue a1 shared", "issue c1", "end c1", "issue a2", "end a2",
                                      "end a1", "issue b1 shared", "end b1"));
}

TEST_F(SynchronousStack, ARowThatComesAndGoesDuringTheReadySignalIsForgotten) {
  Insert(A, "a1", [this] { InsertCompleting(C, "c1"); });
  serializer.RunPendingActions();
  log.Take();
  Insert(C, "c2", {});
  EXPECT_THAT(log.Take(), ElementsAre("issue c2", "end c2"));
}

TEST_F(SynchronousStack, ARowThatEndedBeforeItsTurnIsPassedOver) {
  Insert(A, "a1", [this] { Complete(B); });
  Insert(B, "b1", {});
  Insert(C, "c1", {});
  EXPECT_EQ(1, serializer.RunPendingActions());
  EXPECT_THAT(log.Take(), ElementsAre("issue a1 shared", "end a1", "issue c1 shared", "end c1"));
  EXPECT_EQ(1U, log.alive.size());  // b1 was retired unissued
}

TEST_F(SynchronousStack, ASignalInsideTheReadySignalChangesNothing) {
  Insert(A, "a1", [this] { EXPECT_EQ(0, serializer.RunPendingActions()); });
  Insert(B, "b1", {});
  EXPECT_EQ(1, serializer.RunPendingActions());
  EXPECT_THAT(log.Take(), ElementsAre("issue a1 shared", "end a1", "issue b1 shared", "end b1"));
}

TEST_F(SynchronousStack, ResetInsideTheReadySignalEndsIt) {
  Insert(A, "a1", [this] {
    serializer.Reset();
    Insert(B, "b2", {});
  });
  Insert(B, "b1", {});
  EXPECT_EQ(0, serializer.RunPendingActions());
  EXPECT_THAT(log.Take(), ElementsAre("issue a1 shared", "issue b2", "end b2", "end a1"));
  EXPECT_EQ(0, Complete(B));
}

TEST_F(SynchronousStack, ResetInsideTheLastRequestKeepsItsAnswer) {
  Insert(A, "a1", [this] { serializer.Reset(); });
  EXPECT_EQ(1, serializer.RunPendingActions());
}

TEST_F(SynchronousStack, ResetInsideARequestLeavesTheRowIdle) {
  serializer.RunPendingActions();
  Insert(A, "a1", [this] { serializer.Reset(); });
  log.Take();
  Insert(A, "a2", {});
  EXPECT_THAT(log.Take(), ElementsAre("issue a2", "end a2"));
}

TEST_F(SynchronousStack, AnInsertIntoTheRowInsideItsRequestWaits) {
  serializer.RunPendingActions();
  Insert(A, "a1", [this] { Insert(A, "a2", {}); });
  EXPECT_THAT(log.Take(), ElementsAre("issue a1", "end a1"));
  EXPECT_EQ(1, Complete(A));
}

}  // namespace
}  // namespace Tarsel
