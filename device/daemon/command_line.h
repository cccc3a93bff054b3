// The daemon's command line.
#ifndef DEVICE_DAEMON_COMMAND_LINE_H
#define DEVICE_DAEMON_COMMAND_LINE_H

#include <optional>
#include <string>

#include "device/logging/log_format.h"
#include "device/loop/listening_socket.h"
#include "device/program/options.h"

namespace vantacored {

struct CommandLine {
  std::string configDirectory;  // empty if a folder is only to be checked
  std::string checkDirectory;   // the folder that is only to be checked; empty: none
  std::string diffDirectory;    // the folder that is compared with configDirectory; empty: none
  bool isStrict = false;        // a warning fails the check, too
  std::string socketPath;       // empty: none
  loop::SocketAccess socketAccess;
  std::string viewSocketPath;  // the socket for words that change nothing; empty: none
  loop::SocketAccess viewSocketAccess;
  bool hasLab = false;      // the console has the words of the lab
  std::string metricsPath;  // the socket for scrapers; empty: none
  int logLevel = 1;
  std::optional<logging::LogFormat::Kind> logFormat;  // nothing: FindLogKind
  bool isDaemon = false;
  std::string stateDirectory;    // where revisions are kept; empty: with isDaemon the user's folder
  bool reloadsOnChange = false;  // a change of the folder is applied
  bool isFresh = false;          // the start takes the folder, whatever was in force
  unsigned int guardPercent = 50;
  unsigned int keepOldSeconds = 60;     // how long a route waits for its successor
  unsigned int sweepAfterSeconds = 60;  // how long the kernel's routes of an earlier run stay
  bool flushesOnExit = false;           // the kernel keeps nothing when the daemon stops
  bool isKernelClean = false;           // only remove what is in the kernel
  bool isPartial = false;               // what cannot be used of the folder is left out
  std::optional<unsigned int> tickMicroseconds;  // nothing: it follows the work
};

/// Fills `line`. Returns how the process is to end, if it is not to go on.
std::optional<program::Ending> ParseCommandLine(int argc, char** argv, CommandLine& line);

}  // namespace vantacored

#endif
