#include "command_line.h"

#include "device/program/decimal.h"
#include "device/program/printable.h"

namespace vantacored {

using program::Quote;
using program::ReadDecimal;

namespace {

constexpr const char* HELP =
    "Usage: vantacored --config DIR [OPTION...]\n"
    "       vantacored --check DIR [--strict]\n"
    "\n"
    "  --config DIR    the configuration folder: device.json, vlans.json, remote/*.json\n"
    "  --log LEVEL     log up to this level, 0 to 10, on standard error (default 1)\n"
    "  --daemon        no console: standard input is ignored; SIGHUP reads the folder again\n"
    "  --socket PATH   a socket at which vantacorectl finds the console\n"
    "  --tick-us N     a fixed length of the timer tick in microseconds, 10 to 1000000; without "
    "it\n"
    "                  the tick follows the work\n"
    "  --partial       leave out what cannot be used of the folder and apply the rest, "
    "for laboratories\n"
    "  --check DIR     only tell what is wrong in the folder; the exit status is 0, or 1 with "
    "errors\n"
    "  --strict        with --check: 1 with warnings, too\n"
    "  --help          this text\n"
    "  --version       the version\n"
    "\n"
    "On a terminal there is a prompt. Otherwise commands are read from standard input, one a "
    "line;\n"
    "at its end the exit status is 0, 1 when a reload or a check found errors, or 2 when a "
    "command\n"
    "was not understood.\n";

enum : int { CONFIG = 1, LOG, DAEMON, SOCKET, PARTIAL, CHECK, STRICT, TICK };

std::string Take(int number, const char* value, CommandLine& line) {
  switch (number) {
    case CONFIG:
      line.configDirectory = value;
      return {};
    case CHECK:
      line.checkDirectory = value;
      return line.checkDirectory.empty() ? "--check takes a folder" : "";
    case STRICT:
      line.isStrict = true;
      return {};
    case PARTIAL:
      line.isPartial = true;
      return {};
    case LOG:
      if (const auto level = ReadDecimal(value, 0, 10)) {
        line.logLevel = static_cast<int>(*level);
        return {};
      }
      return "--log takes a level from 0 to 10, not " + Quote(value);
    case DAEMON:
      line.isDaemon = true;
      return {};
    case SOCKET:
      line.socketPath = value;
      // What a script makes of a variable that is not set.
      return line.socketPath.empty() ? "--socket takes a path" : "";
    default:
      if (const auto tick = ReadDecimal(value, 10, 1000000)) {
        line.tickMicroseconds = *tick;
        return {};
      }
      return "--tick-us takes a number from 10 to 1000000, not " + Quote(value);
  }
}

// What is wrong with the options together, or the empty text. `isCheckAlone` says that none of
// them is for a device that runs.
std::string JudgeTogether(const CommandLine& line, bool isCheckAlone) {
  if (line.checkDirectory.empty() && line.isStrict) {
    return "--strict goes with --check only";
  }
  if (line.checkDirectory.empty()) {
    return line.configDirectory.empty() ? "--config DIR is missing" : "";
  }
  return isCheckAlone ? "" : "--check goes with --strict only";
}

}  // namespace

std::optional<program::Ending> ParseCommandLine(int argc, char** argv, CommandLine& line) {
  const program::Usage usage = {"vantacored",
                                HELP,
                                {{"config", required_argument, nullptr, CONFIG},
                                 {"log", required_argument, nullptr, LOG},
                                 {"daemon", no_argument, nullptr, DAEMON},
                                 {"socket", required_argument, nullptr, SOCKET},
                                 {"partial", no_argument, nullptr, PARTIAL},
                                 {"check", required_argument, nullptr, CHECK},
                                 {"strict", no_argument, nullptr, STRICT},
                                 {"tick-us", required_argument, nullptr, TICK}},
                                false};
  bool isCheckAlone = true;
  const auto take = [&](int number, const char* value) {
    isCheckAlone = isCheckAlone && (number == CHECK || number == STRICT);
    return Take(number, value, line);
  };
  if (auto ending = program::ReadOptions(usage, argc, argv, take)) {
    return ending;
  }
  if (optind < argc) {
    return program::UsageError(usage, "not an option: " + Quote(argv[optind]));
  }
  const std::string problem = JudgeTogether(line, isCheckAlone);
  if (!problem.empty()) {
    return program::UsageError(usage, problem);
  }
  return std::nullopt;
}

}  // namespace vantacored
