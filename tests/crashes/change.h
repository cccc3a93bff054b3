// The changes of what is in force that are interrupted.
#ifndef TESTS_CRASHES_CHANGE_H
#define TESTS_CRASHES_CHANGE_H

#include <iosfwd>
#include <string>
#include <vector>

namespace crashes {

/// The revision that a start finds in force, or makes, where the folder has errors. Revision 0 is
/// none: then such a start fails.
struct Outcome {
  unsigned int revision = 0;
  int routes = 0;
};

bool operator==(const Outcome& a, const Outcome& b);
/// For messages of tests.
std::ostream& operator<<(std::ostream& stream, const Outcome& outcome);

/// A change, with what comes before it. Steps write so many routes into the folder and then say a
/// line; 0 leaves the folder as it is. Without a line it is a start.
struct Change {
  struct Step {
    int routes;
    std::string line;
    std::string sign;  // in the log when it is over
  };
  std::string name;
  std::vector<Step> earlier;  // by daemons of their own, each from a start to a stop
  int routes;                 // at the start of the daemon that is interrupted
  std::vector<Step> before;   // by that daemon
  Step step;                  // the one that is interrupted
  Outcome old;
  Outcome fresh;
  int applied = 0;         // how many routes the daemon has after it
  bool isRefused = false;  // where it cannot be written, so that nothing changes; others go on
  int refused = 0;         // how many routes the daemon has then
};

std::ostream& operator<<(std::ostream& stream, const Change& change);

/// Each once.
const std::vector<Change>& AllChanges();

}  // namespace crashes

#endif
