// Signs that a process has reached some point, for tests that would otherwise pause and hope.
#ifndef TESTS_SYSTEM_SIGNS_H
#define TESTS_SYSTEM_SIGNS_H

#include <sys/types.h>

#include <functional>
#include <string>

namespace system_test {

/// Asks for `sign` every two milliseconds until it is true. Fails the test, naming `what`, and
/// returns false if that takes more than half a minute.
bool Await(const std::string& what, const std::function<bool()>& sign);

// What the kernel tells about a process; false or 0 if there is no such process.

bool IsAsleep(pid_t process);
/// Whether a signal that was sent has not been delivered yet.
bool IsPending(pid_t process, int number);
bool HasOpen(pid_t process, const std::string& path);
/// How often its main thread has gone to sleep.
unsigned long CountSleeps(pid_t process);
/// Its memory, in kilobytes.
long ResidentKilobytes(pid_t process);
/// Whether this is a build with the address sanitizer, which keeps what is freed: then a process's
/// memory tells nothing of what it holds.
#ifdef __SANITIZE_ADDRESS__
constexpr bool KEEPS_FREED_MEMORY = true;
#else
constexpr bool KEEPS_FREED_MEMORY = false;
#endif
/// The processor time of all its threads so far.
double ProcessorSeconds(pid_t process);

}  // namespace system_test

#endif
