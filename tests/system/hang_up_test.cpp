// SIGHUP at any moment of a daemon's start.
#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdint>
#include <fstream>

#include "client_fixture.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr const char* RELOADED = "The longest turn of the event loop took ";

// What a process does with SIGHUP for the moment.
struct State {
  bool isHeld = false;     // it alone: the event loop blocks all signals now and then
  bool isHandled = false;  // there is a handler
};

State ReadState(const std::string& process) {
  const std::uint64_t bit = 1U << (SIGHUP - 1);
  State state;
  std::ifstream status("/proc/" + process + "/status");
  for (std::string name, value; status >> name && std::getline(status, value);) {
    if (name == "SigBlk:") {
      state.isHeld = std::stoull(value, nullptr, 16) == bit;
    } else if (name == "SigCgt:") {
      state.isHandled = (std::stoull(value, nullptr, 16) & bit) != 0;
    }
  }
  return state;
}

class HangUp : public system_test::Client {
 protected:
  static constexpr std::chrono::seconds PATIENCE{10};

  void Start() {
    place.Write("process", "");
    daemon = std::make_unique<system_test::DaemonProcess>(
        system_test::Arguments{"--config", folder.Path(), "--daemon", "--socket", path, "--log",
                               "5", "--tick-us", "100"},
        system_test::DaemonProcess::PIPES,
        "sh;-c;echo $$ >'" + place.PathOf("process") + "'\nexec \"$@\";sh;" VANTACORED_COMMAND);
  }
  std::string AwaitProcess() const {
    std::string number;
    for (const auto limit = Clock::now() + PATIENCE; number.empty() && Clock::now() < limit;) {
      std::ifstream file(place.PathOf("process"));
      std::string line;
      number = std::getline(file, line) && !file.eof() ? line : "";
    }
    return number;
  }
  // Blocked signals are inherited by the program that is started, and wait for it.
  static void Block(int how) {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGHUP);
    pthread_sigmask(how, &signals, nullptr);
  }
  // Sends it until the daemon has its socket, and some more.
  void SendUntilItServes() {
    for (int more = 20; more > 0; more -= HasSocket() ? 1 : 0) {
      daemon->Kill(SIGHUP);
      usleep(50);
    }
  }
  void ExpectReloadAndStop() {
    daemon->ReadErrorsUntil(RELOADED);
    daemon->ReadErrorsUntil("Beside its turns, one document took the library ");
    daemon->Kill(SIGTERM);
    EXPECT_EQ(daemon->Wait(), 0);
  }
};

// Whoever starts the daemon can close the gap before the daemon's own first instruction.
TEST_F(HangUp, IsAReloadWhenItHasWaitedForTheProgram) {
  Block(SIG_BLOCK);
  Start();
  Block(SIG_UNBLOCK);
  daemon->Kill(SIGHUP);
  ExpectReloadAndStop();
}

TEST_F(HangUp, IsAReloadHoweverOftenItComesDuringTheStart) {
  for (int round = 0; round < 20; ++round) {
    Block(SIG_BLOCK);
    Start();
    Block(SIG_UNBLOCK);
    SendUntilItServes();
    ExpectReloadAndStop();
    ASSERT_FALSE(HasFailure()) << round;
  }
}

// The program blocks the signal for less than a millisecond, so not each start is seen in that state.
TEST_F(HangUp, EndsNoProgramThatHasBegun) {
  int seen = 0;
  for (int round = 0; round < 300 && seen < 5; ++round) {
    Start();
    const std::string process = AwaitProcess();
    State state;
    for (const auto limit = Clock::now() + PATIENCE;
         !state.isHeld && !state.isHandled && Clock::now() < limit;) {
      state = ReadState(process);
    }
    daemon->Kill(SIGHUP);
    seen += state.isHeld ? 1 : 0;
    ExpectReloadAndStop();
    ASSERT_FALSE(HasFailure()) << round;
  }
  EXPECT_EQ(seen, 5) << "the program does not hold SIGHUP back";
}

}  // namespace
