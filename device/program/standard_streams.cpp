#include "device/program/standard_streams.h"

#include <fcntl.h>
#include <unistd.h>

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

bool FlushOutput(const char* program) {
  if (std::fflush(stdout) == 0 && !std::ferror(stdout)) {
    return true;
  }
  std::fprintf(stderr, "%s: standard output cannot be written\n", program);
  return false;
}

}  // namespace program
