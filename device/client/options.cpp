#include "options.h"

#include <getopt.h>

#include <cerrno>
#include <cstdlib>

namespace client {

namespace {

constexpr const char* HELP =
    "Usage: vantacorectl --socket PATH [OPTION...] [COMMAND WORD...]\n"
    "\n"
    "  --socket PATH   where the daemon listens (its own --socket)\n"
    "  --timeout N     wait this many seconds for a sign of the daemon, 1 to 3600 (default 10)\n"
    "  --help          this text\n"
    "  --version       the version\n"
    "\n"
    "Carries out one command. Without words there is a prompt on a terminal; otherwise commands "
    "are\n"
    "read from standard input, one a line. The exit status is the command's reply, of several the\n"
    "first that is not 0: 0 done, 1 refused, 2 usage, 3 unreachable, 4 timed out. An interrupt "
    "ends\n"
    "a command's output, not what it does.\n";

enum : int { SOCKET = 1, TIMEOUT, HELP_OPTION, VERSION };

const option OPTIONS[] = {{"socket", required_argument, nullptr, SOCKET},
                          {"timeout", required_argument, nullptr, TIMEOUT},
                          {"help", no_argument, nullptr, HELP_OPTION},
                          {"version", no_argument, nullptr, VERSION},
                          {nullptr, 0, nullptr, 0}};

Ending Error(const std::string& problem) {
  return {"vantacorectl: " + problem + "\nvantacorectl --help tells more.\n", true};
}

// What getopt says of an option that it refuses: its letter, its number if it is known and takes no
// value, or nothing.
Ending Refusal(char** argv) {
  if (optopt >= ' ') {
    return Error(std::string("no such option: \"-") + static_cast<char>(optopt) + "\"");
  }
  return Error((optopt == 0 ? "no such option: \"" : "no value belongs to \"") +
               std::string(argv[optind - 1]) + "\"");
}

bool ReadTimeout(const char* text, int& seconds) {
  char* end = nullptr;
  errno = 0;
  const long value = std::strtol(text, &end, 10);
  if (end == text || *end != '\0' || errno != 0 || value < 1 || value > 3600) {
    return false;
  }
  seconds = static_cast<int>(value);
  return true;
}

std::optional<Ending> Take(int option, Options& options) {
  switch (option) {
    case SOCKET:
      options.socketPath = optarg;
      return std::nullopt;
    case TIMEOUT:
      if (!ReadTimeout(optarg, options.timeoutSeconds)) {
        return Error("--timeout takes a number from 1 to 3600, not \"" + std::string(optarg) +
                     "\"");
      }
      return std::nullopt;
    case HELP_OPTION:
      return Ending{HELP, false};
    default:
      return Ending{"vantacorectl " VANTACORE_VERSION "\n", false};
  }
}

}  // namespace

std::optional<Ending> ParseOptions(int argc, char** argv, Options& options) {
  opterr = 0;
  for (;;) {
    // The command's words may look like options: ours end where it begins.
    const int option = getopt_long(argc, argv, "+:", OPTIONS, nullptr);
    if (option == -1) {
      break;
    }
    if (option == ':') {
      return Error("a value is missing behind \"" + std::string(argv[optind - 1]) + "\"");
    }
    if (option == '?') {
      return Refusal(argv);
    }
    if (auto ending = Take(option, options)) {
      return ending;
    }
  }
  if (options.socketPath.empty()) {
    return Error("--socket PATH is missing");
  }
  for (int at = optind; at < argc; ++at) {
    options.command += (at == optind ? "" : " ") + std::string(argv[at]);
    options.hasCommand = true;
  }
  return std::nullopt;
}

}  // namespace client
