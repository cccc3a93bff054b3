// The library's side of the conversation, reduced to what the stack can see of it.
#ifndef TESTS_STACK_HOST_DOUBLE_H
#define TESTS_STACK_HOST_DOUBLE_H

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "stack/rows.h"

namespace stack_test {

/// The C functions that the stack calls are defined beside this class and end here.
class HostDouble {
 public:
  static HostDouble& Get();
  void Reset() { *this = HostDouble(); }

  /// Every call but the two about scheduling, as the function's name with its arguments:
  /// "cSetRouteState(10, 1, 10.9.0.0, 16, 10.1.2.1, 3, 5, 196608, 1, 1, 0, 1)",
  /// "cRunPendingAction(1:10:3)".
  std::vector<std::string> calls;
  /// Sees each of them after it was written down; may call the stack.
  std::function<void(const std::string& call)> onCall;

  bool rescheduled = false;       // what cIsNBaseRescheduled() answers
  unsigned int runsAskedFor = 0;  // calls of cRescheduleNBase()
  bool insideStackRun = false;    // set by whoever runs the stack's scheduler
  unsigned int callsFromOutside = 0;

  std::map<unsigned int, amb_cipr_rtm_entity> configurations;
  std::map<unsigned int, unsigned int> primaryAddresses;
  std::map<unsigned int, unsigned int> vlanAddresses;

  void Note(const std::string& call);
  /// The calls so far, which are then forgotten.
  std::vector<std::string> Take();
};

/// An identifier as text: "3:10:1".
std::string OidText(const unsigned int* oid, unsigned int length);

}  // namespace stack_test

#endif
