#include "check_folder.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "device/documents/config_folder.h"
#include "device/documents/members.h"
#include "device/program/exit_status.h"
#include "device/program/printable.h"

namespace vantacored {

bool CanOpenFolder(const std::string& directory) {
  if (access((directory + "/").c_str(), R_OK | X_OK) == 0) {
    return true;
  }
  const int problem = errno;
  std::fprintf(stderr, "%s: %s\n", program::PrintableLines(directory).c_str(),
               std::strerror(problem));
  return false;
}

int CheckFolder(const std::string& directory, bool isStrict) {
  const documents::ConfigFolder folder(directory, {documents::DeclaredProtocols(), false});
  const documents::Findings findings = folder.ReadFirst().findings;
  for (const std::string& line : findings.Lines()) {
    std::fprintf(stderr, "%s\n", line.c_str());
  }
  const bool hasPassed = !findings.HasErrors() && (!isStrict || findings.CountWarnings() == 0);
  return hasPassed && !std::ferror(stderr) ? program::EXIT_DONE : program::EXIT_FAILED;
}

}  // namespace vantacored
