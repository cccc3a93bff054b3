#include "command_line.h"

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

#include "device/program/decimal.h"
#include "device/program/printable.h"
#include "device/program/users.h"

namespace client {

namespace {

constexpr const char* HELP =
    "Usage: vantacorectl --socket PATH [OPTION...] [COMMAND WORD...]\n"
    "\n"
    "  --socket PATH       where the daemon listens (its own --socket or --view-socket)\n"
    "  --timeout N         wait this many seconds for a sign of the daemon, 1 to 3600 (default "
    "10)\n"
    "  --daemon-user NAME  the user that the daemon runs as, unless it is you or root\n"
    "                      (default vantacore)\n"
    "  --no-wait           a command is over when it has been carried out, whether its effect is\n"
    "                      there or not\n"
    "  --json              the command's answer is JSON: adds the word json to it\n"
    "  --no-pager          show output as it comes, even if it is longer than the terminal\n"
    "  --help              this text\n"
    "  --version           the version\n"
    "\n"
    "Options stand before the command. Carries out one command. Without words there is a prompt "
    "on\n"
    "a terminal; otherwise commands are read from standard input, one a line. The exit status is\n"
    "the command's reply, of several the first that is not 0: 0 done, 1 refused, 2 usage,\n"
    "3 unreachable, 4 timed out, 5 differs. An interrupt ends a command's output, not what it\n"
    "does.\n";

enum : int { SOCKET = 1, TIMEOUT, DAEMON_USER, NO_WAIT, JSON, NO_PAGER };

std::string Take(int number, const char* value, CommandLine& line) {
  if (number == SOCKET) {
    line.socketPath = value;
    return {};
  }
  if (number == DAEMON_USER) {
    line.daemonUser = value;
    return program::FindUser(value)
               ? ""
               : "--daemon-user takes a user's name, not " + program::Quote(value);
  }
  if (number == NO_WAIT) {
    line.isWaiting = false;
    return {};
  }
  if (number == JSON || number == NO_PAGER) {
    line.isJson |= number == JSON;
    line.wantsPages &= number != NO_PAGER;
    return {};
  }
  const auto seconds = program::ReadDecimal(value, 1, 3600);
  if (!seconds) {
    return "--timeout takes a number from 1 to 3600, not " + program::Quote(value);
  }
  line.timeoutSeconds = static_cast<int>(*seconds);
  return {};
}

// The word comes before what the output goes through.
std::string Joined(const std::vector<std::string>& words, bool isJson) {
  std::string command;
  for (const std::string& word : words) {
    command += (command.empty() ? "" : " ") + word;
  }
  return isJson ? command.insert(std::min(command.find(" |"), command.size()), " json") : command;
}

// Handlers of the library pass over some words that they do not know, and would answer with text.
bool IsOfLibrary(const std::string& command) {
  std::istringstream words(command);
  std::string word;
  words >> word;
  if (word == "sh" || word == "sho" || word == "show") {
    words >> word;
  }
  return word == "ip" || word == "ip6";
}

}  // namespace

std::optional<program::Ending> ParseCommandLine(int argc, char** argv, CommandLine& line) {
  // The command's words may look like options: ours end where it begins.
  const program::Usage usage = {"vantacorectl",
                                HELP,
                                {{"socket", required_argument, nullptr, SOCKET},
                                 {"timeout", required_argument, nullptr, TIMEOUT},
                                 {"daemon-user", required_argument, nullptr, DAEMON_USER},
                                 {"no-wait", no_argument, nullptr, NO_WAIT},
                                 {"json", no_argument, nullptr, JSON},
                                 {"no-pager", no_argument, nullptr, NO_PAGER}},
                                true};
  const auto take = [&line](int number, const char* value) { return Take(number, value, line); };
  if (auto ending = program::ReadOptions(usage, argc, argv, take)) {
    return ending;
  }
  if (line.socketPath.empty()) {
    return program::UsageError(usage, "--socket PATH is missing");
  }
  line.hasCommand = optind < argc;
  if (line.isJson && !line.hasCommand) {
    return program::UsageError(usage, "--json belongs to a command, and there is none");
  }
  line.command = Joined({argv + optind, argv + argc}, line.isJson);
  if (line.isJson && IsOfLibrary(line.command)) {
    return program::UsageError(usage, "--json: the commands ip and ip6 answer with text only");
  }
  return std::nullopt;
}

}  // namespace client
