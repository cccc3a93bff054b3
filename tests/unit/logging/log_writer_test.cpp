#include "device/logging/log_writer.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>
#include <uv.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <functional>
#include <iterator>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "tarsel/trace.h"
#include "tests/support/scratch_folder.h"

namespace {

using logging::LogFormat;
using logging::LogWriter;
using testing::EndsWith;

enum class Kind { PIPE, SOCKET, TERMINAL, PIPE_OF_ANOTHER };

// A log and its reader, which reads when the test does.
class Log {
 public:
  explicit Log(Kind kind, const LogFormat& format = LogFormat()) : m_format(format) {
    std::signal(SIGPIPE, SIG_IGN);
    uv_loop_init(&m_loop);
    if (kind == Kind::SOCKET) {
      EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, m_ends), 0);
    } else if (kind == Kind::TERMINAL) {
      EXPECT_EQ(openpty(&m_ends[0], &m_ends[1], nullptr, nullptr, nullptr), 0);
    } else {
      EXPECT_EQ(pipe(m_ends), 0);
    }
    if (kind == Kind::PIPE_OF_ANOTHER) {  // what nobody but root may open, for somebody else
      EXPECT_EQ(fchmod(m_ends[1], 0), 0);
      EXPECT_TRUE(geteuid() != 0 || seteuid(65534) == 0);
    }
    fcntl(m_ends[0], F_SETFL, O_NONBLOCK);
    writer = std::make_unique<LogWriter>(&m_loop, m_ends[1], format);
    // Whoever looks for leaks at the end must be allowed to look into the process.
    EXPECT_EQ(seteuid(getuid()), 0);
  }
  ~Log() {
    writer.reset();
    uv_run(&m_loop, UV_RUN_DEFAULT);
    uv_loop_close(&m_loop);
  }

  void Turn() { uv_run(&m_loop, UV_RUN_NOWAIT); }
  // What is there by now; a terminal's ends of lines as they were written.
  std::string Read() {
    std::string text;
    char bytes[65536];
    for (ssize_t count; (count = read(m_ends[0], bytes, sizeof bytes)) > 0;) {
      text.append(bytes, static_cast<std::size_t>(count));
    }
    for (std::size_t at = 0; (at = text.find('\r', at)) != std::string::npos;) {
      text.erase(at, 1);
    }
    return text;
  }
  // Not more than fits a page.
  std::string ReadALittle() {
    char bytes[4096];
    const ssize_t count = read(m_ends[0], bytes, sizeof bytes);
    return std::string(bytes, static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
  }
  // Whether there is something to read within a while.
  bool AwaitText() const {
    pollfd some{m_ends[0], POLLIN, 0};
    return poll(&some, 1, 10000) > 0;
  }
  // The loop and the reader in turns, until the text has come.
  std::string ReadUntil(const std::string& end) {
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    std::string text;
    while (text.find(end) == std::string::npos && std::chrono::steady_clock::now() < limit) {
      pollfd some{m_ends[0], POLLIN, 0};
      poll(&some, 1, 1);
      text += Read();
      Turn();
    }
    return text + Read();
  }
  bool IsNonBlocking() const { return (fcntl(m_ends[1], F_GETFL) & O_NONBLOCK) != 0; }

  // Elsewhere than to the reader.
  void WriteTo(int fd) {
    writer.reset();
    writer = std::make_unique<LogWriter>(&m_loop, fd, m_format);
  }

  std::unique_ptr<LogWriter> writer;

 private:
  const LogFormat m_format;
  uv_loop_t m_loop;
  int m_ends[2] = {-1, -1};
};

constexpr int LINE_SIZE = 100;

std::string Line(int number) {
  std::string line = std::to_string(number);
  return line + std::string(LINE_SIZE - 1 - line.size(), '.') + "\n";
}

void Write(int first, int end) {
  for (int number = first; number < end; ++number) {
    Tarsel::TRACE("%s", Line(number).c_str());
  }
}

std::string Lines(int first, int end) {
  std::string text;
  for (int number = first; number < end; ++number) {
    text += Line(number);
  }
  return text;
}

class LogWriterOf : public testing::TestWithParam<Kind> {};

TEST_P(LogWriterOf, WritesAtOnceWhileThereIsAReader) {
  Log log(GetParam());
  Tarsel::TRACE("one %d\n", 1);
  Tarsel::OnAssert("a == b", "file.cpp", 7);
  Tarsel::TRACE(1, "two\n");
  const std::string expected = "one 1\nAssertion failed: a == b (file.cpp:7)\ntwo\n";
  // A thread has to be waited for.
  EXPECT_EQ(GetParam() == Kind::PIPE_OF_ANOTHER ? log.ReadUntil("two\n") : log.Read(), expected);
}

