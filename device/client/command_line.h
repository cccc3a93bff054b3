// The client's command line.
#ifndef DEVICE_CLIENT_COMMAND_LINE_H
#define DEVICE_CLIENT_COMMAND_LINE_H

#include <optional>
#include <string>

#include "device/program/options.h"

namespace client {

struct CommandLine {
  std::string socketPath;
  int timeoutSeconds = 10;
  std::string daemonUser = "vantacore";  // may listen there; the packages' service runs as this one
  std::string command;                   // from the words
  bool hasCommand = false;
  bool isWaiting = true;  // for the effects of commands
  bool wantsPages = true;
  bool isJson = false;
};

/// Fills `line`. Returns how the process is to end, if it is not to go on.
std::optional<program::Ending> ParseCommandLine(int argc, char** argv, CommandLine& line);

}  // namespace client

#endif
