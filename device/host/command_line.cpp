#include "command_line.h"

#include <getopt.h>

#include <cerrno>
#include <cstdlib>

#include "report.h"

namespace host {

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
    "at its end the exit status is 0, or 2 when a command was unknown.\n";

enum : int { CONFIG = 1, LOG, DAEMON, SOCKET, TICK, HELP_OPTION, VERSION };

const option OPTIONS[] = {
    {"config", required_argument, nullptr, CONFIG}, {"log", required_argument, nullptr, LOG},
    {"daemon", no_argument, nullptr, DAEMON},       {"socket", required_argument, nullptr, SOCKET},
    {"tick-us", required_argument, nullptr, TICK},  {"help", no_argument, nullptr, HELP_OPTION},
    {"version", no_argument, nullptr, VERSION},     {nullptr, 0, nullptr, 0}};

Ending Error(const std::string& problem) {
  return {"vantacored: " + problem + "\nvantacored --help tells more.\n", true};
}

bool ReadNumber(const char* text, long low, long high, long& value) {
  char* end = nullptr;
  errno = 0;
  value = std::strtol(text, &end, 10);
  return end != text && *end == '\0' && errno == 0 && value >= low && value <= high;
}

// What getopt says of an option that it refuses: its letter, its number if it is known and takes no
// value, or nothing.
Ending Refusal(char** argv) {
  if (optopt >= ' ') {
    return Error("no such option: " + Quote({'-', static_cast<char>(optopt)}));
  }
  return Error((optopt == 0 ? "no such option: " : "no value belongs to ") +
               Quote(argv[optind - 1]));
}

std::optional<Ending> Take(int option, CommandLine& line) {
  long number = 0;
  switch (option) {
    case CONFIG:
      line.configDirectory = optarg;
      return std::nullopt;
    case LOG:
      if (!ReadNumber(optarg, 0, 10, number)) {
        return Error("--log takes a level from 0 to 10, not " + Quote(optarg));
      }
      line.logLevel = static_cast<int>(number);
      return std::nullopt;
    case DAEMON:
      line.isDaemon = true;
      return std::nullopt;
    case SOCKET:
      if (*optarg == '\0') {  // what a script makes of a variable that is not set
        return Error("--socket takes a path");
      }
      line.socketPath = optarg;
      return std::nullopt;
    case TICK:
      if (!ReadNumber(optarg, 10, 1000000, number)) {
        return Error("--tick-us takes a number from 10 to 1000000, not " + Quote(optarg));
      }
      line.tickMicroseconds = static_cast<unsigned>(number);
      return std::nullopt;
    case HELP_OPTION:
      return Ending{HELP, false};
    default:
      return Ending{"vantacored " VANTACORE_VERSION "\n", false};
  }
}

}  // namespace

std::optional<Ending> ParseCommandLine(int argc, char** argv, CommandLine& line) {
  opterr = 0;
  optind = 0;  // begins anew
  for (;;) {
    const int option = getopt_long(argc, argv, ":", OPTIONS, nullptr);
    if (option == -1) {
      break;
    }
    if (option == ':') {
      return Error("a value is missing behind " + Quote(argv[optind - 1]));
    }
    if (option == '?') {
      return Refusal(argv);
    }
    if (auto ending = Take(option, line)) {
      return ending;
    }
  }
  if (optind < argc) {
    return Error("not an option: " + Quote(argv[optind]));
  }
  if (line.configDirectory.empty()) {
    return Error("--config DIR is missing");
  }
  return std::nullopt;
}

}  // namespace host