TEST_P(LogWriterOf, ShowsNothingThatATerminalWouldObey) {
  Log log(GetParam());
  Tarsel::TRACE("%s\n", "a\u202eb\x1b[31mc");
  EXPECT_EQ(log.ReadUntil("c\n"), "a\\xe2\\x80\\xaeb\\x1b[31mc\n");
}

TEST_P(LogWriterOf, KeepsLinesForAReaderThatHasStopped) {
  constexpr int COUNT = static_cast<int>(LogWriter::LIMIT / 2 / LINE_SIZE);
  Log log(GetParam());
  Write(0, COUNT);
  log.Turn();
  Tarsel::TRACE("end\n");
  EXPECT_EQ(log.ReadUntil("end\n"), Lines(0, COUNT) + "end\n");
  EXPECT_FALSE(log.IsNonBlocking());
}

TEST_P(LogWriterOf, CountsWhatAReaderThatHasStoppedLoses) {
  constexpr int COUNT = static_cast<int>(LogWriter::LIMIT * 2 / LINE_SIZE);
  Log log(GetParam());
  Write(0, COUNT);
  log.Turn();
  const std::string lost = " lines of the log were lost: their reader had stopped\n";
  const std::string text = log.ReadUntil(lost);
  ASSERT_THAT(text, EndsWith(lost));
  const std::size_t begin = text.rfind('\n', text.size() - 2) + 1;
  const int read = static_cast<int>(begin) / LINE_SIZE;
  EXPECT_GT(read, static_cast<int>(LogWriter::LIMIT / 2 / LINE_SIZE));
  EXPECT_EQ(text, Lines(0, read) + std::to_string(COUNT - read) + lost);

  Write(COUNT, COUNT + 3);
  EXPECT_EQ(log.ReadUntil(Line(COUNT + 2)), Lines(COUNT, COUNT + 3));
}

TEST_P(LogWriterOf, GivesUpSoonAtTheEndWhenNobodyReads) {
  Log log(GetParam());
  Write(0, static_cast<int>(LogWriter::LIMIT / 2 / LINE_SIZE));
  const auto begin = std::chrono::steady_clock::now();
  log.writer.reset();
  const auto took = std::chrono::steady_clock::now() - begin;
  EXPECT_GE(took, std::chrono::milliseconds(LogWriter::FLUSH_MILLISECONDS - 10));
  EXPECT_LT(took, std::chrono::milliseconds(LogWriter::FLUSH_MILLISECONDS + 1000));
}

/// Ends a log while somebody reads it, not in the loop, which runs no more.
struct LastReading {
  LastReading(Kind kind, int count, const std::function<std::string(Log&)>& read) {
    using Clock = std::chrono::steady_clock;
    Log log(kind);
    Write(0, count);
    const auto begin = Clock::now();
    std::thread reader([&] {
      for (auto last = Clock::now();
           text.size() < static_cast<std::size_t>(count * LINE_SIZE) && log.AwaitText();) {
        longestPause = std::max(longestPause, Clock::now() - last);
        text += read(log);
        last = Clock::now();
      }
    });
    log.writer.reset();
    took = Clock::now() - begin;
    reader.join();
  }

  std::string text;
  std::chrono::steady_clock::duration took{};          // the writer, to end
  std::chrono::steady_clock::duration longestPause{};  // in which nothing came, but for the end
};

/// The writer gives up a reader that takes nothing for a time, or that takes too long in all, and on
/// a busy machine this one may look like such a reader. Then the reading shows nothing, and there is
/// another one.
void ExpectAllAtTheEnd(Kind kind, int count, const std::function<std::string(Log&)>& read) {
  constexpr int ATTEMPTS = 10;
  for (int i = 0; i < ATTEMPTS; ++i) {
    const LastReading reading(kind, count, read);
    const bool isJudged =
        reading.longestPause < std::chrono::milliseconds(LogWriter::FLUSH_MILLISECONDS / 2) &&
        reading.took < std::chrono::milliseconds(LogWriter::LONGEST_FLUSH_MILLISECONDS / 2);
    if (reading.text == Lines(0, count)) {
      return;
    }
    ASSERT_FALSE(isJudged) << reading.text.size() << " bytes have come";
  }
  FAIL() << "nothing was shown in " << ATTEMPTS << " attempts";
}

TEST_P(LogWriterOf, WritesTheRestAtTheEnd) {
  ExpectAllAtTheEnd(GetParam(), 2000, [](Log& log) { return log.Read(); });
}

