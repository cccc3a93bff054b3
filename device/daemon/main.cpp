// vantacored: the library and the software device as one process.
#include <malloc.h>

#include <cstdio>
#include <exception>

#include "check_folder.h"
#include "command_line.h"
#include "daemon.h"
#include "device/kernel/netlink_socket.h"
#include "device/machine/kernel_clean.h"
#include "device/program/printable.h"
#include "device/program/standard_streams.h"
#include "diff_folders.h"
#include "hang_up.h"

namespace {

// What a thread of the pool reads another one frees. With an arena for each of them, memory that is
// free in one would not serve the others: the device takes a fifth more after some reloads.
void ShareOneArena() { mallopt(M_ARENA_MAX, 1); }

}  // namespace

int main(int argc, char** argv) {
  vantacored::HoldHangUp();
  ShareOneArena();
  program::OpenMissingStreams();
  program::SurviveFullFiles();
  try {
    vantacored::CommandLine line;
    if (const auto ending = vantacored::ParseCommandLine(argc, argv, line)) {
      return program::PrintEnding("vantacored", *ending);
    }
    if (line.isKernelClean) {
      return machine::CleanKernel(kernel::OpenNetlinkSocket);
    }
    if (!line.diffDirectory.empty()) {
      return vantacored::DiffFolders(line.configDirectory, line.diffDirectory);
    }
    const bool isCheck = !line.checkDirectory.empty();
    if (!vantacored::CanOpenFolder(isCheck ? line.checkDirectory : line.configDirectory)) {
      return program::EXIT_FAILED;
    }
    return isCheck ? vantacored::CheckFolder(line.checkDirectory, line.isStrict)
                   : vantacored::Daemon(line).Run();
  } catch (const std::exception& problem) {
    std::fprintf(stderr, "vantacored: %s\n", program::PrintableLines(problem.what()).c_str());
    return program::EXIT_FAILED;
  }
}
