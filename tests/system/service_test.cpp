// What a service manager hears of the daemon, and the socket that it passes.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <ctime>
#include <sstream>

#include "client_fixture.h"
#include "signs.h"

namespace {

using system_test::Arguments;
using system_test::DaemonProcess;
using system_test::Result;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

constexpr int PATIENCE_MILLISECONDS = 30000;

sockaddr_un SocketAddress(const std::string& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
  return address;
}

// Of CLOCK_MONOTONIC.
std::uint64_t NowMicroseconds() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<std::uint64_t>(now.tv_sec) * 1000000 +
         static_cast<std::uint64_t>(now.tv_nsec) / 1000;
}

// The manager's end: it has what it has been told, line by line.
class Manager {
 public:
  explicit Manager(const std::string& path) : m_fd(socket(AF_UNIX, SOCK_DGRAM, 0)) {
    const sockaddr_un address = SocketAddress(path);
    Bind(address, sizeof address);
  }
  Manager(const sockaddr_un& address, socklen_t size) : m_fd(socket(AF_UNIX, SOCK_DGRAM, 0)) {
    Bind(address, size);
  }
  Manager(const Manager&) = delete;
  Manager& operator=(const Manager&) = delete;
  ~Manager() { close(m_fd); }

  /// Reads until a line begins like this and has this text; returns the rest of that line.
  std::string Await(const std::string& begin, const std::string& text = {}) {
    for (;;) {
      while (m_read < lines.size()) {
        const std::string& line = lines[m_read++];
        if (line.rfind(begin, 0) == 0 && line.find(text) != std::string::npos) {
          return line.substr(begin.size());
        }
      }
      pollfd polled{m_fd, POLLIN, 0};
      if (poll(&polled, 1, PATIENCE_MILLISECONDS) <= 0) {
        ADD_FAILURE() << "waited for " << begin << "; there was " << testing::PrintToString(lines);
        return {};
      }
      Take();
    }
  }
  /// Takes what is there.
  void Drain() {
    for (pollfd polled{m_fd, POLLIN, 0}; poll(&polled, 1, 0) > 0;) {
      Take();
    }
  }
  std::vector<std::string> Phases() {
    Drain();
    std::vector<std::string> phases;
    std::copy_if(lines.begin(), lines.end(), std::back_inserter(phases), [](const auto& line) {
      return line == "READY=1" || line == "RELOADING=1" || line == "STOPPING=1";
    });
    return phases;
  }

  std::vector<std::string> lines;

 private:
  void Bind(const sockaddr_un& address, socklen_t size) {
    EXPECT_EQ(bind(m_fd, reinterpret_cast<const sockaddr*>(&address), size), 0)
        << std::strerror(errno);
  }
  void Take() {
    char bytes[4096];
    const ssize_t count = recv(m_fd, bytes, sizeof bytes, 0);
    std::istringstream message(std::string(bytes, count > 0 ? static_cast<std::size_t>(count) : 0));
    for (std::string line; std::getline(message, line);) {
      lines.push_back(line);
    }
  }

  const int m_fd;
  std::size_t m_read = 0;
};

