// vantacored: the library and the software device as one process.
#include <cstdio>
#include <exception>

#include "command_line.h"
#include "daemon.h"
#include "device/program/printable.h"
#include "device/program/standard_streams.h"
#include "hang_up.h"

int main(int argc, char** argv) {
  vantacored::HoldHangUp();
  program::OpenMissingStreams();
  program::SurviveFullFiles();
  try {
    vantacored::CommandLine line;
    if (const auto ending = vantacored::ParseCommandLine(argc, argv, line)) {
      return program::PrintEnding("vantacored", *ending);
    }
    return vantacored::Daemon(line).Run();
  } catch (const std::exception& problem) {
    std::fprintf(stderr, "vantacored: %s\n", program::PrintableLines(problem.what()).c_str());
    return program::EXIT_FAILED;
  }
}
