// Counts the system calls that change a folder, and makes one of them fail, or its process end.
//
// The program that is linked with this defines the C library's functions itself, so its own calls
// and those of its libraries come by here. Built as a library of its own it does so for any program
// that is started with it (LD_PRELOAD), with the plan in the environment.
#ifndef TESTS_SUPPORT_WATCHED_CALLS_H
#define TESTS_SUPPORT_WATCHED_CALLS_H

#include <string>
#include <vector>

namespace test_support {

/// What becomes of a call. Files are not brought to the disk in earnest: that takes long, and no test
/// takes the power away. Half a write is done before it fails, unless it was
/// only interrupted (EINTR), or before its process ends halfway.
enum class Fate {
  DONE,
  FAILS,
  ALL_FAIL,   // and so does each later one, except that a full disk lets names be removed
  CUT_SHORT,  // half of a write is done, and says so
  KILLED_BEFORE,
  KILLED_HALFWAY,
  KILLED_AFTER
};

struct CallPlan {
  std::string folder;   // its real path; calls for what is elsewhere do not count
  unsigned int at = 0;  // the number of the call with that fate, from 1 on; 0 for none
  Fate fate = Fate::DONE;
  int problem = 0;  // errno of one that fails
};

/// Counts from now on.
void WatchCalls(const CallPlan& plan);
/// The calls that have been counted, for example "write a/vlans.json", with paths relative to the
/// folder ("." for itself).
std::vector<std::string> StopWatching();

// The library's part. Who uses it links watched_calls_plan.cpp only.

constexpr const char* PLAN_VARIABLE = "WATCHED_CALLS";
/// The plan as an environment variable of a program with the library; it writes a line to the file
/// `log` for each call, before it is made.
std::string PlanVariable(const CallPlan& plan, const std::string& log);

}  // namespace test_support

#endif
