// The options of a program's command line, and the messages about wrong ones.
#ifndef DEVICE_PROGRAM_OPTIONS_H
#define DEVICE_PROGRAM_OPTIONS_H

#include <getopt.h>

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace program {

/// The version of the programs: "1.0.0".
const char* GetVersion();

/// What to do instead of running: print a text and end.
struct Ending {
  std::string text;
  bool isError = false;
};

/// Describes a program's command line. The texts are borrowed.
struct Usage {
  const char* program;          // as messages name it
  const char* help;             // all that --help prints
  std::vector<option> options;  // as getopt_long takes them; --help and --version are added
  bool endsAtWord;  // true: the options end at the first word; false: words may stand among them
};

/// The product's version, which --version tells: "1.2.3".
const char* GetVersion();
/// That of the library's binary interface: the number at the end of its file name.
int GetAbiVersion();

/// Takes an option by its number and value. Returns what is wrong with it, or the empty text.
using TakeOption = std::function<std::string(int number, const char* value)>;

/// Reads the options. Afterwards the words that are left begin at getopt's `optind` in `argv`, in
/// the order given. Returns how the process is to end, if it is: with a text that was asked for, or
/// with what is wrong with the first wrong option.
std::optional<Ending> ReadOptions(const Usage& usage, int argc, char** argv,
                                  const TakeOption& take);

/// Returns the text "PROGRAM: problem" and where to learn more.
Ending UsageError(const Usage& usage, const std::string& problem);

/// Prints the text that a program ends with. Returns the exit status: 2 if the command line was
/// wrong, 1 if a text that was asked for could not be written, else 0.
int PrintEnding(const char* program, const Ending& ending);

}  // namespace program

#endif
