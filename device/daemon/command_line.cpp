#include "command_line.h"

#include "device/program/decimal.h"
#include "device/program/printable.h"
#include "device/program/users.h"

namespace vantacored {

using program::Quote;
using program::ReadDecimal;

namespace {

constexpr const char* HELP =
    "Usage: vantacored --config DIR [OPTION...]\n"
    "       vantacored --check DIR [--strict]\n"
    "       vantacored --config DIR --diff OTHER\n"
    "       vantacored --kernel-clean\n"
    "\n"
    "  --config DIR    the configuration folder: device.json, vlans.json, remote/*.json\n"
    "  --log LEVEL     log up to this level, 0 to 10, on standard error (default 1)\n"
    "  --log-format plain|full|journal\n"
    "                  lines of the log as they are, with time, level and component, or with a "
    "priority\n"
    "                  in front; the default is plain, journal where $JOURNAL_STREAM is standard "
    "error\n"
    "  --reload-on-change\n"
    "                  apply a change of the folder 2 s after the last one, as SIGHUP does\n"
    "  --daemon        no console: standard input is ignored; SIGHUP reads the folder again\n"
    "  --socket PATH   a socket at which vantacorectl finds the console; the daemon's user and "
    "root\n"
    "                  may open it\n"
    "  --socket-owner USER\n"
    "                  it belongs to this user instead\n"
    "  --socket-group GROUP\n"
    "                  it belongs to this group, whose members may open it\n"
    "  --socket-mode MODE\n"
    "                  its mode, octal (default 0600, with --socket-group 0660)\n"
    "  --view-socket PATH\n"
    "                  another socket for vantacorectl, for words that change nothing; the "
    "daemon's\n"
    "                  user and root may open it\n"
    "  --view-group GROUP\n"
    "                  it belongs to this group, whose members may open it\n"
    "  --view-mode MODE\n"
    "                  its mode, octal (default 0600, with --view-group 0660)\n"
    "  --lab           the console has the words of lab, which make things happen to the device\n"
    "  --metrics PATH  a socket at which a scraper reads counters: HTTP, GET /metrics\n"
    "  --state DIR     where revisions are kept; without it $STATE_DIRECTORY or the user's folder "
    "for\n"
    "                  state, with --daemon only\n"
    "  --fresh         start with the folder, whatever revision was in force\n"
    "  --guard PERCENT refuse a reload that takes away more than this share, and at least ten, of "
    "a\n"
    "                  VLAN's prefixes with an installed static route (default 50), a VLAN that "
    "has\n"
    "                  one, or every protocol row of a router that has more than one; 100 refuses\n"
    "                  none\n"
    "  --keep-old SECONDS\n"
    "                  how long a route stays at most whose successor cannot take its place yet,\n"
    "                  0 to 86400 (default 60)\n"
    "  --sweep-after SECONDS\n"
    "                  how long routes of an earlier run stay in the kernel at most while the "
    "device\n"
    "                  has not settled, 0 to 86400 (default 60)\n"
    "  --flush-on-exit take the routes out of the kernel when the daemon stops; without it they "
    "stay\n"
    "  --tick-us N     a fixed length of the timer tick in microseconds, 10 to 1000000; without "
    "it\n"
    "                  the tick follows the work\n"
    "  --partial       leave out what cannot be used of the folder and apply the rest, "
    "for laboratories\n"
    "  --check DIR     only tell what is wrong in the folder; the exit status is 0, or 1 with "
    "errors\n"
    "  --strict        with --check: 1 with warnings, too\n"
    "  --diff OTHER    only tell what a reload of the folder OTHER would change; the exit\n"
    "                  status is 0, 1 when something differs, or 2 with errors in a folder\n"
    "  --kernel-clean  only remove every route and rule of this device from the kernel; the exit\n"
    "                  status is 0, or 1 if some remain\n"
    "  --help          this text\n"
    "  --version       the version\n"
    "\n"
    "On a terminal there is a prompt. Otherwise commands are read from standard input, one a "
    "line;\n"
    "at its end the exit status is 0, 1 when a command was refused, 2 when one was not "
    "understood,\n"
    "or 5 when the stack does not have all of what a reload has applied.\n";

enum : int {
  CONFIG = 1,
  LOG,
  DAEMON,
  SOCKET,
  PARTIAL,
  CHECK,
  STRICT,
  TICK,
  STATE,
  FRESH,
  GUARD,
  DIFF,
  KEEP_OLD,
  LOG_FORMAT,
  METRICS,
  SWEEP_AFTER,
  KERNEL_CLEAN,
  SOCKET_OWNER,
  SOCKET_GROUP,
  SOCKET_MODE,
  VIEW_SOCKET,
  VIEW_GROUP,
  VIEW_MODE,
  LAB,
  FLUSH_ON_EXIT,
  RELOAD_ON_CHANGE
};

std::optional<logging::LogFormat::Kind> FindKind(const std::string& word) {
  if (word == "plain") {
    return logging::LogFormat::Kind::PLAIN;
  }
  if (word == "full") {
    return logging::LogFormat::Kind::FULL;
  }
  return word == "journal" ? std::optional(logging::LogFormat::Kind::JOURNAL) : std::nullopt;
}

std::string TakeOwner(const std::string& name, loop::SocketAccess& access) {
  access.owner = program::FindUser(name);
  return access.owner ? "" : "--socket-owner takes a user's name, not " + Quote(name);
}

std::string TakeGroup(const char* option, const std::string& name, loop::SocketAccess& access) {
  access.group = program::FindGroup(name);
  return access.group ? "" : option + (" takes a group's name, not " + Quote(name));
}

std::string TakeMode(const char* option, const std::string& digits, loop::SocketAccess& access) {
  constexpr std::size_t MOST_DIGITS = 4;
  constexpr unsigned long MOST = 0777;
  const bool isOctal = !digits.empty() && digits.size() <= MOST_DIGITS &&
                       digits.find_first_not_of("01234567") == std::string::npos;
  const unsigned long mode = isOctal ? std::stoul(digits, nullptr, 8) : MOST + 1;
  if (mode > MOST) {
    return option + (" takes an octal number from 0 to 0777, not " + Quote(digits));
  }
  access.mode = static_cast<mode_t>(mode);
  return {};
}

std::string TakePath(const char* option, const char* value, std::string& path) {
  path = value;
  // What a script makes of a variable that is not set.
  return path.empty() ? std::string(option) + " takes a path" : "";
}

// Of the sockets.
std::string TakeSocket(int number, const char* value, CommandLine& line) {
  switch (number) {
    case METRICS:
      return TakePath("--metrics", value, line.metricsPath);
    case SOCKET_OWNER:
      return TakeOwner(value, line.socketAccess);
    case SOCKET_GROUP:
      return TakeGroup("--socket-group", value, line.socketAccess);
    case SOCKET_MODE:
      return TakeMode("--socket-mode", value, line.socketAccess);
    case VIEW_SOCKET:
      return TakePath("--view-socket", value, line.viewSocketPath);
    case VIEW_GROUP:
      return TakeGroup("--view-group", value, line.viewSocketAccess);
    case VIEW_MODE:
      return TakeMode("--view-mode", value, line.viewSocketAccess);
    default:
      return TakePath("--socket", value, line.socketPath);
  }
}

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
    case DIFF:
      line.diffDirectory = value;
      return line.diffDirectory.empty() ? "--diff takes a folder" : "";
    case STATE:
      line.stateDirectory = value;
      return line.stateDirectory.empty() ? "--state takes a folder" : "";
    case FRESH:
      line.isFresh = true;
      return {};
    case KEEP_OLD:
      if (const auto seconds = ReadDecimal(value, 0, 86400)) {
        line.keepOldSeconds = static_cast<unsigned int>(*seconds);
        return {};
      }
      return "--keep-old takes a number from 0 to 86400, not " + Quote(value);
    case SWEEP_AFTER:
      if (const auto seconds = ReadDecimal(value, 0, 86400)) {
        line.sweepAfterSeconds = static_cast<unsigned int>(*seconds);
        return {};
      }
      return "--sweep-after takes a number from 0 to 86400, not " + Quote(value);
    case FLUSH_ON_EXIT:
      line.flushesOnExit = true;
      return {};
    case KERNEL_CLEAN:
      line.isKernelClean = true;
      return {};
    case GUARD:
      if (const auto percent = ReadDecimal(value, 0, 100)) {
        line.guardPercent = *percent;
        return {};
      }
      return "--guard takes a number from 0 to 100, not " + Quote(value);
    case LOG:
      if (const auto level = ReadDecimal(value, 0, 10)) {
        line.logLevel = static_cast<int>(*level);
        return {};
      }
      return "--log takes a level from 0 to 10, not " + Quote(value);
    case LOG_FORMAT:
      line.logFormat = FindKind(value);
      return line.logFormat ? "" : "--log-format takes plain, full or journal, not " + Quote(value);
    case DAEMON:
      line.isDaemon = true;
      return {};
    case LAB:
      line.hasLab = true;
      return {};
    case RELOAD_ON_CHANGE:
      line.reloadsOnChange = true;
      return {};
    case TICK:
      if (const auto tick = ReadDecimal(value, 10, 1000000)) {
        line.tickMicroseconds = *tick;
        return {};
      }
      return "--tick-us takes a number from 10 to 1000000, not " + Quote(value);
    default:
      return TakeSocket(number, value, line);
  }
}

