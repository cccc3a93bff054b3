// Every call of the stack with every fault that its answer can have.
//
// matrix.cpp holds the table. A row is a call, or one use of a call (after a '+'); it names the
// faults that do not concern it, each with the reason, and has a test for all the others. What a
// test of a row does is said in the file of its subject. One cell is run by its name:
// --gtest_filter=StackFaults.sms_update_route/late
#ifndef TESTS_STACKFAULTS_MATRIX_H
#define TESTS_STACKFAULTS_MATRIX_H

#include <gtest/gtest.h>

#include <map>

namespace stackfaults {

enum Fault {
  BUSY,         // not now: asked again it would do it
  FULL,         // there is no room for one more
  REFUSED,      // no, for good
  NEVER,        // there is no answer
  LATE,         // after two minutes, and after other answers
  TWICE,        // the answer is repeated
  SYNCHRONOUS,  // from inside of the call
  RESTARTED,    // the stack has restarted between the call and its answer
  VLAN_GONE,    // the VLAN has been removed in between
  FAULT_COUNT
};

const char* NameOf(Fault fault);

// The tests of the calls, by the file that they are in.

// life_calls.cpp
testing::Test* TheStart(Fault fault);
testing::Test* ARun(Fault fault);

// host_calls.cpp
testing::Test* Descriptor(Fault fault);
testing::Test* TraceSwitch(Fault fault);
testing::Test* TraceFilter(Fault fault);
testing::Test* TraceStatus(Fault fault);

// item_calls.cpp
testing::Test* AddedRoute(Fault fault);
testing::Test* AddedIp6Route(Fault fault);
testing::Test* RemovedRoute(Fault fault);
testing::Test* WaitingRoute(Fault fault);
testing::Test* AddedRule(Fault fault);
testing::Test* RemovedRule(Fault fault);
testing::Test* WaitingRule(Fault fault);

// row_calls.cpp
testing::Test* Interface(Fault fault);
testing::Test* WaitingInterface(Fault fault);
testing::Test* Ip4Address(Fault fault);
testing::Test* Ip6Address(Fault fault);

// rtm_calls.cpp
testing::Test* Instance(Fault fault);
testing::Test* RemovedInstance(Fault fault);

// walk_calls.cpp
testing::Test* InterfaceTable(Fault fault);
testing::Test* AddressTable(Fault fault);
testing::Test* RouteTable(Fault fault);
testing::Test* Rib(Fault fault);

struct Row {
  const char* name;
  testing::Test* (*make)(Fault fault);  // null when no fault concerns the call
  std::map<Fault, const char*> meaningless;
};

}  // namespace stackfaults

#endif
