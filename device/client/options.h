// The client's command line.
#ifndef DEVICE_CLIENT_OPTIONS_H
#define DEVICE_CLIENT_OPTIONS_H

#include <optional>
#include <string>

#include "device/program/options.h"

namespace client {

struct Options {
  std::string socketPath;
  int timeoutSeconds = 10;
  std::string command;  // from the words
  bool hasCommand = false;
};

/// Fills `options`, or answers how the process is to end.
std::optional<program::Ending> ParseOptions(int argc, char** argv, Options& options);

}  // namespace client

#endif
