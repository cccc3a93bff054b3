#include "device/program/standard_streams.h"

#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>

namespace program {

void OpenMissingStreams() {
  int fd = STDIN_FILENO;
  while (fd >= 0 && fd <= STDERR_FILENO) {
    fd = open("/dev/null", O_RDWR);  // the lowest that is free
  }
  if (fd >= 0) {
    close(fd);
  }
}

void SurviveFullFiles() { std::signal(SIGXFSZ, SIG_IGN); }

bool FlushOutput() { return std::fflush(stdout) == 0 && !std::ferror(stdout); }

bool FlushOutput(const char* program) {
  if (FlushOutput()) {
    return true;
  }
  std::fprintf(stderr, "%s: standard output cannot be written\n", program);
  return false;
}

}  // namespace program
