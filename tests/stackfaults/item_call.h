// What the tests of rows that are answered with a status have in common.
//
// The configuration scheduler holds an item for each. It is sent by a tick, and what the stack says
// ends it, makes it New again (status 5, and every failure of a removal) ten times at most, or
// leaves it Issued for good. Nothing ever ends an item whose answer does not come. Asking for the
// row once more puts a new item in its place.
//
// A request of a row that has one in the stack waits in the row's queue. It goes out with another
// function, or another first argument, than one that does not wait; the subjects that wait come
// about like this: the stack refuses the first request, but has not finished with the row yet when
// the tick sends the second one.
#ifndef TESTS_STACKFAULTS_ITEM_CALL_H
#define TESTS_STACKFAULTS_ITEM_CALL_H

#include <string>

#include "tests/stackfaults/subject.h"
#include "tests/support/trace_texts.h"

namespace stackfaults {

using test_support::REMOVED;
using test_support::REPLACED;
using test_support::SENDING;

constexpr unsigned int MOST_REFUSALS = 10;

/// What the stack says about a row, and what the library says then.
struct Words {
  std::string response, done, again, never;
};

class ItemCall : public Subject {
 protected:
  // The trace and the call of one request.
  virtual Lines Request(bool waited) const = 0;
  virtual Words Said() const = 0;
  virtual Oid RowOid() const = 0;
  virtual RowType Type() const = 0;
  // How many rows of the type the stack holds without the subject.
  virtual std::size_t OtherRows() const = 0;
  virtual bool IsRemoval() const { return false; }
  // Whether the subject's first request is one that had to wait.
  virtual bool Waits() const { return false; }
  // The stack reports an outcome, out of turn.
  virtual void Report(unsigned int status) = 0;

  void Busy() override;
  void Full() override;
  void Refused() override;
  void Never() override;
  void Late() override;
  void Twice() override;
  void Synchronous() override;
  void Restarted() override;
  void VlanGone() override;

 private:
  // The subject is asked for, and is about to be requested ...
  void Lead();
  // ... and is requested.
  Lines Go();
  Lines FirstRequest() const { return Waits() ? Request(true) : NextRequest(); }
  Lines NextRequest() const { return Lines{SENDING} + Request(false); }
  // Requests the subject; the first `times` answers are as said.
  void Send(const Answer& answer, unsigned int times = 1);
  void AskOnceMore();
  // Until the library gives up.
  void ExpectMostRefusals(unsigned int status);
  void ExpectRefusedForGood(unsigned int status);
  unsigned int MostRefusals() const { return Waits() ? MOST_REFUSALS - 1 : MOST_REFUSALS; }

  Lines Done() const { return {Said().response, Said().done, REMOVED}; }
  Lines DoneWithoutItem() const { return {Said().response, Said().done}; }
  Lines Again() const { return {Said().response, Said().again}; }

  // "none", or state and reason of the only item.
  std::string Item();
  // The item of the subject's first request.
  std::string Unanswered() const {
    return Waits() ? "ActionState(Issued) ReasonCode(5)" : "ActionState(Issued) ReasonCode(0)";
  }
};

}  // namespace stackfaults

#endif
