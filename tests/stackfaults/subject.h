// A device on which one call is answered with one fault.
//
// VLANs 10 and 20 run, each with an interface and a route. The subject is a row of VLAN 10, or what
// else the call concerns. Before the library is used for the first time, a child process asks the
// same without any fault: the text of its stack and of its pending items is what the test has to
// come to once the fault is over.
#ifndef TESTS_STACKFAULTS_SUBJECT_H
#define TESTS_STACKFAULTS_SUBJECT_H

#include <cstdint>
#include <string>
#include <vector>

#include "tests/component/component_fixture.h"
#include "tests/stackfaults/matrix.h"
#include "vantacore/cfg_items.h"

namespace stackfaults {

using Lines = std::vector<std::string>;
using Vlans = std::vector<int>;
using Oid = std::vector<unsigned int>;
using routing_stack::Answer;
using routing_stack::RowType;

constexpr unsigned int TICK_MS = 100;  // between two passes of the configuration scheduler
constexpr unsigned int RUN_MS = 5;     // from a request to the run that answers it
constexpr unsigned int LONG_MS = 120000;

class Subject : public ComponentFixture {
 public:
  /// Tests the fault.
  void Run(Fault fault);

 protected:
  void SetUp() override;

  // The faults. A fault that concerns the call is overridden.
  virtual void Busy();
  virtual void Full();
  virtual void Refused();
  virtual void Never();
  virtual void Late();
  virtual void Twice();
  virtual void Synchronous();
  virtual void Restarted();
  virtual void VlanGone();

  /// Brings the device to where the subject can be asked for.
  virtual void Establish();
  /// Makes the library ask for the subject, from the host's side.
  virtual void Ask() {}
  /// The beginning of the subject's line in the stack's tables, for those that have one.
  virtual std::string RowText() const { return {}; }

  // --- the device ---

  /// What the host does when it begins, and again when it has to build everything anew.
  void Furnish();
  /// Loads a document with these VLANs; others go.
  void LoadVlansWithOspf(const Vlans& vids);
  void AddRouteOf20();
  /// The host builds everything anew, as after a restart of the stack that it has noticed.
  void Rebuild();
  /// The subject's VLAN goes; what is said about it is not looked at.
  void WithdrawVlan10();

  // --- what happens ---

  /// What has happened, without the lines about the runs of the stack.
  Lines Happened();
  /// The same of some time to come.
  Lines Then(unsigned int milliseconds);
  /// The same until the clock's moment.
  Lines ThenUntil(std::uint64_t milliseconds);
  /// Lets time go by, for a second at most, until something happens.
  Lines Next();
  /// The clock, in milliseconds.
  std::uint64_t Now() const { return loop.Now() / 1000; }
  /// Nothing happens in two minutes.
  void ExpectSilence();

  // --- where it ends ---

  /// The stack's tables and the library's pending items.
  std::string State();
  /// The state is that of a device without the fault, and asking once more changes nothing.
  void ExpectConverged();
  /// Whether the stack holds the subject.
  bool IsThere();
  /// While the fault lasts, other rows, walks and VLANs go on as ever. `vlans` are those that stay.
  void ExpectOthersServed(const Vlans& vlans = {10, 20});
  // ... in its parts.
  void FlapInterface();
  void WalkInterfaces();
  void MakeVlan40(const Vlans& vlans);
  void ChangeRoute();

  /// The subject's requests are answered so, one after the other.
  void ScriptRow(const Oid& oid, const Answer& answer, unsigned int times = 1);
  static Answer Status(unsigned int status) { return {Answer::kStatus, status, 0}; }
  static Answer Kind(Answer::Kind kind) { return {kind, 0, LONG_MS}; }
  /// The stack has finished with the row, out of turn.
  static void Complete(const Oid& oid);

 private:
  std::string m_reference;
};

/// One cell's test.
template <class AnySubject>
class Trial : public AnySubject {
 public:
  explicit Trial(Fault fault) : m_fault(fault) {}

 private:
  void TestBody() override { this->Run(m_fault); }

  Fault m_fault;
};

/// Lists in a row.
Lines operator+(Lines first, const Lines& second);

}  // namespace stackfaults

#endif
