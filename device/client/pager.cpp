#include "pager.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <iterator>
#include <sstream>
#include <utility>
#include <vector>

namespace client {

namespace {

using program::OwnedDescriptor;
using Words = std::vector<std::string>;

// In the order in which they are tried.
std::vector<Words> FindPagers() {
  std::vector<Words> pagers;
  const char* const chosen = geteuid() == 0 ? nullptr : std::getenv("PAGER");
  if (chosen != nullptr) {
    std::istringstream stream(chosen);
    pagers.push_back({std::istream_iterator<std::string>(stream), {}});
    if (pagers.back().empty()) {
      return {};
    }
  }
  pagers.push_back({"less", "-FRX"});
  pagers.push_back({"more"});
  return pagers;
}

// Without a shell, which would find more in a variable than a program and its options.
void Become(Words words) {
  std::vector<char*> arguments;
  for (std::string& word : words) {
    arguments.push_back(&word[0]);
  }
  arguments.push_back(nullptr);
  execvp(arguments[0], arguments.data());
}

// Tells the reader of `failure` if none can be run; that end closes by itself if one can.
[[noreturn]] void RunFirst(const std::vector<Words>& pagers, int input, int failure) {
  std::signal(SIGINT, SIG_DFL);
  std::signal(SIGPIPE, SIG_DFL);
  sigset_t none;
  sigemptyset(&none);
  sigprocmask(SIG_SETMASK, &none, nullptr);
  if (geteuid() == 0) {
    setenv("LESSSECURE", "1", 1);
    setenv("PAGERSECURE", "1", 1);
  }
  if (dup2(input, STDIN_FILENO) == STDIN_FILENO) {
    for (const Words& words : pagers) {
      Become(words);
    }
  }
  const char sign = 'x';
  _exit(write(failure, &sign, 1) == 1 ? 127 : 126);
}

}  // namespace

std::unique_ptr<Pager> Pager::Start() {
  const std::vector<Words> pagers = FindPagers();
  std::array<int, 2> input{};
  std::array<int, 2> failure{};
  if (pagers.empty() || pipe2(input.data(), O_CLOEXEC) != 0) {
    return nullptr;
  }
  OwnedDescriptor reader(input[0]);
  auto writer = std::make_unique<OwnedDescriptor>(input[1]);
  if (pipe2(failure.data(), O_CLOEXEC) != 0) {
    return nullptr;
  }
  const OwnedDescriptor failed(failure[0]);
  auto failing = std::make_unique<OwnedDescriptor>(failure[1]);
  const pid_t pid = fork();
  if (pid < 0) {
    return nullptr;
  }
  if (pid == 0) {
    RunFirst(pagers, reader.Get(), failing->Get());
  }
  failing.reset();
  char sign = 0;
  if (read(failed.Get(), &sign, 1) == 1) {
    waitpid(pid, nullptr, 0);
    return nullptr;
  }
  return std::unique_ptr<Pager>(new Pager(pid, std::move(writer)));
}

Pager::Pager(pid_t pid, std::unique_ptr<OwnedDescriptor> pipe)
    : m_pid(pid), m_pipe(std::move(pipe)) {
  m_hasSettings = tcgetattr(STDOUT_FILENO, &m_settings) == 0;
  struct sigaction ignored {};
  ignored.sa_handler = SIG_IGN;
  sigaction(SIGPIPE, &ignored, &m_brokenPipe);
}

Pager::~Pager() {
  m_pipe.reset();
  while (waitpid(m_pid, nullptr, 0) < 0 && errno == EINTR) {
  }
  sigaction(SIGPIPE, &m_brokenPipe, nullptr);
  struct sigaction ignored {};
  struct sigaction before {};
  ignored.sa_handler = SIG_IGN;
  sigaction(SIGINT, &ignored, &before);  // one that is pending is dropped
  sigaction(SIGINT, &before, nullptr);
  if (m_hasSettings) {
    tcsetattr(STDOUT_FILENO, TCSADRAIN, &m_settings);
  }
}

bool Pager::Write(const std::string& text) {
  for (std::size_t done = 0; done < text.size();) {
    const ssize_t count = write(m_pipe->Get(), text.data() + done, text.size() - done);
    if (count < 0 && errno != EINTR) {
      return false;
    }
    done += count > 0 ? static_cast<std::size_t>(count) : 0;
  }
  return true;
}

}  // namespace client
