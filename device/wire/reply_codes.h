// The codes of the console's replies, which are the client's exit statuses too. Scripts rely on the
// numbers: a code never gets another meaning, and a new code gets a new number.
#ifndef DEVICE_WIRE_REPLY_CODES_H
#define DEVICE_WIRE_REPLY_CODES_H

namespace wire {

enum class Code {
  DONE = 0,         // carried out, as far as the host can tell
  REFUSED = 1,      // understood, but the host would not do it
  USAGE = 2,        // words that nobody understands, or too few of them
  UNREACHABLE = 3,  // there is no daemon, or it has gone; only the client says so
  TIMED_OUT = 4,    // no answer in time, or its effect was not there in time
  DIFFERS = 5,      // applied, but the stack does not have all of it
};

struct CodeName {
  Code code;
  const char* name;
};

/// All of them, in the order of their numbers.
constexpr CodeName CODES[] = {{Code::DONE, "done"},           {Code::REFUSED, "refused"},
                              {Code::USAGE, "usage"},         {Code::UNREACHABLE, "unreachable"},
                              {Code::TIMED_OUT, "timed out"}, {Code::DIFFERS, "differs"}};

constexpr const char* NameOf(Code code) { return CODES[static_cast<int>(code)].name; }

}  // namespace wire

#endif
