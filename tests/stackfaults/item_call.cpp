#include "tests/stackfaults/item_call.h"

namespace stackfaults {

std::string ItemCall::Item() {
  const std::string items = Pending();
  const std::size_t at = items.find("ActionState");
  return at == std::string::npos ? "none" : items.substr(at, items.find('\n', at) - at);
}

void ItemCall::Lead() {
  if (Waits()) {
    ScriptRow(RowOid(), Kind(Answer::kNever));
  }
  Ask();
  if (Waits()) {
    EXPECT_EQ(Next(), NextRequest());
    EXPECT_EQ(Then(RUN_MS), Lines());
    Report(5);
    EXPECT_EQ(Happened(), Again());
    EXPECT_EQ(Then(TICK_MS - RUN_MS), Lines{SENDING});
  }
}

Lines ItemCall::Go() {
  if (!Waits()) {
    return Next();
  }
  Complete(RowOid());
  return Happened();
}

void ItemCall::Send(const Answer& answer, unsigned int times) {
  Lead();
  ScriptRow(RowOid(), answer, times);
  EXPECT_EQ(Go(), FirstRequest());
}

void ItemCall::AskOnceMore() {
  Take();
  Ask();
  EXPECT_EQ(Happened(), Lines{REPLACED});
}

void ItemCall::Busy() {
  Send(Status(5), MostRefusals() - 1);
  for (unsigned int n = 1; n < MostRefusals(); ++n) {
    EXPECT_EQ(Then(RUN_MS), Again()) << n;
    EXPECT_EQ(Item(), "ActionState(New) ReasonCode(5)") << n;
    EXPECT_EQ(Then(TICK_MS - RUN_MS), NextRequest()) << n;
  }
  EXPECT_EQ(Then(RUN_MS), Done());
  ExpectConverged();
}

void ItemCall::ExpectMostRefusals(unsigned int status) {
  for (unsigned int n = 1; n < MostRefusals(); ++n) {
    EXPECT_EQ(Then(RUN_MS), Again()) << n;
    EXPECT_EQ(Then(TICK_MS - RUN_MS), NextRequest()) << n;
  }
  EXPECT_EQ(Then(RUN_MS), Again());
  EXPECT_EQ(Item(), "ActionState(Issued) ReasonCode(" + std::to_string(status) + ")");
  ExpectSilence();
}

void ItemCall::Full() {
  Control().SetLimit(Type(), OtherRows(), 5);
  Send(Status(5), 0);
  ExpectMostRefusals(5);
  EXPECT_FALSE(IsThere());
  ExpectOthersServed();
  Control().SetLimit(Type(), SIZE_MAX, 5);
  ExpectSilence();
  AskOnceMore();
  EXPECT_EQ(Next(), NextRequest());
  EXPECT_EQ(Then(RUN_MS), Done());
  ExpectConverged();
}

void ItemCall::ExpectRefusedForGood(unsigned int status) {
  EXPECT_EQ(Then(RUN_MS), (Lines{Said().response, Said().never}));
  EXPECT_EQ(Item(),
            "ActionState(Issued) ReasonCode(" + std::to_string(static_cast<int>(status)) + ")");
  EXPECT_EQ(Then(2 * TICK_MS), Lines());
}

void ItemCall::Refused() {
  Send(Status(3), IsRemoval() ? MostRefusals() : 1);
  if (IsRemoval()) {
    ExpectMostRefusals(3);
  } else {
    ExpectRefusedForGood(3);
    for (const unsigned int status : {0u, 2u, 4u, 6u, 7u, 8u, 9u, 10u, 0xFFFFFFFFu}) {
      ScriptRow(RowOid(), Status(status));
      AskOnceMore();
      EXPECT_EQ(Next(), NextRequest()) << status;
      ExpectRefusedForGood(status);
    }
    ExpectSilence();
  }
  EXPECT_EQ(IsThere(), IsRemoval());
  ExpectOthersServed();
  AskOnceMore();
  EXPECT_EQ(Next(), NextRequest());
  EXPECT_EQ(Then(RUN_MS), Done());
  ExpectConverged();
}

// The row stands still until the stack says that it has finished with it, the item until its row is
// answered.
void ItemCall::Never() {
  Send(Kind(Answer::kNever));
  ExpectSilence();
  EXPECT_EQ(Item(), Unanswered());
  EXPECT_EQ(IsThere(), IsRemoval());
  ExpectOthersServed();
  AskOnceMore();
  EXPECT_EQ(Next(), Lines{SENDING});
  ExpectSilence();
  EXPECT_EQ(Item(), "ActionState(Issued) ReasonCode(0)");
  Complete(RowOid());
  EXPECT_EQ(Happened(), Request(true));
  EXPECT_EQ(Then(RUN_MS), Done());
  ExpectConverged();
}

// The late answer names the row only: it ends the item of the second request, which is issued then.
// The second request's own answer finds no item.
void ItemCall::Late() {
  Send(Kind(Answer::kLate));
  const std::uint64_t sent = Now();
  EXPECT_EQ(Then(2 * TICK_MS), Lines());
  EXPECT_EQ(Item(), Unanswered());
  AskOnceMore();
  EXPECT_EQ(Next(), Lines{SENDING});
  ExpectOthersServed();
  EXPECT_EQ(ThenUntil(sent + LONG_MS), Lines());
  EXPECT_EQ(Then(4 * RUN_MS), Done() + Request(true) + DoneWithoutItem());
  ExpectConverged();
}

// The second end lets go of the row, whoever has it by then. With a second request, which the first
// end has released, that one's answer and end find nothing.
void ItemCall::Twice() {
  Send(Kind(Answer::kTwice));
  EXPECT_EQ(Then(RUN_MS), Done() + DoneWithoutItem());
  EXPECT_EQ(Item(), "none");
  EXPECT_EQ(IsThere(), !IsRemoval());
  ExpectSilence();
  ExpectConverged();

  Lead();
  ScriptRow(RowOid(), Kind(Answer::kTwice));
  Control().Hold();
  EXPECT_EQ(Go(), FirstRequest());
  AskOnceMore();
  EXPECT_EQ(Next(), Lines{SENDING});
  Control().Release();
  EXPECT_EQ(Then(RUN_MS), Done() + Request(true) + DoneWithoutItem() + DoneWithoutItem());
  EXPECT_EQ(Item(), "none");
  ExpectConverged();
}

// The item of a request that a tick sends is New until its request is made: the answer from inside
// of it passes the item by, which then stays Issued. A request that had to wait has an Issued item.
void ItemCall::Synchronous() {
  Lead();
  MakeSynchronous();
  EXPECT_EQ(Go(), FirstRequest() + (Waits() ? Done() : DoneWithoutItem()));
  ExpectSilence();
  EXPECT_EQ(Item(), Waits() ? "none" : "ActionState(Issued) ReasonCode(0)");
  EXPECT_EQ(IsThere(), !IsRemoval());
  FlapInterface();
  WalkInterfaces();
  MakeVlan40({10, 20});
  Control().SetSynchronous(false);
  if (!Waits()) {
    AskOnceMore();
    EXPECT_EQ(Next(), NextRequest());
    EXPECT_EQ(Then(RUN_MS), Done());
  }
  ExpectConverged();
}

// The library takes the old answer for granted, and sends nothing of its own accord: the host has
// to build everything anew.
void ItemCall::Restarted() {
  Send(Kind(Answer::kNever));
  EXPECT_EQ(Then(RUN_MS), Lines());
  Control().Restart();
  EXPECT_EQ(Then(2 * TICK_MS), Lines());
  EXPECT_EQ(Dump(), "");
  Report(1);
  Complete(RowOid());
  EXPECT_EQ(Happened(), Done());
  ExpectSilence();
  EXPECT_EQ(State(), "");
  Rebuild();
  Ask();
  ExpectConverged();
}

// An item outlives its VLAN. It waits until the VLAN is back and its instance is ready.
void ItemCall::VlanGone() {
  Send(Kind(Answer::kNever));
  WithdrawVlan10();
  Report(5);
  Complete(RowOid());
  EXPECT_EQ(Happened(), Again());
  ExpectSilence();
  EXPECT_EQ(Item(), "ActionState(New) ReasonCode(5)");
  ExpectOthersServed({20});
  LoadVlansWithOspf({10, 20});
  Take();
  EXPECT_EQ(Next(), NextRequest());
  EXPECT_EQ(Then(RUN_MS), Done());
  ExpectConverged();
}

}  // namespace stackfaults
