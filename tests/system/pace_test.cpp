// How fast the daemon works, and how still it is when there is nothing to do.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <optional>
#include <string>
#include <thread>

#include "daemon_process.h"
#include "signs.h"
#include "tests/support/scratch_folder.h"

namespace {

using std::chrono::seconds;
using std::chrono::steady_clock;
using system_test::DaemonProcess;
using testing::HasSubstr;

constexpr int MANY_ROUTES = 3000;
const std::string SHOW_PENDING = "ip protocol pending-actions summary\n";
const std::string NOTHING_PENDING = "Pending Item Buckets: 0\n";

class Pace : public testing::Test {
 protected:
  void WriteRoutes(int count) {
    folder.Write("device.json", R"({"default_vlan": 10, "interfaces": [
        {"name": "eth0", "vlan": 10, "index": 3, "ipv4": "10.0.0.1/8"}]})");
    std::string routes;
    for (int i = 0; i < count; ++i) {
      routes += (i == 0 ? "\"r" : ", \"r") + std::to_string(i) +
                R"(": {"interface": "eth0", "netmask": "255.255.255.0", "gateway": "10.0.0.2",
                       "network": "100.)" +
                std::to_string(i / 256) + "." + std::to_string(i % 256) + ".0\"}";
    }
    folder.Write("vlans.json", R"({"VLAN_CONFIGURATIONS": {"a": {"vid": 10, "STATIC_ROUTES": {)" +
                                   routes + "}}}}");
  }
  // With the tick that it has by default.
  void Start() {
    daemon.emplace(system_test::Arguments{"--config", folder.Path(), "--lab"},
                   DaemonProcess::PIPES);
  }
  void ExpectTheEnd() {
    daemon->CloseInput();
    EXPECT_EQ(daemon->Wait(), 0);
  }
  // The session answers when all has settled.
  void AwaitSettled() {
    daemon->Send(SHOW_PENDING);
    EXPECT_THAT(daemon->ReadUntil("\n"), HasSubstr(NOTHING_PENDING));
  }
  unsigned long CountSleepsIn(seconds time) {
    const unsigned long before = system_test::CountSleeps(daemon->Id());
    std::this_thread::sleep_for(time);
    return system_test::CountSleeps(daemon->Id()) - before;
  }

  test_support::ScratchFolder folder;
  std::optional<DaemonProcess> daemon;
};

TEST_F(Pace, ManyRoutesAreThereSoon) {
  WriteRoutes(MANY_ROUTES);
  const auto begin = steady_clock::now();
  Start();
  AwaitSettled();
  EXPECT_LT(steady_clock::now() - begin, seconds(5)) << "31 in a tenth of a second would take ten";
  daemon->Send("rtm route dest 100.11.183.0\n");  // the last one
  EXPECT_THAT(daemon->ReadUntil("End of table"), HasSubstr("static"));
  ExpectTheEnd();
}

TEST_F(Pace, AnIdleDeviceIsWokenFiveTimesASecondAtMost) {
  WriteRoutes(MANY_ROUTES);
  Start();
  AwaitSettled();
  std::this_thread::sleep_for(seconds(2));  // memory is given back
  EXPECT_LE(CountSleepsIn(seconds(3)), 15u);
  ExpectTheEnd();
}

TEST_F(Pace, AStackThatIsHeldIsNotAskedAThousandTimesASecond) {
  WriteRoutes(0);
  Start();
  AwaitSettled();
  daemon->Send("lab stack hold\n");
  WriteRoutes(MANY_ROUTES);
  daemon->Send("reload\n");
  std::this_thread::sleep_for(seconds(1));
  EXPECT_LE(CountSleepsIn(seconds(2)), 1000u) << "the session that waits looks, too";
  daemon->Kill(SIGTERM);
  EXPECT_EQ(daemon->Wait(), 0);
}

}  // namespace
