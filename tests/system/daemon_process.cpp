#include "daemon_process.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <utility>

#include "signs.h"
#include "tests/support/argument_vector.h"
#include "tests/support/reported_lines.h"

namespace system_test {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds PATIENCE(30);
// What a terminal holds ready for its reader at most, in bytes.
constexpr int READERS_SHARE = 4095;

// The command is a program, or an emulator and the program if it is built for another machine.
[[noreturn]] void Execute(std::string command, const Arguments& arguments) {
  Arguments words;
  for (std::size_t end; (end = command.find(';')) != std::string::npos;) {
    words.push_back(command.substr(0, end));
    command.erase(0, end + 1);
  }
  words.push_back(command);
  words.insert(words.end(), arguments.begin(), arguments.end());
  test_support::ArgumentVector line(std::move(words));
  char** const argv = line.GetPointers();
  setenv("TERM", "dumb", 1);
  execvp(argv[0], argv);
  std::perror(argv[0]);
  _exit(127);
}

void Check(bool ok, const char* what) {
  if (!ok) {
    std::perror(what);
    std::abort();
  }
}

// The process's end of a terminal, opened once more.
class OtherEnd {
 public:
  explicit OtherEnd(int terminal)
      : m_fd(open(ptsname(terminal), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC)) {
    Check(m_fd >= 0, "ptsname");
  }
  OtherEnd(const OtherEnd&) = delete;
  OtherEnd& operator=(const OtherEnd&) = delete;
  ~OtherEnd() { close(m_fd); }

  std::size_t CountUnread() const {
    int count = 0;
    Check(ioctl(m_fd, FIONREAD, &count) == 0, "FIONREAD");
    return static_cast<std::size_t>(count);
  }
  bool IsFull() const {
    pollfd polled{m_fd, POLLOUT, 0};
    return poll(&polled, 1, 0) == 0;
  }

 private:
  int m_fd;
};

bool TellsWhatHappens(const std::string& line) {
  return test_support::IsHeadline(line) || line.rfind("Started: vantacored ", 0) == 0 ||
         line.rfind("Stopped after ", 0) == 0 || line.find(": lab ") != std::string::npos ||
         line.rfind("vantacored: line ", 0) == 0 || line.rfind("vantacorectl: line ", 0) == 0;
}

}  // namespace

DaemonProcess::DaemonProcess(const Arguments& arguments, Streams streams,
                             const std::string& command) {
  std::signal(SIGPIPE, SIG_IGN);
  setenv("XDG_STATE_HOME", m_state.Path().c_str(), 1);
  if (streams == TERMINAL) {
    int master = -1;
    m_pid = forkpty(&master, nullptr, nullptr, nullptr);
    Check(m_pid >= 0, "forkpty");
    if (m_pid == 0) {
      Execute(command, arguments);
    }
    m_input = m_output.fd = master;
    m_terminal = dup(master);
    return;
  }
  int pipes[3][2];
  for (auto& ends : pipes) {
    Check(pipe2(ends, O_CLOEXEC) == 0, "pipe");
  }
  m_pid = fork();
  Check(m_pid >= 0, "fork");
  if (m_pid == 0) {
    std::signal(SIGPIPE, SIG_DFL);
    dup2(pipes[0][0], STDIN_FILENO);
    dup2(pipes[1][1], STDOUT_FILENO);
    dup2(pipes[2][1], STDERR_FILENO);
    Execute(command, arguments);
  }
  m_input = pipes[0][1];
  m_output.fd = pipes[1][0];
  m_errors.fd = pipes[2][0];
  close(pipes[0][0]);
  close(pipes[1][1]);
  close(pipes[2][1]);
}

DaemonProcess::~DaemonProcess() {
  if (m_pid > 0) {
    kill(m_pid, SIGKILL);
    waitpid(m_pid, nullptr, 0);
  }
  CloseInput();
  if (m_terminal >= 0) {
    close(m_terminal);
  }
  for (Stream* stream : {&m_output, &m_errors}) {
    if (stream->fd >= 0) {
      close(stream->fd);
    }
  }
}

std::string DaemonProcess::Errors() const {
  std::istringstream lines(m_errors.text);
  std::string errors;
  for (std::string line; std::getline(lines, line);) {
    errors += TellsWhatHappens(line) ? "" : line + (lines.eof() ? "" : "\n");
  }
  return errors;
}

void DaemonProcess::Send(const std::string& text) {
  EXPECT_EQ(write(m_input, text.data(), text.size()), static_cast<ssize_t>(text.size()))
      << "the daemon takes no input";
}

// The kernel brings keys to the process's end a moment later. The test must see them there first,
// so the process is stopped meanwhile. Once they are gone the process has read them.
void DaemonProcess::SendAndAwaitReading(const std::string& keys) {
  const OtherEnd other(m_terminal);
  Stop();
  const std::size_t unread = other.CountUnread();
  Send(keys);
  Await("keys at the terminal", [&] { return other.CountUnread() == unread + keys.size(); });
  Kill(SIGCONT);
  Await("keys that are read", [&] { return other.CountUnread() == 0; });
}