class Service : public system_test::Client {
 protected:
  // The daemon's command behind settings of its environment, of which `$$` is its own process.
  static std::string Behind(const std::string& settings) {
    return "sh;-c;export " + settings + "\nexec \"$@\";sh;" VANTACORED_COMMAND;
  }
  std::string Notifying() const { return "NOTIFY_SOCKET='" + notices + "'"; }
  void Start(const std::string& settings, const Arguments& more = {}) {
    Arguments arguments = {"--config", folder.Path(), "--tick-us", "100", "--daemon"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    daemon = std::make_unique<DaemonProcess>(arguments, DaemonProcess::PIPES, Behind(settings));
  }
  void Stop() {
    daemon->Kill(SIGTERM);
    EXPECT_EQ(daemon->Wait(), 0);
  }

  const std::string notices = place.PathOf("notices");
};

TEST_F(Service, IsReadyWhenTheConsoleAnswersAndTellsOfItsEnd) {
  Manager manager(notices);
  Start(Notifying(), {"--socket", path});
  manager.Await("READY=1");
  EXPECT_EQ(Run({"ip", "protocol", "summary"}).output, SUMMARY);
  if (!testing::Matches(Contains("STATUS=settled"))(manager.lines)) {
    manager.Await("STATUS=settled");
  }
  Stop();
  EXPECT_THAT(manager.Phases(), ElementsAre("READY=1", "STOPPING=1"));
  EXPECT_EQ(manager.lines.back(), "STATUS=stopping");
  EXPECT_THAT(manager.lines, Not(Contains(StartsWith("WATCHDOG"))));
}

TEST_F(Service, IsReadyWithoutASocketToo) {
  Manager manager(notices);
  Start(Notifying());
  manager.Await("READY=1");
  Stop();
  EXPECT_THAT(manager.Phases(), ElementsAre("READY=1", "STOPPING=1"));
}

TEST_F(Service, IsNeverReadyWithoutAConfiguration) {
  folder.Write("vlans.json", "{");
  Manager manager(notices);
  Start(Notifying(), {"--socket", path});
  EXPECT_EQ(daemon->Wait(), 1);
  EXPECT_THAT(manager.Phases(), ElementsAre("STOPPING=1"));
}

TEST_F(Service, TellsWhenAReloadBeginsAndWhenItIsInForce) {
  Manager manager(notices);
  Start(Notifying(), {"--socket", path});
  manager.Await("READY=1");
  const std::uint64_t before = NowMicroseconds();
  folder.Write("vlans.json", WithRoutes(3));
  EXPECT_EQ(Run({"reload", "force"}).status, 0);
  const std::uint64_t after = NowMicroseconds();
  manager.Await("RELOADING=1");
  const std::uint64_t told = std::stoull(manager.Await("MONOTONIC_USEC="));
  EXPECT_GE(told, before);
  EXPECT_LE(told, after);
  manager.Await("READY=1");
  daemon->Kill(SIGHUP);
  manager.Await("RELOADING=1");
  manager.Await("READY=1");
  Stop();
  EXPECT_THAT(manager.Phases(), ElementsAre("READY=1", "RELOADING=1", "READY=1", "RELOADING=1",
                                            "READY=1", "STOPPING=1"));
}

TEST_F(Service, IsReadyAgainAfterARefusedReload) {
  Manager manager(notices);
  Start(Notifying(), {"--socket", path});
  manager.Await("READY=1");
  folder.Write("vlans.json", "{");
  EXPECT_EQ(Run({"reload"}).status, 1);
  manager.Await("RELOADING=1");
  manager.Await("READY=1");
  Stop();
  EXPECT_THAT(manager.Phases(), ElementsAre("READY=1", "RELOADING=1", "READY=1", "STOPPING=1"));
}

// Questions about the folder are no reloads.
TEST_F(Service, TellsHowLongAReloadHasToBeConfirmed) {
  Manager manager(notices);
  Start(Notifying(), {"--socket", path});
  manager.Await("READY=1");
  folder.Write("vlans.json", WithRoutes(3));
  EXPECT_EQ(Run({"diff"}).status, 0);
  EXPECT_EQ(Run({"check"}).status, 0);
  EXPECT_EQ(Run({"reload", "force", "confirm", "3600"}).status, 0);
  manager.Await("RELOADING=1");
  manager.Await("READY=1");
  manager.Await("STATUS=settled; revision 2 is to be confirmed in 3");
  manager.Await("STATUS=settled; revision 2 is to be confirmed in 3");  // it goes on by itself
  EXPECT_EQ(Run({"reload"}).status, 1);
  manager.Await("RELOADING=1");
  manager.Await("READY=1");
  EXPECT_EQ(Run({"undo"}).status, 0);
  manager.Await("RELOADING=1");
  manager.Await("READY=1");
  Stop();
  EXPECT_THAT(manager.Phases(), ElementsAre("READY=1", "RELOADING=1", "READY=1", "RELOADING=1",
                                            "READY=1", "RELOADING=1", "READY=1", "STOPPING=1"));
}

TEST_F(Service, TellsWhatIsUnderWay) {
  Manager manager(notices);
  Start(Notifying(), {"--socket", path});
  manager.Await("READY=1");
  folder.Write("vlans.json", WithRoutes(20000));
  EXPECT_EQ(Run({"--no-wait", "reload", "force"}).status, 0);
  manager.Await("RELOADING=1");
  manager.Await("STATUS=", "requests for routes and rules are open");
  Stop();
}

TEST_F(Service, GivesSignsOfLifeWhileTheLoopTurns) {
  Manager manager(notices);
  Start(Notifying() + " WATCHDOG_USEC=20000 WATCHDOG_PID=$$", {"--socket", path});
  manager.Await("READY=1");
  for (int i = 0; i < 3; ++i) {
    manager.Await("WATCHDOG=1");
  }
  Stop();
}

TEST_F(Service, GivesNoSignsOfLifeThatAreAskedOfAnotherProcess) {
  Manager manager(notices);
  Start(Notifying() + " WATCHDOG_USEC=2000 WATCHDOG_PID=1", {"--socket", path});
  manager.Await("READY=1");
  EXPECT_EQ(Run({"reload"}).status, 0);
  Stop();
  manager.Drain();
  EXPECT_THAT(manager.lines, Not(Contains(StartsWith("WATCHDOG"))));
}

TEST_F(Service, FindsAManagerThatNoFileLeadsTo) {
  const std::string name = "vantacore-test-" + std::to_string(getpid());
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::copy(name.begin(), name.end(), address.sun_path + 1);
  Manager manager(address,
                  static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + name.size()));
  Start("NOTIFY_SOCKET=@" + name, {"--socket", path});
  manager.Await("READY=1");
  Stop();
}

