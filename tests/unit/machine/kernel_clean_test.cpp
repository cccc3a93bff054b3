// What vantacored --kernel-clean says, and its exit status.

#include "device/machine/kernel_clean.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <memory>
#include <string>

#include "tests/unit/kernel/fake_channel.h"

namespace {

using test_kernel::FakeChannel;
using test_kernel::Hop;
using test_kernel::Key;
using Accident = FakeChannel::Accident;

class KernelClean : public testing::Test {
 protected:
  KernelClean() {
    fake.tables[Key("10.9.0.0/16")][220] = {kernel::OUR_PROTOCOL, Hop("10.1.2.1")};
    fake.tables[Key("10.8.0.0/16", 40020)][221] = {kernel::OUR_PROTOCOL, Hop("10.1.2.1")};
    fake.tables[Key("10.9.0.0/16")][5] = {4, Hop("10.1.2.1")};
    fake.rules.ours = {test_kernel::RuleFor("r2", 20)};
  }
  /// "0: what it says" with what it complains of behind it.
  std::string Clean() {
    int opened = 0;
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    const int status = machine::CleanKernel([&](kernel::Subscription) {
      auto channel = std::make_unique<FakeChannel>(fake);
      if (opened++ == unreadable) {
        channel->accidents = {Accident::REFUSED};
      }
      return channel;
    });
    const std::string said = testing::internal::GetCapturedStdout();
    return std::to_string(status) + ": " + said + testing::internal::GetCapturedStderr();
  }

  test_kernel::FakeKernel fake;
  int unreadable = -1;  // which channel cannot read what there is
};

TEST_F(KernelClean, TakesOursAndNothingElse) {
  EXPECT_EQ("0: 2 routes and 1 rule removed\n", Clean());
  EXPECT_EQ(0u, fake.CountOurs());
  EXPECT_EQ(1u, fake.tables[Key("10.9.0.0/16")].size());
  EXPECT_EQ("0: 0 routes and 0 rules removed\n", Clean());
}

TEST_F(KernelClean, FailsForRoutesThatRemain) {
  fake.refuse = [](const kernel::RouteKey& key, bool) { return key.table == 40020 ? EPERM : 0; };
  EXPECT_EQ(
      "1: 1 route and 1 rule removed\n"
      "vantacored: the kernel does not give up 1 route: Operation not permitted\n",
      Clean());
}

TEST_F(KernelClean, FailsForRulesThatRemain) {
  fake.rules.refuse = [](const kernel::Rule&, bool) { return EPERM; };
  EXPECT_EQ(
      "1: 2 routes and 0 rules removed\n"
      "vantacored: the kernel does not give up 1 rule: Operation not permitted\n",
      Clean());
}

TEST_F(KernelClean, FailsForWhatItCannotRead) {
  unreadable = 0;
  EXPECT_EQ(0u, Clean().find("1: 0 routes and 1 rule removed\n"
                             "vantacored: what routes remain in the kernel is not known: "));
  unreadable = 1;
  EXPECT_EQ(0u, Clean().find("1: 2 routes and 0 rules removed\n"
                             "vantacored: what rules remain in the kernel is not known: "));
}

}  // namespace
