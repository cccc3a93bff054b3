#include "device/program/options.h"

#include <cstdio>

#include "device/program/printable.h"
#include "device/program/standard_streams.h"

namespace program {

namespace {

constexpr const char* PROGRAM_VERSION = VANTACORE_VERSION;

// Beyond any number that a program gives to an option of its own.
enum : int { HELP = 1000, VERSION };

// In `optopt` getopt leaves what it refuses: the letter of a short option, which is negative beyond
// ASCII where characters are signed; the number of a known option that takes no value; or 0 for a
// word that is not an option.
std::string DescribeRefused(const char* word) {
  const bool isLetter = optopt < 0 || (optopt >= ' ' && optopt < HELP);
  if (isLetter) {
    return "no such option: " + Quote({'-', static_cast<char>(optopt)});
  }
  return (optopt == 0 ? "no such option: " : "no value belongs to ") + Quote(word);
}

}  // namespace

const char* GetVersion() { return PROGRAM_VERSION; }
int GetAbiVersion() { return VANTACORE_ABI_VERSION; }

std::optional<Ending> ReadOptions(const Usage& usage, int argc, char** argv,
                                  const TakeOption& take) {
  std::vector<option> options = usage.options;
  options.push_back({"help", no_argument, nullptr, HELP});
  options.push_back({"version", no_argument, nullptr, VERSION});
  options.push_back({nullptr, 0, nullptr, 0});
  opterr = 0;
  optind = 0;  // begins anew
  for (;;) {
    const int number =
        getopt_long(argc, argv, usage.endsAtWord ? "+:" : ":", options.data(), nullptr);
    std::string problem;
    switch (number) {
      case -1:
        return std::nullopt;
      case ':':
        problem = "a value is missing after " + Quote(argv[optind - 1]);
        break;
      case '?':
        problem = DescribeRefused(argv[optind - 1]);
        break;
      case HELP:
        return Ending{usage.help, false};
      case VERSION:
        return Ending{std::string(usage.program) + " " + PROGRAM_VERSION + "\n", false};
      default:
        problem = take(number, optarg);
        break;
    }
    if (!problem.empty()) {
      return UsageError(usage, problem);
    }
  }
}

Ending UsageError(const Usage& usage, const std::string& problem) {
  const std::string program = usage.program;
  return {program + ": " + problem + "\n" + program + " --help tells more.\n", true};
}

int PrintEnding(const char* program, const Ending& ending) {
  std::fputs(ending.text.c_str(), ending.isError ? stderr : stdout);
  if (ending.isError) {
    return 2;
  }
  return FlushOutput(program) ? 0 : 1;
}

}  // namespace program