// A pipe holds 64 KiB: the writer goes on each time that the reader comes.
TEST(LogWriterOfAPipe, WaitsAtTheEndForAReaderThatIsSlow) {
  ExpectAllAtTheEnd(Kind::PIPE, 3000, [](Log& log) {
    const std::string text = log.ReadALittle();
    std::this_thread::sleep_for(std::chrono::milliseconds(6));
    return text;
  });
}

// On a busy machine it may look like one that takes nothing; then there is another one.
TEST(LogWriterOfAPipe, GivesUpAtTheEndAReaderThatIsFarTooSlow) {
  using Clock = std::chrono::steady_clock;
  constexpr std::chrono::milliseconds LONGEST(LogWriter::LONGEST_FLUSH_MILLISECONDS);
  for (int attempts = 0; attempts < 10; ++attempts) {
    Log log(Kind::PIPE);
    Write(0, static_cast<int>(LogWriter::LIMIT / 2 / LINE_SIZE));
    std::atomic<bool> isOver = false;
    Clock::duration longestPause{};
    std::thread reader([&] {
      for (auto last = Clock::now(); !isOver; std::this_thread::sleep_for(LONGEST / 40)) {
        log.ReadALittle();
        longestPause = std::max(longestPause, Clock::now() - last);
        last = Clock::now();
      }
    });
    const auto begin = Clock::now();
    log.writer.reset();
    const auto took = Clock::now() - begin;
    isOver = true;
    reader.join();
    EXPECT_LT(took, LONGEST + std::chrono::seconds(3));
    if (took >= LONGEST - std::chrono::milliseconds(10)) {
      return;
    }
    ASSERT_GT(longestPause, std::chrono::milliseconds(LogWriter::FLUSH_MILLISECONDS / 2));
  }
  FAIL() << "no reader came often enough";
}

INSTANTIATE_TEST_SUITE_P(All, LogWriterOf,
                         testing::Values(Kind::PIPE, Kind::SOCKET, Kind::TERMINAL,
                                         Kind::PIPE_OF_ANOTHER));

// What follows begins a line of its own.
TEST(LogWriterOfAPipe, CutsAnAssertionThatIsTooLong) {
  Log log(Kind::PIPE);
  const std::string expression(600, 'x');
  Tarsel::OnAssert(expression.c_str(), "file.cpp", 7);
  EXPECT_EQ(log.Read(), ("Assertion failed: " + expression).substr(0, 510) + "\n");
}

// The clock stands still.
const LogFormat FULL(LogFormat::Kind::FULL, [] { return std::timespec{1795342500, 5000000}; });

TEST(LogWriterOfAPipe, WritesEachLineWithItsPrefix) {
  setenv("TZ", "UTC0", 1);
  Log log(Kind::PIPE, FULL);
  Tarsel::TRACE("one\ntwo\n");
  Tarsel::TRACE(0, "without an end");
  logging::LogAs(logging::Severity::WARNING, "look");
  logging::LogAs(logging::Severity::ERROR, "at it");
  Tarsel::TRACE("again\n");
  Tarsel::OnAssert("a == b", "file.cpp", 7);
  const std::string time = "2026-11-22T10:15:00.005+00:00 ";
  EXPECT_EQ(log.Read(), time + "notice host: one\n" + time + "notice host: two\n" + time +
                            "error host: without an end\n" + time + "warning host: look\n" + time +
                            "error host: at it\n" + time + "notice host: again\n" + time +
                            "error host: Assertion failed: a == b (file.cpp:7)\n");
}

TEST(LogWriterOfAPipe, TellsWhatWasLostWithAPrefix) {
  constexpr int COUNT = static_cast<int>(LogWriter::LIMIT * 2 / LINE_SIZE);
  setenv("TZ", "UTC0", 1);
  Log log(Kind::PIPE, FULL);
  Write(0, COUNT);
  log.Turn();
  const std::string lost = " lines of the log were lost: their reader had stopped\n";
  const std::string text = log.ReadUntil(lost);
  ASSERT_THAT(text, EndsWith(lost));
  const std::string line = text.substr(text.rfind('\n', text.size() - 2) + 1);
  EXPECT_THAT(line, testing::MatchesRegex(
                        "2026-11-22T10:15:00.005.00:00 warning host: [0-9]+ lines of .*\n"));
  const auto written = std::count(text.begin(), text.end(), '\n') - 1;
  EXPECT_THAT(line, testing::HasSubstr(": " + std::to_string(COUNT - written) + " lines"));
}

