// How a command went: the one table from which the reply at a socket, the client's exit status and
// that of a pipe follow.
#ifndef DEVICE_CONSOLE_EXIT_RULES_H
#define DEVICE_CONSOLE_EXIT_RULES_H

#include "device/wire/reply_codes.h"

namespace console {

using Result = wire::Code;

/// What is known of a command, as bits.
enum Sign : unsigned int {
  MISUNDERSTOOD = 1u << 0,
  USAGE_TEXT = 1u << 1,
  ABSENT_VLAN = 1u << 2,
  FAULTY = 1u << 3,
  NOT_DONE = 1u << 4,
  CUT = 1u << 5,
  DIFFERENT = 1u << 6,
  UNSETTLED = 1u << 7,
};

struct ExitRule {
  Sign sign;
  Result result;
  const char* when;  // for the reader of this table
};

/// Of several signs the first one here counts, and a command without any is done. So too of several
/// commands of a pipe, whose process ends with the number of the result; UNSETTLED does not count
/// there, since a line of the log tells it.
constexpr ExitRule EXIT_RULES[] = {
    {MISUNDERSTOOD, Result::USAGE, "a word is not understood, or words are missing"},
    {USAGE_TEXT, Result::USAGE, "the library answers with a usage text"},
    {CUT, Result::REFUSED, "its output was cut"},
    {ABSENT_VLAN, Result::REFUSED, "the library answers that the VLAN is not there"},
    {FAULTY, Result::REFUSED, "what was to be judged has not passed"},
    {NOT_DONE, Result::REFUSED, "it was understood, but it cannot be done"},
    {DIFFERENT, Result::DIFFERS, "it was applied, but the stack does not have all of it"},
    {UNSETTLED, Result::TIMED_OUT, "it was carried out, but its effect was not there in time"},
};

constexpr Result ResultOf(unsigned int signs) {
  for (const ExitRule& rule : EXIT_RULES) {
    if ((signs & rule.sign) != 0) {
      return rule.result;
    }
  }
  return Result::DONE;
}

}  // namespace console

#endif
