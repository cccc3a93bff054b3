#include "device/logging/log_relay.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <ctime>
#include <string>

#include "tests/support/scratch_folder.h"

namespace {

// A reader that leaves, and a later one.
class LogRelay : public testing::Test {
 protected:
  LogRelay() {
    std::signal(SIGPIPE, SIG_IGN);
    EXPECT_EQ(mkfifo(m_path.c_str(), 0600), 0);
    OpenReader();
    m_writer = open(m_path.c_str(), O_WRONLY | O_CLOEXEC);
  }
  ~LogRelay() override {
    close(m_reader);
    close(m_writer);
  }

  void OpenReader() { m_reader = open(m_path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC); }
  void CloseReader() { close(m_reader); }
  int Writer() const { return m_writer; }
  std::string ReadUntil(const std::string& end) const {
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    std::string text;
    while (text.find(end) == std::string::npos && std::chrono::steady_clock::now() < limit) {
      pollfd some{m_reader, POLLIN, 0};
      poll(&some, 1, 10);
      char bytes[4096];
      const ssize_t count = read(m_reader, bytes, sizeof bytes);
      text.append(bytes, count > 0 ? static_cast<std::size_t>(count) : 0);
    }
    return text;
  }
  static void Send(const logging::LogRelay& relay, const std::string& text) {
    ASSERT_EQ(send(relay.Get(), text.data(), text.size(), 0), static_cast<ssize_t>(text.size()));
  }

 private:
  test_support::ScratchFolder m_folder;
  const std::string m_path = m_folder.PathOf("log");
  int m_reader = -1;
  int m_writer = -1;
};

// Nothing tells when the thread has tried to write. Where it has not before the next reader comes, that
// reader gets all lines, and the trial says nothing; so each trial leaves it more time.
TEST_F(LogRelay, TellsTheNextReaderHowManyLinesAreMissing) {
  logging::LogRelay relay(Writer(), logging::LogFormat());
  std::string text = "one\ntwo\nthree\n";
  for (unsigned trial = 1; trial <= 100 && text == "one\ntwo\nthree\n"; ++trial) {
    CloseReader();
    Send(relay, "one\ntwo\n");
    usleep(1000 * trial);
    OpenReader();
    Send(relay, "three\n");
    text = ReadUntil("three\n");
  }
  EXPECT_EQ(text, "2 lines of the log were lost: their reader had stopped\nthree\n");
}

TEST_F(LogRelay, HasFinishedWhenAllIsWritten) {
  constexpr std::chrono::milliseconds MOST{5000};
  logging::LogRelay relay(Writer(), logging::LogFormat());
  Send(relay, "one\n");
  const auto begin = std::chrono::steady_clock::now();
  relay.Finish(static_cast<int>(MOST.count()));
  EXPECT_LT(std::chrono::steady_clock::now() - begin, MOST);
  EXPECT_EQ(ReadUntil("\n"), "one\n");
}

// They are the event loop's. Its thread takes them when it comes to that.
TEST_F(LogRelay, TakesNoSignals) {
  const logging::LogRelay relay(Writer(), logging::LogFormat());
  Send(relay, "one\n");
  ASSERT_EQ(ReadUntil("\n"), "one\n");
  for (const int number : {SIGHUP, SIGINT, SIGTERM, SIGUSR1}) {
    std::signal(number, SIG_DFL);  // of any thread, it would end the process
    sigset_t one;
    sigemptyset(&one);
    sigaddset(&one, number);
    ASSERT_EQ(pthread_sigmask(SIG_BLOCK, &one, nullptr), 0);
    ASSERT_EQ(kill(getpid(), number), 0);
    const timespec most{10, 0};
    EXPECT_EQ(sigtimedwait(&one, nullptr, &most), number);
  }
}

// The thread would go on with the processor's time of a whole daemon.
TEST_F(LogRelay, FinishesWithoutAReader) {
  constexpr std::chrono::milliseconds MOST{5000};
  logging::LogRelay relay(Writer(), logging::LogFormat());
  CloseReader();
  Send(relay, "one\n");
  const auto begin = std::chrono::steady_clock::now();
  relay.Finish(static_cast<int>(MOST.count()));
  EXPECT_LT(std::chrono::steady_clock::now() - begin, MOST);
  OpenReader();
}

}  // namespace