constexpr unsigned int Bit(int option) { return 1u << option; }

// What is wrong with the options of a socket without it.
std::string JudgeSockets(unsigned int given) {
  const auto has = [given](int option) { return (given & Bit(option)) != 0; };
  if (!has(SOCKET) && (has(SOCKET_OWNER) || has(SOCKET_GROUP) || has(SOCKET_MODE))) {
    return "--socket-owner, --socket-group and --socket-mode go with --socket only";
  }
  if (!has(VIEW_SOCKET) && (has(VIEW_GROUP) || has(VIEW_MODE))) {
    return "--view-group and --view-mode go with --view-socket only";
  }
  return {};
}

// What is wrong with the options together, or the empty text. `given` has a bit for each option.
std::string JudgeTogether(const CommandLine& line, unsigned int given) {
  if (line.isKernelClean) {
    return given == Bit(KERNEL_CLEAN) ? "" : "--kernel-clean stands alone";
  }
  if ((given & Bit(DIFF)) != 0 && (given & ~(Bit(DIFF) | Bit(CONFIG))) != 0) {
    return "--diff goes with --config only";
  }
  if (line.checkDirectory.empty() && line.isStrict) {
    return "--strict goes with --check only";
  }
  if (line.isPartial && !line.stateDirectory.empty()) {
    return "--state does not go with --partial: parts of a folder are no revision";
  }
  if (!line.checkDirectory.empty()) {
    return (given & ~(Bit(CHECK) | Bit(STRICT))) == 0 ? "" : "--check goes with --strict only";
  }
  return line.configDirectory.empty() ? "--config DIR is missing" : JudgeSockets(given);
}

}  // namespace

