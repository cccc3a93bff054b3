#include "tests/support/forked_text.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>

namespace test_support {

namespace {

void WriteAll(int fd, const std::string& text) {
  for (std::size_t done = 0; done < text.size();) {
    const ssize_t count = write(fd, text.data() + done, text.size() - done);
    if (count <= 0) {
      _exit(2);
    }
    done += static_cast<std::size_t>(count);
  }
}

std::string ReadAll(int fd) {
  std::string text;
  char buffer[4096];
  for (;;) {
    const ssize_t count = read(fd, buffer, sizeof buffer);
    if (count > 0) {
      text.append(buffer, static_cast<std::size_t>(count));
    } else if (count == 0 || errno != EINTR) {
      return text;
    }
  }
}

[[noreturn]] void Die(const char* what) {
  std::perror(what);
  std::abort();
}

}  // namespace

std::string TextOfChild(const std::function<std::string()>& make, unsigned int seconds) {
  int ends[2];
  if (pipe(ends) != 0) {
    Die("pipe");
  }
  std::fflush(nullptr);
  const pid_t pid = fork();
  if (pid < 0) {
    Die("fork");
  }
  if (pid == 0) {
    close(ends[0]);
    alarm(seconds);  // a child that hangs is ended by its own alarm
    WriteAll(ends[1], make());
    std::fflush(nullptr);
    _exit(0);
  }
  close(ends[1]);
  const std::string text = ReadAll(ends[0]);
  close(ends[0]);
  int status = 0;
  while (waitpid(pid, &status, 0) != pid) {
    if (errno != EINTR) {
      Die("waitpid");
    }
  }
  if (WIFSIGNALED(status)) {
    return "child ended by signal " + std::to_string(WTERMSIG(status));
  }
  if (WEXITSTATUS(status) != 0) {
    return "child ended with status " + std::to_string(WEXITSTATUS(status));
  }
  return text;
}

}  // namespace test_support
