// The socket's place: taken, left behind, fought for; and daemons that are hung up on.
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <utility>

#include "client_fixture.h"
#include "signs.h"

namespace {

using system_test::Arguments;
using system_test::Await;
using system_test::Client;
using system_test::DaemonProcess;
using system_test::Result;

TEST_F(Client, FindsNoDaemonAtATakenPlace) {
  StartDaemon();
  const Arguments arguments = {"--config", folder.Path(), "--daemon", "--socket", path};
  const Result second = system_test::RunDaemon(arguments, "");
  EXPECT_EQ(second.status, 1);
  EXPECT_EQ(second.errors, "vantacored: " + path + ": Address already in use\n");
  ExpectHealthyDaemon();
  place.Write("console", "a file");
  EXPECT_EQ(system_test::RunDaemon(arguments, "").status, 1);
}

TEST_F(Client, FindsTheDaemonThatFollowsAKilledOne) {
  StartDaemon();
  struct stat found {};
  ASSERT_EQ(stat(path.c_str(), &found), 0);
  EXPECT_EQ(found.st_mode & 0777, 0600u) << "the console is for the daemon's user only";
  daemon->Kill(SIGKILL);
  daemon->Wait();
  StartDaemon();
  ExpectHealthyDaemon();
}

TEST_F(Client, KeepsTheDaemonThatTookThePlaceOfAnother) {
  StartDaemon();
  const std::unique_ptr<DaemonProcess> first = std::move(daemon);
  ASSERT_EQ(unlink(path.c_str()), 0);
  StartDaemon();
  first->Kill(SIGTERM);
  EXPECT_EQ(first->Wait(), 0);
  ExpectHealthyDaemon();
}

TEST_F(Client, FindsNoDaemonWhileAnotherTakesAPlaceInTheFolder) {
  const int busy = open(place.Path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  ASSERT_EQ(flock(busy, LOCK_EX), 0);
  BeginDaemon();
  // The daemon opens the folder to lock it, and sleeps after each attempt that fails.
  unsigned long begin = 0;
  Await("the daemon in the folder", [&] {
    begin = system_test::CountSleeps(daemon->Id());
    return HasSocket() || (system_test::HasOpen(daemon->Id(), place.Path()) &&
                           system_test::IsAsleep(daemon->Id()));
  });
  Await("ten attempts",
        [&] { return HasSocket() || system_test::CountSleeps(daemon->Id()) >= begin + 10; });
  EXPECT_FALSE(HasSocket());
  close(busy);
  AwaitDaemon();
  ExpectHealthyDaemon();
}

TEST_F(Client, FindsTheDaemonInAFolderThatSomebodyElseKeepsLocked) {
  const int busy = open(place.Path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  ASSERT_EQ(flock(busy, LOCK_EX), 0);
  BeginDaemon();
  AwaitDaemon();
  EXPECT_TRUE(HasSocket());
  close(busy);
  ExpectHealthyDaemon();
}

TEST_F(Client, FindsTheDaemonThatWasHungUpOnBeforeItHadStarted) {
  folder.Write("vlans.json", WithRoutes(20000));
  BeginDaemon("10");
  AwaitSocket();
  daemon->Kill(SIGHUP);
  EXPECT_EQ(RunWhenHeard({"--timeout", "30", "vrf", "10"}).status, 0);
  daemon->Kill(SIGTERM);
  EXPECT_EQ(daemon->Wait(), 0);
}

TEST_F(Client, WaitsForNoReloadThatAnotherHangUpAskedFor) {
  folder.Write("vlans.json", WithRoutes(20000));
  StartDaemon("10");
  folder.Write("remote/broken.json",
               WithRoutes(20000) + "{");  // each reload reads it up to its end
  for (int i = 0; i < 20; ++i) {
    daemon->KillAndAwaitDelivery(SIGHUP);
  }
  EXPECT_EQ(Run({"--timeout", "30", "vrf", "10"}).status, 0);
  daemon->ReadErrorsUntil("broken.json:");
  daemon->Kill(SIGTERM);
  EXPECT_EQ(daemon->Wait(), 0);
  int reloads = 0;
  for (std::size_t at = 0; (at = daemon->Errors().find("broken.json:", at)) != std::string::npos;
       ++at) {
    ++reloads;
  }
  EXPECT_GT(reloads, 0);
  EXPECT_LT(reloads, 10);
}

}  // namespace