TEST_F(Service, WaitsForNoManagerThatDoesNotRead) {
  Manager manager(notices);
  const int other = socket(AF_UNIX, SOCK_DGRAM | SOCK_NONBLOCK, 0);
  const sockaddr_un address = SocketAddress(notices);
  while (sendto(other, "X=1", 3, 0, reinterpret_cast<const sockaddr*>(&address), sizeof address) >
         0) {
  }
  EXPECT_EQ(errno, EAGAIN);
  close(other);
  Start(Notifying(), {"--socket", path});
  AwaitDaemon();
  manager.Await("READY=1");
  Stop();
  EXPECT_THAT(manager.Phases(), ElementsAre("READY=1", "STOPPING=1"));
}

// The socket that a service manager passes.
class PassedSocket : public Service {
 protected:
  ~PassedSocket() override {
    if (passed >= 0) {
      close(passed);
    }
  }
  // Of this type, with a place in the file system; the daemon inherits it.
  void Make(int type) {
    passed = socket(AF_UNIX, type, 0);
    const sockaddr_un address = SocketAddress(path);
    ASSERT_EQ(bind(passed, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
  }
  void MakeListening() {
    Make(SOCK_STREAM);
    ASSERT_EQ(listen(passed, 8), 0);
  }
  void StartWith(const std::string& settings, const Arguments& more = {}) {
    Start(settings + "\nexec 3<&" + std::to_string(passed), more);
  }
  // What the daemon says that refuses to begin.
  std::string RefusalWith(const std::string& settings) {
    StartWith("LISTEN_PID=$$ " + settings);
    EXPECT_EQ(daemon->Wait(), 1);
    return daemon->Errors();
  }
  bool HasFile(const std::string& file) const {
    struct stat found {};
    return stat(file.c_str(), &found) == 0;
  }

  int passed = -1;
};

TEST_F(PassedSocket, IsTheConsoleAndStaysAtTheEnd) {
  MakeListening();
  const std::string other = place.PathOf("other");
  StartWith("LISTEN_PID=$$ LISTEN_FDS=1 LISTEN_FDNAMES=console", {"--socket", other});
  EXPECT_EQ(Run({"ip", "protocol", "summary"}).output, SUMMARY);
  EXPECT_FALSE(HasFile(other));
  Stop();
  EXPECT_EQ(daemon->Errors(), "");
  EXPECT_TRUE(HasSocket());
  // Who comes while no daemon runs waits for the next one.
  const auto client = Open(DaemonProcess::PIPES, {"ip", "protocol", "summary"});
  StartWith("LISTEN_PID=$$ LISTEN_FDS=1");
  client->ReadUntil(SUMMARY);
  EXPECT_EQ(client->Wait(), 0);
  Stop();
  EXPECT_TRUE(HasSocket());
}

TEST_F(PassedSocket, IsNothingToAProcessThatItWasNotPassedTo) {
  MakeListening();
  const std::string other = place.PathOf("other");
  StartWith("LISTEN_PID=1 LISTEN_FDS=1 " + Notifying(), {"--socket", other});
  system_test::Await("a socket of its own", [&] { return HasFile(other); });
  Stop();
  EXPECT_FALSE(HasFile(other));
}

TEST_F(PassedSocket, IsRefusedWhenItIsNoneForAConsole) {
  MakeListening();
  EXPECT_EQ(RefusalWith("LISTEN_FDS=1 LISTEN_FDNAMES=web"),
            "vantacored: the service manager passes a socket with the name \"web\", expected "
            "\"console\"\n");
  EXPECT_EQ(RefusalWith("LISTEN_FDS=2 LISTEN_FDNAMES=console:console"),
            "vantacored: the service manager passes 2 sockets, expected the one of the console\n");
  EXPECT_EQ(RefusalWith("LISTEN_FDS=many"),
            "vantacored: the service manager passes descriptors, but their number is \"many\"\n");
  EXPECT_TRUE(HasSocket());
}

TEST_F(PassedSocket, IsRefusedWhenItDoesNotListen) {
  Make(SOCK_STREAM);
  EXPECT_EQ(RefusalWith("LISTEN_FDS=1"),
            "vantacored: the service manager passes a socket for the console that does not "
            "listen\n");
}

TEST_F(PassedSocket, IsRefusedWhenItIsOfAnotherType) {
  const std::string refusal =
      "vantacored: the service manager passes no stream socket of the file system for the "
      "console\n";
  Make(SOCK_DGRAM);
  EXPECT_EQ(RefusalWith("LISTEN_FDS=1"), refusal);
  close(passed);
  passed = socket(AF_INET, SOCK_STREAM, 0);
  ASSERT_EQ(listen(passed, 8), 0);
  EXPECT_EQ(RefusalWith("LISTEN_FDS=1"), refusal);
  close(passed);
  passed = open("/dev/null", O_RDWR);
  EXPECT_EQ(RefusalWith("LISTEN_FDS=1"), refusal);
}

}  // namespace