std::optional<program::Ending> ParseCommandLine(int argc, char** argv, CommandLine& line) {
  const program::Usage usage = {"vantacored",
                                HELP,
                                {{"config", required_argument, nullptr, CONFIG},
                                 {"log", required_argument, nullptr, LOG},
                                 {"log-format", required_argument, nullptr, LOG_FORMAT},
                                 {"reload-on-change", no_argument, nullptr, RELOAD_ON_CHANGE},
                                 {"daemon", no_argument, nullptr, DAEMON},
                                 {"socket", required_argument, nullptr, SOCKET},
                                 {"socket-owner", required_argument, nullptr, SOCKET_OWNER},
                                 {"socket-group", required_argument, nullptr, SOCKET_GROUP},
                                 {"socket-mode", required_argument, nullptr, SOCKET_MODE},
                                 {"view-socket", required_argument, nullptr, VIEW_SOCKET},
                                 {"view-group", required_argument, nullptr, VIEW_GROUP},
                                 {"view-mode", required_argument, nullptr, VIEW_MODE},
                                 {"lab", no_argument, nullptr, LAB},
                                 {"metrics", required_argument, nullptr, METRICS},
                                 {"partial", no_argument, nullptr, PARTIAL},
                                 {"check", required_argument, nullptr, CHECK},
                                 {"diff", required_argument, nullptr, DIFF},
                                 {"strict", no_argument, nullptr, STRICT},
                                 {"state", required_argument, nullptr, STATE},
                                 {"fresh", no_argument, nullptr, FRESH},
                                 {"guard", required_argument, nullptr, GUARD},
                                 {"keep-old", required_argument, nullptr, KEEP_OLD},
                                 {"sweep-after", required_argument, nullptr, SWEEP_AFTER},
                                 {"flush-on-exit", no_argument, nullptr, FLUSH_ON_EXIT},
                                 {"kernel-clean", no_argument, nullptr, KERNEL_CLEAN},
                                 {"tick-us", required_argument, nullptr, TICK}},
                                false};
  unsigned int given = 0;
  const auto take = [&](int number, const char* value) {
    given |= Bit(number);
    return Take(number, value, line);
  };
  if (auto ending = program::ReadOptions(usage, argc, argv, take)) {
    return ending;
  }
  if (optind < argc) {
    return program::UsageError(usage, "not an option: " + Quote(argv[optind]));
  }
  const std::string problem = JudgeTogether(line, given);
  if (!problem.empty()) {
    return program::UsageError(usage, problem);
  }
  return std::nullopt;
}

}  // namespace vantacored
