// A scraper at the daemon's socket for counters.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <csignal>
#include <cstring>

#include "client_fixture.h"
#include "tests/support/exposition_reader.h"

namespace {

using system_test::Arguments;
using system_test::DaemonProcess;
using testing::HasSubstr;
using testing::StartsWith;

// The whole answer, up to the end of the connection. Waits for half a minute at most.
std::string Ask(const std::string& path, const std::string& request) {
  const int fd = socket(AF_UNIX, SOCK_STREAM, 0);
  const timeval patience{30, 0};
  setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
  std::string answer;
  if (connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    ADD_FAILURE() << path << ": " << std::strerror(errno);
  } else {
    EXPECT_EQ(send(fd, request.data(), request.size(), MSG_NOSIGNAL),
              static_cast<ssize_t>(request.size()));
    char bytes[4096];
    ssize_t count = 0;
    while ((count = recv(fd, bytes, sizeof bytes, 0)) > 0) {
      answer.append(bytes, static_cast<std::size_t>(count));
    }
    EXPECT_EQ(count, 0);
  }
  close(fd);
  return answer;
}

class MetricsSocket : public system_test::Client {
 protected:
  Arguments WithMetrics() const {
    return {"--config", folder.Path(), "--daemon", "--socket", path, "--metrics", metrics};
  }

  const std::string metrics = place.PathOf("metrics");
};

TEST_F(MetricsSocket, TellsTheCountersOfADevice) {
  daemon = std::make_unique<DaemonProcess>(WithMetrics(), DaemonProcess::PIPES);
  EXPECT_EQ(RunWhenHeard({"ip", "protocol", "summary"}).status, 0);  // when it has started
  const std::string answer = Ask(metrics, "GET /metrics HTTP/1.1\r\nHost: device\r\n\r\n");
  EXPECT_THAT(answer, StartsWith("HTTP/1.0 200 OK\r\n"));
  const std::size_t head = answer.find("\r\n\r\n");
  ASSERT_NE(head, std::string::npos);
  const auto read = test_support::ReadMetrics(answer.substr(head + 4));
  EXPECT_EQ(read.problem, "");
  EXPECT_GE(read.samples.at("vantacore_vlans"), 1);
  EXPECT_GE(read.samples.at("vantacore_requests_sent_total"), 1);
  EXPECT_EQ(read.samples.at("vantacore_log_lines_lost_total"), 0);
  EXPECT_THAT(Ask(metrics, "GET / HTTP/1.0\r\n\r\n"), StartsWith("HTTP/1.0 404 "));
  EXPECT_THAT(Ask(metrics, "POST /metrics HTTP/1.0\r\n\r\n"), StartsWith("HTTP/1.0 405 "));
  daemon->Kill(SIGTERM);
  EXPECT_EQ(daemon->Wait(), 0);
  struct stat found {};
  EXPECT_NE(stat(metrics.c_str(), &found), 0);
}

TEST_F(MetricsSocket, EndsADaemonThatCannotHaveIt) {
  place.Write("metrics", "a file");
  const system_test::Result result = system_test::RunDaemon(WithMetrics(), "");
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.errors, "vantacored: " + metrics + ": Address already in use\n");
}

}  // namespace