TEST(LogWriterOfAPipe, LeavesTheLogToStandardErrorWhenItEnds) {
  Log log(Kind::PIPE);
  log.writer.reset();
  testing::internal::CaptureStderr();
  Tarsel::TRACE("later\n");
  Tarsel::OnAssert("a == b", "file.cpp", 7);
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "later\nAssertion failed: a == b (file.cpp:7)\n");
  EXPECT_EQ(log.Read(), "");
}

// What the thread has been given is written when the writer ends, not some time after.
TEST(LogWriterOfAnother, HasWrittenAllWhenItEnds) {
  for (int number = 0; number < 20; ++number) {
    Log log(Kind::PIPE_OF_ANOTHER);
    Write(number, number + 1);
    log.writer.reset();
    ASSERT_EQ(log.Read(), Line(number));
  }
}

// Its lines stand where the others that append to it have left off.
TEST(LogWriterOfAFile, AppendsLikeEverybodyElse) {
  const test_support::ScratchFolder folder;
  const int file = open(folder.PathOf("log").c_str(), O_WRONLY | O_CREAT, 0600);
  Log log(Kind::PIPE);
  log.WriteTo(file);
  Tarsel::TRACE("ours\n");
  ASSERT_EQ(write(file, "theirs\n", 7), 7);
  Tarsel::TRACE("ours\n");
  std::ifstream found(folder.PathOf("log"));
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(found), {}), "ours\ntheirs\nours\n");
}

// A log in a file, on a disk that is full for a while.
class LogWriterOnAFullDisk : public testing::Test {
 protected:
  LogWriterOnAFullDisk() {
    m_log.WriteTo(open(m_folder.PathOf("log").c_str(), O_WRONLY | O_CREAT, 0600));
    std::signal(SIGXFSZ, SIG_IGN);
    getrlimit(RLIMIT_FSIZE, &m_before);
  }
  // While the file may have so many bytes.
  void WriteWith(rlim_t bytes, const std::vector<const char*>& lines) const {
    const rlimit small{bytes, m_before.rlim_max};
    setrlimit(RLIMIT_FSIZE, &small);
    for (const char* const line : lines) {
      Tarsel::TRACE("%s\n", line);
    }
    setrlimit(RLIMIT_FSIZE, &m_before);
  }
  std::string Written() const {
    std::ifstream found(m_folder.PathOf("log"));
    return {std::istreambuf_iterator<char>(found), {}};
  }

  const test_support::ScratchFolder m_folder;
  Log m_log{Kind::PIPE};
  rlimit m_before{};
};

TEST_F(LogWriterOnAFullDisk, TellsWhatItHasCost) {
  WriteWith(14, {"whole", "one that is cut", "lost"});
  Tarsel::TRACE("whole again\n");
  EXPECT_EQ(Written(),
            "whole\none that\n2 lines of the log were lost: File too large\nwhole again\n");
  EXPECT_EQ(m_log.writer->CountLost(), 2u);  // told or not
  WriteWith(14, {"lost, too"});
  EXPECT_EQ(m_log.writer->CountLost(), 3u);
}

TEST_F(LogWriterOnAFullDisk, TellsAtTheEndAtTheLatest) {
  WriteWith(6, {"whole", "lost"});
  EXPECT_EQ(Written(), "whole\n");
  m_log.writer.reset();
  EXPECT_EQ(Written(), "whole\n1 lines of the log were lost: File too large\n");
}

TEST(LogWriterOfAFifo, TellsTheNextReaderWhatTheOneBeforeHasLost) {
  const test_support::ScratchFolder folder;
  ASSERT_EQ(mkfifo(folder.PathOf("log").c_str(), 0600), 0);
  const int first = open(folder.PathOf("log").c_str(), O_RDONLY | O_NONBLOCK);
  Log log(Kind::PIPE);
  log.WriteTo(open(folder.PathOf("log").c_str(), O_WRONLY));
  Tarsel::TRACE("one\n");
  char bytes[4096];
  EXPECT_EQ(read(first, bytes, sizeof bytes), 4);
  close(first);
  Tarsel::TRACE("two\n");
  Tarsel::TRACE("three\n");
  log.Turn();
  const int second = open(folder.PathOf("log").c_str(), O_RDONLY | O_NONBLOCK);
  Tarsel::TRACE("four\n");
  const ssize_t count = read(second, bytes, sizeof bytes);
  ASSERT_GT(count, 0);
  EXPECT_EQ(std::string(bytes, static_cast<std::size_t>(count)),
            "2 lines of the log were lost: their reader had stopped\nfour\n");
}

}  // namespace
