// Stands between the library and the stack, for calls whose answers the stack has no levers for.
//
// The program that is linked with this defines the stack's functions itself, and so is asked before
// the stack's library: a call goes on to the stack unless a test has asked for it.
#ifndef TESTS_STACKFAULTS_INTERCEPTION_H
#define TESTS_STACKFAULTS_INTERCEPTION_H

#include <functional>
#include <string>

#include "stack/sms.h"

namespace stackfaults {

/// A call on its way.
struct CallInTransit {
  std::function<int()> forward;     // makes the call of the stack, at any time; 0 without a result
  sms_response response = nullptr;  // of a walk ...
  void* command = nullptr;          // ... and for whom
};

/// What becomes of a call; the result is the call's, if it has one.
using Interception = std::function<int(const CallInTransit& call)>;

/// From now on every call of the function named is handed over instead of being made. Those that
/// can be are walks, nbb_scheduler, smsi_init, and the trace and descriptor functions.
void Intercept(const std::string& function, Interception interception);
void EndInterception(const std::string& function);

}  // namespace stackfaults

#endif
