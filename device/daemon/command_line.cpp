#include "command_line.h"

#include "device/program/decimal.h"
#include "device/program/printable.h"

namespace vantacored {

using program::Quote;
using program::ReadDecimal;

namespace {

constexpr const char* HELP =
    "Usage: vantacored --config DIR [OPTION...]\n"
    "\n"
    "  --config DIR    the configuration folder: device.json, vlans.json, remote/*.json\n"
    "  --log LEVEL     log up to this level, 0 to 10, on standard error (default 1)\n"
    "  --daemon        no console: standard input is ignored; SIGHUP reads the folder again\n"
    "  --socket PATH   a socket at which vantacorectl finds the console\n"
    "  --tick-us N     length of a timer tick in microseconds, 10 to 1000000 (default 1000)\n"
    "  --help          this text\n"
    "  --version       the version\n"
    "\n"
    "On a terminal there is a prompt. Otherwise commands are read from standard input, one a "
    "line;\n"
    "at its end the exit status is 0, or 2 when a command was not understood.\n";

enum : int { CONFIG = 1, LOG, DAEMON, SOCKET, TICK };

std::string Take(int number, const char* value, CommandLine& line) {
  switch (number) {
    case CONFIG:
      line.configDirectory = value;
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

}  // namespace

std::optional<program::Ending> ParseCommandLine(int argc, char** argv, CommandLine& line) {
  const program::Usage usage = {"vantacored",
                                HELP,
                                {{"config", required_argument, nullptr, CONFIG},
                                 {"log", required_argument, nullptr, LOG},
                                 {"daemon", no_argument, nullptr, DAEMON},
                                 {"socket", required_argument, nullptr, SOCKET},
                                 {"tick-us", required_argument, nullptr, TICK}},
                                false};
  const auto take = [&line](int number, const char* value) { return Take(number, value, line); };
  if (auto ending = program::ReadOptions(usage, argc, argv, take)) {
    return ending;
  }
  if (optind < argc) {
    return program::UsageError(usage, "not an option: " + Quote(argv[optind]));
  }
  if (line.configDirectory.empty()) {
    return program::UsageError(usage, "--config DIR is missing");
  }
  return std::nullopt;
}

}  // namespace vantacored
