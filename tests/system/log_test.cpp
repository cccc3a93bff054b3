// The daemon's log, whose reader stops reading.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>

#include <csignal>

#include "client_fixture.h"

namespace {

using system_test::DaemonProcess;
using testing::EndsWith;
using testing::HasSubstr;

// Each reading is logged with a hundred warnings of about 200 bytes, a line that counts the others,
// and one that tells what has changed.
class Log : public system_test::Client {
 protected:
  static constexpr int WARNINGS = 101;  // with the line that counts the rest
  static constexpr int LINES = WARNINGS + 1;
  static constexpr std::chrono::seconds PATIENCE{30};

  Log() {
    EXPECT_EQ(mkfifo(place.PathOf("log").c_str(), 0600), 0);
    m_reader = open(place.PathOf("log").c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    std::string entries;
    for (int vlan = 10000; vlan < 10200; ++vlan) {
      const std::string number = std::to_string(vlan);
      entries += (entries.empty() ? "\"" : ", \"") + number + std::string(80, 'x') +
                 R"(": {"vid": )" + number + "}";
    }
    folder.Write("remote/far.json", R"({"VLAN_CONFIGURATIONS": {)" + entries + "}}");
  }
  ~Log() override { close(m_reader); }

  // What the line of this number says, of those of one reading.
  static std::string LineOf(int number) {
    if (number < WARNINGS) {
      return number + 1 < WARNINGS ? ": warning: " : " more warnings";
    }
    return " at the socket: no change";
  }
  void Start() {
    daemon = std::make_unique<DaemonProcess>(
        system_test::Arguments{"--config", folder.Path(), "--daemon", "--socket", path, "--tick-us",
                               "100"},
        DaemonProcess::PIPES,
        system_test::WithStreams("2>'" + place.PathOf("log") + "'", VANTACORED_COMMAND));
  }
  // Reads on until the text has come, or up to the end of the log.
  std::string ReadLogUntil(const std::string& end) {
    const auto limit = std::chrono::steady_clock::now() + PATIENCE;
    std::string text;
    while (text.find(end) == std::string::npos && std::chrono::steady_clock::now() < limit) {
      pollfd some{m_reader, POLLIN, 0};
      poll(&some, 1, 100);
      char bytes[65536];
      const ssize_t count = read(m_reader, bytes, sizeof bytes);
      if (count == 0) {
        break;
      }
      text.append(bytes, count > 0 ? static_cast<std::size_t>(count) : 0);
    }
    return text;
  }
  // How many of the lines the text begins with, from the first on, one reading after the other.
  static int CountLines(const std::string& text) {
    int count = 0;
    std::size_t at = 0;
    for (std::size_t end; (end = text.find('\n', at)) != std::string::npos; at = end + 1) {
      if (text.substr(at, end - at).find(LineOf(count % LINES)) == std::string::npos) {
        break;
      }
      ++count;
    }
    return count;
  }
  // Reads what the start has said, and has the daemon read its folder so many times again.
  void Reload(int times) {
    ReadLogUntil(" routes\n");
    std::string lines;
    for (int i = 0; i < times; ++i) {
      lines += "reload\n";
    }
    EXPECT_EQ(Run({}, lines).status, 0);
  }

 private:
  int m_reader = -1;
};

TEST_F(Log, LosesAndCountsLinesWhenItsReaderHasStopped) {
  constexpr int READINGS = 600;  // of 20 kilobytes
  Start();
  AwaitDaemon();
  Reload(READINGS);
  const std::string lost = " lines of the log were lost: their reader had stopped\n";
  const std::string text = ReadLogUntil(lost);
  ASSERT_THAT(text, HasSubstr(lost));
  const int read = CountLines(text);
  EXPECT_GT(read, 0);
  const std::string rest = std::to_string(LINES * READINGS - read) + lost;
  EXPECT_THAT(text, EndsWith("\n" + rest));
  EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), read + 1);
  EXPECT_LT(read, LINES * READINGS);

  EXPECT_EQ(Run({"reload"}).status, 0);
  EXPECT_EQ(CountLines(ReadLogUntil(LineOf(LINES - 1) + "\n")), LINES);
  daemon->Kill(SIGTERM);
  EXPECT_EQ(daemon->Wait(), 0);
}

TEST_F(Log, LetsTheDaemonEndThoughNobodyReadsIt) {
  Start();
  AwaitDaemon();
  Reload(20);  // more than a pipe holds
  const auto begin = std::chrono::steady_clock::now();
  daemon->Kill(SIGTERM);
  EXPECT_EQ(daemon->Wait(), 0);
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(10));
  const std::string text = ReadLogUntil("nothing");
  EXPECT_GT(CountLines(text), 0);
}

}  // namespace
