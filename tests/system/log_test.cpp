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

// Each reading of the folder logs a complaint of about 100 bytes for each of many routes.
class Log : public system_test::Client {
 protected:
  static constexpr int COMPLAINTS = 20000;
  static constexpr int COMPLAINED = 1;  // what a reload ends with that had complaints
  static constexpr std::chrono::seconds PATIENCE{30};

  Log() {
    EXPECT_EQ(mkfifo(place.PathOf("log").c_str(), 0600), 0);
    m_reader = open(place.PathOf("log").c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    std::string routes;
    for (int i = 0; i < COMPLAINTS; ++i) {
      routes += (i > 0 ? ", \"" : "\"") + Name(i) + "\": 0";
    }
    folder.Write("vlans.json", R"({"VLAN_CONFIGURATIONS": {"a": {"vid": 10, "STATIC_ROUTES": {)" +
                                   routes + "}}}}");
  }
  ~Log() override { close(m_reader); }

  static std::string Name(int number) {
    const std::string digits = std::to_string(number);
    return "a-route-with-a-name-that-is-long" + std::string(6 - digits.size(), '0') + digits;
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
  // How many complaints the text begins with, from the first on, one reading after the other.
  static int CountComplaints(const std::string& text) {
    int count = 0;
    std::size_t at = 0;
    for (std::size_t end; (end = text.find('\n', at)) != std::string::npos; at = end + 1) {
      if (text.substr(at, end - at).find(Name(count % COMPLAINTS)) == std::string::npos) {
        break;
      }
      ++count;
    }
    return count;
  }
  int Reload() const { return Run({"reload"}).status; }

 private:
  int m_reader = -1;
};

TEST_F(Log, LosesAndCountsLinesWhenItsReaderHasStopped) {
  Start();
  AwaitDaemon();
  int readings = 1;
  for (; readings < 8; ++readings) {
    ASSERT_EQ(Reload(), COMPLAINED) << readings;
  }
  EXPECT_EQ(Run({"ip", "protocol", "summary"}).status, 0);

  const std::string lost = " lines of the log were lost: their reader had stopped\n";
  const std::string text = ReadLogUntil(lost);
  ASSERT_THAT(text, HasSubstr(lost));
  const int read = CountComplaints(text);
  EXPECT_GT(read, 0);
  const std::string rest = std::to_string(COMPLAINTS * readings - read) + lost;
  EXPECT_THAT(text, EndsWith("\n" + rest));
  EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), read + 1);
  EXPECT_LT(read, COMPLAINTS * readings);

  ASSERT_EQ(Reload(), COMPLAINED);
  EXPECT_EQ(
      CountComplaints(ReadLogUntil(Name(COMPLAINTS - 1) + ": expected an object with a route\n")),
      COMPLAINTS);
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
  EXPECT_GT(CountComplaints(text), 0);
}

}  // namespace
