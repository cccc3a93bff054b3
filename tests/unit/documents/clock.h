// The time of day of this program, which decides whether a file's stamp is settled.
#ifndef TESTS_UNIT_DOCUMENTS_CLOCK_H
#define TESTS_UNIT_DOCUMENTS_CLOCK_H

#include <cstdint>
#include <functional>

namespace documents_tests {

/// Every test has a process of its own, so nothing is set back.
struct Clock {
  /// What the time of day is ahead of the machine's, in nanoseconds.
  static std::int64_t ahead;
  /// If not 0: what the time of day is, in nanoseconds since the epoch.
  static std::int64_t stands;
  /// Called when somebody asks for the time of day; it may ask itself. The reader asks once when it
  /// looks at a file, and once more when it opens it.
  static std::function<void()> onAsked;
};

constexpr std::int64_t SECOND = 1000000000;

}  // namespace documents_tests

#endif
