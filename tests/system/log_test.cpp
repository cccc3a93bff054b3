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

// Each new remote document is logged with a line of about 100 bytes for each of many VLANs that do
// not exist, after the warnings that the reading shows of them.
class Log : public system_test::Client {
 protected:
  static constexpr int VLANS = 20000;
  static constexpr int FIRST_VLAN = 10000;
  static constexpr int WARNINGS = 101;  // with the line that counts the rest
  static constexpr int LINES = WARNINGS + VLANS;
  static constexpr std::chrono::seconds PATIENCE{30};

  Log() {
    EXPECT_EQ(mkfifo(place.PathOf("log").c_str(), 0600), 0);
    m_reader = open(place.PathOf("log").c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    WriteDocument();
  }
  ~Log() override { close(m_reader); }

  // Another one each time: what has not changed is not applied again.
  void WriteDocument() {
    std::string entries;
    for (int vlan = FIRST_VLAN; vlan < FIRST_VLAN + VLANS; ++vlan) {
      const std::string number = std::to_string(vlan);
      entries += (entries.empty() ? "\"" : ", \"") + number + R"(": {"vid": )" + number + "}";
    }
    const std::string name = "x-" + std::to_string(++m_documents);
    folder.Write("remote/far.json",
                 "{\"" + name + R"(": 0, "VLAN_CONFIGURATIONS": {)" + entries + "}}");
  }
  // What the line of this number says, of those of one reading.
  static std::string LineOf(int number) {
    if (number < WARNINGS) {
      return number + 1 < WARNINGS ? ": warning: " : " more warnings";
    }
    return " Options with VLAN " + std::to_string(FIRST_VLAN + number - WARNINGS) + " before ";
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
  int Reload() {
    WriteDocument();
    return Run({"reload"}).status;
  }

 private:
  int m_documents = 0;
  int m_reader = -1;
};

TEST_F(Log, LosesAndCountsLinesWhenItsReaderHasStopped) {
  Start();
  AwaitDaemon();
  int readings = 1;
  for (; readings < 8; ++readings) {
    ASSERT_EQ(Reload(), 0) << readings;
  }
  EXPECT_EQ(Run({"ip", "protocol", "summary"}).status, 0);

  const std::string lost = " lines of the log were lost: their reader had stopped\n";
  const std::string text = ReadLogUntil(lost);
  ASSERT_THAT(text, HasSubstr(lost));
  const int read = CountLines(text);
  EXPECT_GT(read, 0);
  const std::string rest = std::to_string(LINES * readings - read) + lost;
  EXPECT_THAT(text, EndsWith("\n" + rest));
  EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), read + 1);
  EXPECT_LT(read, LINES * readings);

  ASSERT_EQ(Reload(), 0);
  EXPECT_EQ(CountLines(ReadLogUntil(LineOf(LINES - 1) + "loading VLAN options... Skipping\n")),
            LINES);
  daemon->Kill(SIGTERM);
  EXPECT_EQ(daemon->Wait(), 0);
}

TEST_F(Log, LetsTheDaemonEndThoughNobodyReadsIt) {
  Start();
  AwaitDaemon();
  const auto begin = std::chrono::steady_clock::now();
  daemon->Kill(SIGTERM);
  EXPECT_EQ(daemon->Wait(), 0);
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(10));
  const std::string text = ReadLogUntil("nothing");
  EXPECT_GT(CountLines(text), 0);
}

}  // namespace
