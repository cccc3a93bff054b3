// A manager at a real socket, on a loop that the test turns; the time that it looks at is the test's.
#include "device/daemon/service_manager.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <uv.h>

#include <cstring>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "device/loop/loop.h"
#include "tests/support/scratch_folder.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using vantacored::ServiceManager;

using Notices = std::vector<std::string>;

class ServiceManagerTest : public testing::Test {
 protected:
  ServiceManagerTest() { Open(); }
  ~ServiceManagerTest() override { close(socket); }

  void Open() {
    socket = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_NONBLOCK, 0);
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
    ASSERT_EQ(bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
  }
  void Begin(const std::string& notifySocket, std::uint64_t watchdogMicroseconds = 0) {
    manager.emplace(turns.Get(), vantacored::ServiceEnvironment{notifySocket, watchdogMicroseconds},
                    ServiceManager::Hooks{[this] {
                                            ++described;
                                            return state;
                                          },
                                          [this] { return now; }});
  }
  // What has come since the last call.
  Notices Take() const {
    Notices notices;
    char bytes[4096];
    for (ssize_t count = 0; (count = recv(socket, bytes, sizeof bytes, 0)) > 0;) {
      notices.emplace_back(bytes, static_cast<std::size_t>(count));
    }
    return notices;
  }
  // In how many milliseconds what is timed comes.
  std::vector<std::uint64_t> Timers() {
    std::vector<std::uint64_t> timers;
    uv_walk(
        turns.Get(),
        [](uv_handle_t* handle, void* found) {
          if (handle->type == UV_TIMER && uv_is_active(handle)) {
            static_cast<std::vector<std::uint64_t>*>(found)->push_back(
                uv_timer_get_due_in(reinterpret_cast<uv_timer_t*>(handle)));
          }
        },
        &timers);
    return timers;
  }
  // What comes up to this notice, of which the loop makes some.
  Notices TurnUntil(const std::string& last) {
    Notices notices;
    const std::uint64_t end = uv_hrtime() + 10000000000;
    while ((notices.empty() || notices.back() != last) && uv_hrtime() < end) {
      uv_run(turns.Get(), UV_RUN_NOWAIT);
      for (std::string& notice : Take()) {
        notices.push_back(std::move(notice));
      }
    }
    EXPECT_FALSE(notices.empty()) << "no " << last;
    return notices;
  }

  const test_support::ScratchFolder place;
  const std::string path = place.PathOf("notices");
  sockaddr_un address{};
  int socket = -1;
  loop::Loop turns;
  ServiceManager::State state{"settled", true};
  std::uint64_t now = 5000;
  int described = 0;
  std::optional<ServiceManager> manager;
};

TEST_F(ServiceManagerTest, LooksAtMostOnceASecondAndTellsWhatIsNew) {
  Begin(path);
  manager->Look();
  manager->Look();
  EXPECT_EQ(described, 1);
  EXPECT_THAT(Take(), ElementsAre("STATUS=settled\n"));
  state.text = "settled; 1 row differs";
  now += 999;
  manager->Look();
  EXPECT_THAT(Take(), IsEmpty());
  now += 1;
  manager->Look();
  EXPECT_THAT(Take(), ElementsAre("STATUS=settled; 1 row differs\n"));
  now += 1000;
  manager->Look();
  EXPECT_EQ(described, 3);
  EXPECT_THAT(Take(), IsEmpty());
}

// Without a turn of the loop that something else would make.
TEST_F(ServiceManagerTest, LooksAgainByItselfWhileSomethingIsUnderWay) {
  state = {"9 requests", false};
  Begin(path);
  manager->Look();
  state = {"settled", true};
  EXPECT_THAT(TurnUntil("STATUS=settled\n"),
              ElementsAre("STATUS=9 requests\n", "STATUS=settled\n"));
  uv_run(turns.Get(), UV_RUN_DEFAULT);  // which ends, as nothing more is to come
  EXPECT_EQ(described, 2);
}

TEST_F(ServiceManagerTest, TellsPhasesAtOnce) {
  Begin(path);
  manager->Started();
  EXPECT_THAT(Take(), ElementsAre("READY=1\nSTATUS=settled\n"));
  manager->ReloadBegins();
  EXPECT_THAT(Take(), ElementsAre(testing::MatchesRegex("RELOADING=1\nMONOTONIC_USEC=[0-9]+\n")));
  state.text = "settled; 2 rows differ";
  manager->ReloadIsOver();
  EXPECT_THAT(Take(), ElementsAre("READY=1\nSTATUS=settled; 2 rows differ\n"));
  manager->Stops();
  EXPECT_THAT(Take(), ElementsAre("STOPPING=1\nSTATUS=stopping\n"));
}

