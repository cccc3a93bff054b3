// What the kernel refuses, as an operator sees it.

#include <gmock/gmock.h>

#include "namespace_fixture.h"

namespace {

using kernel_test::KernelTest;
using testing::HasSubstr;
using testing::Not;
using testing::SizeIs;

class KernelRefusals : public KernelTest {
 protected:
  static constexpr const char* UNREACHABLE =
      "the kernel refuses it: Network is unreachable (Nexthop has invalid gateway), next try ";
};

TEST_F(KernelRefusals, AreToldWhereverOneLooks) {
  WriteRoutes({{"10.9.0.0/16", "10.1.0.2"}}, {{"10.9.0.0/16", "10.1.0.2"}});
  Ip("address delete 10.1.0.1/24 dev r1");
  Start();
  EXPECT_THAT(Verify(), HasSubstr("FAIL  kernel: route 10.9.0.0/16 in table 254 is refused: "));
  // In VLAN 10 it is the last row.
  const std::string rows = Ask("route", "next try");
  EXPECT_THAT(rows, HasSubstr("> 10.9.0.0/16        [1/1]     10.1.0.2        r1 "));
  EXPECT_THAT(rows, HasSubstr("    the kernel refuses it: Network is unreachable"));
  EXPECT_THAT(
      Ask("route json", "]}"),
      HasSubstr(R"("kernel_refusal":{"deletion":false,"reason_text":"Network is unreachable )"
                R"j((Nexthop has invalid gateway)","next_try_seconds":)j"));
  EXPECT_THAT(Ask("explain 10.9.0.0/16", "next try"),
              HasSubstr("Kernel       refuses it: Network is unreachable"));
  EXPECT_THAT(
      Ask("explain json 10.9.0.0/16", "next_try_seconds"),
      HasSubstr(R"("kernel_refusal":{"deletion":false,"reason_text":"Network is unreachable )"));
  EXPECT_THAT(Ask("status", "sessions"),
              HasSubstr(std::string("1 refused\n                10.9.0.0/16 in table 254: ") +
                        UNREACHABLE));
  EXPECT_THAT(Ask("status json", "sessions"),
              HasSubstr(R"("refusals":[{"route":"10.9.0.0/16 in table 254","deletion":false,)"));
  EXPECT_THAT(Ask("route vrf 20\nversion", "console protocol"), Not(HasSubstr("kernel")))
      << "there the same prefix stands";
  Ip("address add 10.1.0.1/24 dev r1");
  AwaitPass();
  EXPECT_THAT(Ask("explain 10.9.0.0/16\nroute\nversion", "console protocol"),
              Not(HasSubstr("ernel")));
  EXPECT_THAT(OurRoutes(), SizeIs(3));
}

// Nothing tells the device that the stranger's route has gone.
TEST_F(KernelRefusals, RetryAsksTheKernelToo) {
  WriteRoutes({{"10.9.0.0/16", "10.1.0.2"}}, {{"10.9.0.0/16", "10.1.0.2"}});
  Ip("route add 10.9.0.0/16 via 10.1.0.2 dev r2 table 40020 proto static metric 220");
  Start();
  EXPECT_THAT(Verify(), HasSubstr("route 10.9.0.0/16 in table 40020 is refused: File exists"));
  EXPECT_THAT(Ask("explain vrf 20 10.9.0.0/16", "next try"),
              HasSubstr("Kernel       refuses it: File exists, "));
  EXPECT_THAT(Ask("explain 10.9.0.0/16\nversion", "console protocol"), Not(HasSubstr("Kernel")));
  EXPECT_THAT(Ask("retry 10.8.0.0/16", "differs"), HasSubstr("No route of 10.8.0.0/16 differs"));
  EXPECT_THAT(Ask("retry 10.9.0.0/16", "of 10.9.0.0/16"),
              HasSubstr("The kernel is asked again now for 1 route of 10.9.0.0/16"));
  EXPECT_THAT(Verify(), HasSubstr("is refused: File exists"));
  Ip("route delete 10.9.0.0/16 table 40020 metric 220");
  EXPECT_THAT(Ask("retry", "1 route"), HasSubstr("The kernel is asked again now for 1 route"));
  AwaitPass();
  EXPECT_THAT(OurRoutes(), SizeIs(3));
}

}  // namespace
