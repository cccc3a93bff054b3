// The options of a program's command line, and what is said of those that are wrong.
#ifndef DEVICE_PROGRAM_OPTIONS_H
#define DEVICE_PROGRAM_OPTIONS_H

#include <getopt.h>

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace program {

/// What to do instead of running: print a text and end.
struct Ending {
  std::string text;
  bool isError = false;
};

/// What a program's command line may be.
struct Usage {
  const char* program;          // as messages name it
  const char* help;             // all that --help prints
  std::vector<option> options;  // as getopt_long takes them; --help and --version are added
  bool endsAtWord;  // true: the options end at the first word; false: words may stand among them
};

/// Takes an option by its number and value. Answers what is wrong with it; the empty text when
/// nothing is.
using TakeOption = std::function<std::string(int number, const char* value)>;

/// Reads the options; what is left of `argv` begins at getopt's `optind` then, in the order given.
/// Answers how the process is to end, if it is: by a text that was asked for, or by what is wrong
/// with the first option that is wrong.
std::optional<Ending> ReadOptions(const Usage& usage, int argc, char** argv,
                                  const TakeOption& take);

/// "PROGRAM: problem", and how to learn more.
Ending UsageError(const Usage& usage, const std::string& problem);

/// Prints what a program ends with. Its exit status: 2 when the command line was wrong, 1 when a
/// text that was asked for could not be written, else 0.
int PrintEnding(const char* program, const Ending& ending);

}  // namespace program

#endif