void DaemonProcess::CloseInput() {
  if (m_input >= 0 && m_input != m_output.fd) {
    close(m_input);
  }
  m_input = -1;
}

void DaemonProcess::Kill(int number) { kill(m_pid, number); }

void DaemonProcess::KillAndAwaitDelivery(int number) {
  Kill(number);
  Await("a signal's delivery", [&] { return !IsPending(m_pid, number); });
}

// Returns when the process has stopped, or has ended, which is left to Wait().
void DaemonProcess::Stop() {
  Kill(SIGSTOP);
  siginfo_t what{};
  Check(waitid(P_PID, static_cast<id_t>(m_pid), &what, WSTOPPED | WEXITED | WNOWAIT) == 0,
        "waitid");
}

// A terminal looks full during a write too, so the process is stopped while the test looks. The
// system moves a part of the output on to the reader after it has told the writer that there is no
// room. Then there is room of which the writer hears only when somebody reads: it sleeps.
void DaemonProcess::AwaitFullTerminal() {
  const OtherEnd other(m_terminal);
  Await("a full terminal", [&] {
    const bool isAsleep = IsAsleep(m_pid);
    Stop();
    int unread = 0;
    Check(ioctl(m_terminal, FIONREAD, &unread) == 0, "FIONREAD");
    const bool isFull = other.IsFull() || (isAsleep && unread >= READERS_SHARE);
    Kill(SIGCONT);
    return isFull;
  });
}

void DaemonProcess::AwaitCommandUnderWay() {
  Await("a command under way",
        [this] { return (Terminal().c_lflag & ICANON) != 0 && IsAsleep(m_pid); });
}

void DaemonProcess::Resize(unsigned short rows, unsigned short columns) const {
  const winsize size{rows, columns, 0, 0};
  Check(ioctl(m_terminal, TIOCSWINSZ, &size) == 0, "TIOCSWINSZ");
}

termios DaemonProcess::Terminal() const {
  termios settings{};
  Check(tcgetattr(m_terminal, &settings) == 0, "tcgetattr");
  return settings;
}

std::string DaemonProcess::ReadUntil(const std::string& text) { return ReadUntil(m_output, text); }

std::string DaemonProcess::ReadErrorsUntil(const std::string& text) {
  return ReadUntil(m_errors, text);
}

std::string DaemonProcess::ReadUntil(Stream& stream, const std::string& text) {
  const auto end = Clock::now() + PATIENCE;
  for (;;) {
    const std::size_t found = stream.text.find(text, stream.read);
    if (found != std::string::npos) {
      const std::size_t begin = stream.read;
      stream.read = found + text.size();
      return stream.text.substr(begin, stream.read - begin);
    }
    if (Clock::now() > end || !Pump()) {
      ADD_FAILURE() << "waited for " << testing::PrintToString(text) << "; there was "
                    << testing::PrintToString(stream.text.substr(stream.read))
                    << "; errors: " << testing::PrintToString(m_errors.text);
      return {};
    }
  }
}

int DaemonProcess::Wait() {
  const auto end = Clock::now() + PATIENCE;
  while (Clock::now() < end && Pump()) {
  }
  int status = 0;
  for (;;) {
    const pid_t ended = waitpid(m_pid, &status, WNOHANG);
    Check(ended >= 0, "waitpid");
    if (ended == m_pid) {
      m_pid = -1;
      return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    }
    if (Clock::now() > end) {
      ADD_FAILURE() << "the daemon does not end; output: " << testing::PrintToString(m_output.text)
                    << "; errors: " << testing::PrintToString(m_errors.text);
      kill(m_pid, SIGKILL);
    }
    usleep(1000);
  }
}

// Takes what comes within a tenth of a second. False if nothing will come any more.
bool DaemonProcess::Pump() {
  pollfd polls[] = {{m_output.fd, POLLIN, 0}, {m_errors.fd, POLLIN, 0}};
  poll(polls, 2, 100);
  if (polls[0].revents != 0) {
    Take(m_output);
  }
  if (polls[1].revents != 0) {
    Take(m_errors);
  }
  return m_output.fd >= 0 || m_errors.fd >= 0;
}

void DaemonProcess::Take(Stream& stream) {
  char bytes[4096];
  const ssize_t count = read(stream.fd, bytes, sizeof bytes);
  if (count > 0) {
    stream.text.append(bytes, static_cast<std::size_t>(count));
    return;
  }
  if (stream.fd == m_input) {
    m_input = -1;
  }
  close(stream.fd);
  stream.fd = -1;
}

Result RunDaemon(const Arguments& arguments, const std::string& input, const std::string& command) {
  DaemonProcess daemon(arguments, DaemonProcess::PIPES, command);
  daemon.Send(input);
  daemon.CloseInput();
  const int status = daemon.Wait();
  return {status, daemon.Output(), daemon.Errors(), daemon.Log()};
}

std::string WithStreams(const std::string& redirections, const std::string& command) {
  return "sh;-c;exec \"$@\" " + redirections + ";sh;" + command;
}

}  // namespace system_test