TEST_F(ServiceManagerTest, TakesAReloadForAPartOfTheStart) {
  Begin(path);
  manager->ReloadBegins();
  manager->Started();
  EXPECT_THAT(Take(), IsEmpty());
  manager->ReloadIsOver();
  EXPECT_THAT(Take(), ElementsAre("READY=1\nSTATUS=settled\n"));
}

TEST_F(ServiceManagerTest, IsSilentAboutReloadsBeforeTheStartIsOver) {
  Begin(path);
  manager->ReloadBegins();
  manager->ReloadIsOver();
  EXPECT_THAT(Take(), IsEmpty());
  manager->Started();
  EXPECT_THAT(Take(), ElementsAre("READY=1\nSTATUS=settled\n"));
}

TEST_F(ServiceManagerTest, TellsLaterHowItIsThen) {
  Begin(path);
  while (sendto(socket, "X", 1, 0, reinterpret_cast<const sockaddr*>(&address), sizeof address) >
         0) {
  }
  manager->Started();
  manager->ReloadBegins();
  state.text = "settled; 3 rows differ";
  manager->ReloadIsOver();
  for (const std::string& notice : Take()) {
    EXPECT_EQ(notice, "X");
  }
  EXPECT_THAT(TurnUntil("READY=1\nSTATUS=settled; 3 rows differ\n"),
              ElementsAre("READY=1\nSTATUS=settled; 3 rows differ\n"));
}

TEST_F(ServiceManagerTest, GoesOnWhileTheManagerIsAway) {
  Begin(path);
  close(socket);
  ASSERT_EQ(unlink(path.c_str()), 0);
  manager->Started();
  uv_run(turns.Get(), UV_RUN_DEFAULT);  // which ends: it is not tried again
  Open();
  EXPECT_THAT(Take(), IsEmpty());
  manager->ReloadBegins();
  manager->ReloadIsOver();
  EXPECT_EQ(Take().back(), "READY=1\n");
}

TEST_F(ServiceManagerTest, GivesSignsOfLifeInHalfTheTime) {
  Begin(path, 30000000);
  EXPECT_THAT(Timers(), ElementsAre(15000u));
  Begin(path, 10);
  TurnUntil("WATCHDOG=1\n");
  TurnUntil("WATCHDOG=1\n");
  manager->Started();
  EXPECT_EQ(Take().back(), "READY=1\nSTATUS=settled\n");
}

TEST_F(ServiceManagerTest, CostsNothingWithoutAManager) {
  for (const std::string& nobody : {std::string(), std::string("/"), std::string("notices"),
                                    std::string("vsock:2:9999"), "/" + std::string(200, 'x')}) {
    Begin(nobody, 1000);
    manager->Look();
    manager->Started();
    manager->ReloadBegins();
    manager->ReloadIsOver();
    manager->Stops();
    uv_run(turns.Get(), UV_RUN_DEFAULT);  // which ends: there is no timer
    EXPECT_EQ(described, 0) << nobody;
  }
  EXPECT_THAT(Take(), IsEmpty());
}

TEST(ServiceEnvironment, HasTheWatchdogOfThisProcessOnly) {
  setenv("NOTIFY_SOCKET", "/run/notices", 1);
  setenv("WATCHDOG_USEC", "30000000", 1);
  unsetenv("WATCHDOG_PID");
  EXPECT_EQ(vantacored::ReadServiceEnvironment().notifySocket, "/run/notices");
  EXPECT_EQ(vantacored::ReadServiceEnvironment().watchdogMicroseconds, 30000000u);
  setenv("WATCHDOG_PID", std::to_string(getpid()).c_str(), 1);
  EXPECT_EQ(vantacored::ReadServiceEnvironment().watchdogMicroseconds, 30000000u);
  setenv("WATCHDOG_PID", "1", 1);
  EXPECT_EQ(vantacored::ReadServiceEnvironment().watchdogMicroseconds, 0u);
  unsetenv("WATCHDOG_PID");
  for (const char* const none : {"", "0", "soon", "30s", "-1"}) {
    setenv("WATCHDOG_USEC", none, 1);
    EXPECT_EQ(vantacored::ReadServiceEnvironment().watchdogMicroseconds, 0u) << none;
  }
  unsetenv("WATCHDOG_USEC");
  unsetenv("NOTIFY_SOCKET");
  EXPECT_EQ(vantacored::ReadServiceEnvironment().notifySocket, "");
}

}  // namespace
