#include "device/loop/line_reader.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>
#include <uv.h>

#include <cerrno>
#include <vector>

#include "tests/support/scratch_folder.h"

namespace {

using testing::ElementsAre;

// Reads on until the end of the input, on a loop of its own.
std::vector<std::string> ReadAll(int fd, bool isToFail = false) {
  uv_loop_t loop;
  uv_loop_init(&loop);
  std::vector<std::string> lines;
  {
    loop::LineReader reader(&loop, fd);
    bool isAtEnd = false;
    while (!isAtEnd) {
      bool isAnswered = false;
      reader.Next([&](const std::optional<std::string>& line) {
        isAnswered = true;
        isAtEnd = !line;
        if (line) {
          lines.push_back(*line);
        }
      });
      while (!isAnswered) {
        uv_run(&loop, UV_RUN_ONCE);
      }
    }
    EXPECT_EQ(reader.HasFailed(), isToFail);
  }
  uv_run(&loop, UV_RUN_DEFAULT);
  uv_loop_close(&loop);
  return lines;
}

std::vector<std::string> ReadPiped(const std::string& text) {
  int ends[2];
  EXPECT_EQ(pipe(ends), 0);
  EXPECT_EQ(write(ends[1], text.data(), text.size()), static_cast<ssize_t>(text.size()));
  close(ends[1]);
  const auto lines = ReadAll(ends[0]);
  close(ends[0]);
  return lines;
}

std::vector<std::string> ReadFile(const std::string& text) {
  test_support::ScratchFolder folder;
  folder.Write("lines", text);
  const int fd = open(folder.PathOf("lines").c_str(), O_RDONLY);
  const auto lines = ReadAll(fd);
  close(fd);
  return lines;
}

TEST(LineReader, SplitsWhatAPipeDelivers) {
  EXPECT_THAT(ReadPiped("one\n\ntwo words\n"), ElementsAre("one", "", "two words"));
}

TEST(LineReader, SplitsAFile) {
  EXPECT_THAT(ReadFile("one\n\ntwo words\n"), ElementsAre("one", "", "two words"));
}

TEST(LineReader, TakesALastLineWithoutItsEnd) {
  EXPECT_THAT(ReadPiped("one\ntwo"), ElementsAre("one", "two"));
  EXPECT_THAT(ReadFile("one\ntwo"), ElementsAre("one", "two"));
}

TEST(LineReader, EndsWithAnEmptyInput) {
  EXPECT_TRUE(ReadPiped("").empty());
  const int fd = open("/dev/null", O_RDONLY);
  EXPECT_TRUE(ReadAll(fd).empty());
  close(fd);
}

// A read that finds the end does not set errno, which may still say what an earlier call came to.
TEST(LineReader, EndsWhateverErrnoSaid) {
  uv_loop_t loop;
  uv_loop_init(&loop);
  const int fd = open("/dev/null", O_RDONLY);
  int ends = 0;
  {
    loop::LineReader reader(&loop, fd);
    reader.Next([&](const std::optional<std::string>& line) { ends += line ? 0 : 1; });
    for (int turn = 0; turn < 10; ++turn) {
      errno = EAGAIN;
      uv_run(&loop, UV_RUN_NOWAIT);
    }
    EXPECT_FALSE(reader.HasFailed());
  }
  EXPECT_EQ(ends, 1);
  uv_run(&loop, UV_RUN_DEFAULT);
  uv_loop_close(&loop);
  close(fd);
}

TEST(LineReader, EndsWithADescriptorThatIsNone) { EXPECT_TRUE(ReadAll(-1, true).empty()); }

TEST(LineReader, DropsThePieceOfALineThatAnErrorCuts) {
  int ends[2];
  ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
  ASSERT_EQ(write(ends[0], "x", 1), 1);  // what the other end leaves unread makes its end an error
  ASSERT_EQ(write(ends[1], "vrf 20\nvrf 1", 12), 12);
  close(ends[1]);
  EXPECT_THAT(ReadAll(ends[0], true), ElementsAre("vrf 20"));
  close(ends[0]);
}

TEST(LineReader, CutsALineThatIsTooLong) {
  const std::string tail = "\nnext\n" + std::string(9000, 'y');
  const auto lines = ReadPiped(std::string(20000, 'x') + tail);
  EXPECT_THAT(lines, ElementsAre(std::string(4096, 'x'), "next", std::string(4096, 'y')));
  EXPECT_EQ(ReadFile(std::string(20000, 'x') + tail), lines);
}

// The first piece is no line yet.
void ExpectALineOf(const std::string& first, const std::string& second, const std::string& whole) {
  uv_loop_t loop;
  uv_loop_init(&loop);
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  std::vector<std::string> lines;
  {
    loop::LineReader reader(&loop, ends[0]);
    reader.Next([&](const std::optional<std::string>& line) { lines.push_back(*line); });
    ASSERT_EQ(write(ends[1], first.data(), first.size()), static_cast<ssize_t>(first.size()));
    uv_run(&loop, UV_RUN_ONCE);
    EXPECT_TRUE(lines.empty());
    ASSERT_EQ(write(ends[1], second.data(), second.size()), static_cast<ssize_t>(second.size()));
    uv_run(&loop, UV_RUN_ONCE);
    EXPECT_THAT(lines, ElementsAre(whole));
  }
  uv_run(&loop, UV_RUN_DEFAULT);
  uv_loop_close(&loop);
  close(ends[0]);
  close(ends[1]);
}

TEST(LineReader, WaitsForALineThatComesInPieces) { ExpectALineOf("he", "lp\n", "help"); }

// The longest line that is not cut.
TEST(LineReader, WaitsForTheEndOfALineThatIsJustNotTooLong) {
  const std::string longest(4096, 'x');
  ExpectALineOf(longest, "\n", longest);
}

TEST(LineReader, LeavesTheDescriptorBlocking) {
  uv_loop_t loop;
  uv_loop_init(&loop);
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  { const loop::LineReader reader(&loop, ends[0]); }
  EXPECT_EQ(fcntl(ends[0], F_GETFL) & O_NONBLOCK, 0);
  uv_run(&loop, UV_RUN_DEFAULT);
  uv_loop_close(&loop);
  close(ends[0]);
  close(ends[1]);
}

}  // namespace
