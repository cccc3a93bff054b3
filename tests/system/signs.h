// Signs that a process has got somewhere, for tests that would otherwise have to pause and hope.
#ifndef TESTS_SYSTEM_SIGNS_H
#define TESTS_SYSTEM_SIGNS_H

#include <sys/types.h>

#include <functional>
#include <string>

namespace system_test {

/// Looks again and again until `sign` is true. Fails the test and returns false when it still is not
/// after half a minute; `what` is what was waited for.
bool Await(const std::string& what, const std::function<bool()>& sign);

/// What the kernel tells of a process that has not been waited for.
bool IsAsleep(pid_t process);
/// Whether a signal that was sent has not reached the process yet.
bool IsPending(pid_t process, int number);
bool HasOpen(pid_t process, const std::string& path);
/// How often its main thread has gone to sleep.
unsigned long CountSleeps(pid_t process);

}  // namespace system_test

#endif
