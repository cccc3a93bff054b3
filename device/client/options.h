// The client's command line.
#ifndef DEVICE_CLIENT_OPTIONS_H
#define DEVICE_CLIENT_OPTIONS_H

#include <optional>
#include <string>

namespace client {

struct Options {
  std::string socketPath;
  int timeoutSeconds = 10;
  std::string command;  // from the words
  bool hasCommand = false;
};

/// What to do instead of running: print a text and end.
struct Ending {
  std::string text;
  bool isError = false;
};

/// Fills `options`, or answers how the process is to end.
std::optional<Ending> ParseOptions(int argc, char** argv, Options& options);

}  // namespace client

#endif
