#include "device/program/standard_streams.h"

#include <fcntl.h>
#include <unistd.h>

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

}  // namespace program
