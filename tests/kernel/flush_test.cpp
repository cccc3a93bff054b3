// A daemon that takes its routes and rules along when it goes.

#include <gmock/gmock.h>

#include <csignal>

#include "namespace_fixture.h"

namespace {

using kernel_test::KernelTest;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

class KernelFlushOnExit : public KernelTest {
 protected:
  void StartWithRoutes() {
    WriteRoutes({{"10.9.0.0/16", "10.1.0.2"}, {"2001:db8:9::/48", "2001:db8:1::2"}},
                {{"10.9.0.0/16", "10.1.0.9"}});
    Start({"--flush-on-exit"});
    AwaitPass();
    ASSERT_THAT(OurRoutes(), SizeIs(4));
  }
};

TEST_F(KernelFlushOnExit, TakesItsRoutesAndNoOthers) {
  Ip("route add 10.7.0.0/16 via 10.1.0.2 dev r1 proto static metric 220");
  StartWithRoutes();
  daemon->Kill(SIGTERM);
  EXPECT_THAT(daemon->ReadErrorsUntil("Stopped after"),
              HasSubstr("4 routes and 0 rules of this device are taken out of the kernel\n"));
  EXPECT_EQ(0, daemon->Wait());
  EXPECT_THAT(OurRoutes(), IsEmpty());
  EXPECT_THAT(Ip("route show 10.7.0.0/16"), HasSubstr("via 10.1.0.2"));
  daemon.reset();
}

TEST_F(KernelFlushOnExit, DoesSoWhenItsConsoleEnds) {
  StartWithRoutes();
  daemon->Send("quit\n");
  EXPECT_THAT(daemon->ReadErrorsUntil("Stopped after"),
              HasSubstr("4 routes and 0 rules of this device are taken out of the kernel\n"));
  daemon->Wait();
  daemon.reset();
  EXPECT_THAT(OurRoutes(), IsEmpty());
}

TEST_F(KernelFlushOnExit, TakesItsRulesAlong) {
  WriteDevice(R"({"routes": true, "rules": true})");
  StartWithRoutes();
  EXPECT_THAT(Ip("rule show"), HasSubstr("iif r2 lookup 40020"));
  daemon->Kill(SIGTERM);
  EXPECT_THAT(daemon->ReadErrorsUntil("Stopped after"),
              HasSubstr("4 routes and 4 rules of this device are taken out of the kernel\n"));
  daemon->Wait();
  daemon.reset();
  EXPECT_THAT(Ip("rule show") + Ip("-6 rule show"), Not(HasSubstr("r2")));
}

// The next start knows them, as it knows those of any earlier run.
TEST_F(KernelFlushOnExit, CannotWhenItIsKilled) {
  StartWithRoutes();
  Kill();
  EXPECT_THAT(OurRoutes(), SizeIs(4));
  WriteRoutes({{"10.9.0.0/16", "10.1.0.2"}});
  Start({"--flush-on-exit"});
  AwaitPass();
  EXPECT_THAT(OurRoutes(), ElementsAre("10.1.0.0/24 dev r2 table 40020 scope link",
                                       "10.9.0.0/16 via 10.1.0.2 dev r1"));
  End();
  EXPECT_THAT(OurRoutes(), IsEmpty());
}

// What stands is another's, or of a time when this device wrote routes.
TEST_F(KernelFlushOnExit, LeavesEverythingToADeviceThatWritesNoRoutes) {
  WriteDevice(R"({"routes": false})");
  WriteRoutes({{"10.9.0.0/16", "10.1.0.2"}});
  Ip("route add 10.8.0.0/16 via 10.1.0.2 proto 201 metric 220");
  Start({"--flush-on-exit"});
  AwaitPass();
  daemon->Kill(SIGTERM);
  EXPECT_THAT(daemon->ReadErrorsUntil("Stopped after"), Not(HasSubstr("out of the kernel")));
  daemon->Wait();
  daemon.reset();
  EXPECT_THAT(OurRoutes(), SizeIs(1));
}

// They are still on their way when the signal comes: none comes afterwards.
TEST_F(KernelFlushOnExit, TakesWhatIsUnderWay) {
  std::vector<kernel_test::Route> routes;
  for (int i = 0; i < 5000; ++i) {
    routes.push_back(
        {"10." + std::to_string(100 + i / 250) + "." + std::to_string(i % 250) + ".0/24",
         "10.1.0.2"});
  }
  WriteRoutes(routes);
  Start({"--flush-on-exit"});
  for (std::size_t i = 0; i < 1000 && OurRoutes().empty(); ++i) {
  }
  daemon->Kill(SIGTERM);
  daemon->Wait();
  daemon.reset();
  EXPECT_THAT(OurRoutes(), IsEmpty());
}

}  // namespace
