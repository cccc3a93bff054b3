// The stack's functions, as its header declares them and as the built library uses them.
#ifndef TESTS_STACKFAULTS_STACK_CALLS_H
#define TESTS_STACKFAULTS_STACK_CALLS_H

#include <set>
#include <string>

namespace stackfaults {

/// The functions in platform/stack/sms.h, which is found from the root of the sources.
std::set<std::string> DeclaredFunctions();

/// What the library asks the stack's library for when it is loaded: functions, and data as well.
std::set<std::string> SymbolsThatTheLibraryNeeds();

}  // namespace stackfaults

#endif
