// What a daemon says of the routes and rules that it takes out of the kernel at its end.

#include "device/machine/kernel_flush.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <memory>
#include <stdexcept>
#include <utility>

#include "tests/unit/kernel/fake_channel.h"

namespace {

using test_kernel::FakeChannel;
using test_kernel::Hop;
using test_kernel::Key;

class KernelFlush : public testing::Test {
 protected:
  KernelFlush() {
    fake.tables[Key("10.9.0.0/16")][220] = {kernel::OUR_PROTOCOL, Hop("10.1.2.1")};
    fake.tables[Key("10.8.0.0/16", 40020)][221] = {kernel::OUR_PROTOCOL, Hop("10.1.2.1")};
    fake.tables[Key("10.9.0.0/16")][5] = {4, Hop("10.1.2.1")};
  }
  machine::Flushed Flush() {
    return machine::FlushKernel([this](kernel::Subscription subscription) {
      EXPECT_EQ(kernel::Subscription::NOTHING, subscription);
      auto channel = std::make_unique<FakeChannel>(fake);
      channel->sendErrors = std::exchange(sendErrors, {});
      return channel;
    });
  }

  test_kernel::FakeKernel fake;
  std::vector<int> sendErrors;
};

TEST_F(KernelFlush, TellsHowManyHaveGone) {
  fake.rules.ours = {test_kernel::RuleFor("r2", 20)};
  const machine::Flushed flushed = Flush();
  EXPECT_EQ("2 routes and 1 rule of this device are taken out of the kernel", flushed.line);
  EXPECT_TRUE(flushed.isComplete);
  EXPECT_EQ(0u, fake.CountOurs());
  EXPECT_TRUE(fake.rules.ours.empty());
  EXPECT_EQ(1u, fake.tables[Key("10.9.0.0/16")].size());
  EXPECT_EQ("0 routes and 0 rules of this device are taken out of the kernel", Flush().line);
}

TEST_F(KernelFlush, TellsWhatTheKernelDoesNotGiveUp) {
  fake.refuse = [](const kernel::RouteKey& key, bool) { return key.table == 40020 ? EPERM : 0; };
  fake.rules.ours = {test_kernel::RuleFor("r2", 20)};
  fake.rules.refuse = [](const kernel::Rule&, bool) { return EBUSY; };
  const machine::Flushed flushed = Flush();
  EXPECT_EQ(
      "1 route and 0 rules of this device are taken out of the kernel; it does not give up 1 "
      "route: "
      "Operation not permitted; it does not give up 1 rule: Device or resource busy",
      flushed.line);
  EXPECT_FALSE(flushed.isComplete);
}

TEST_F(KernelFlush, TellsWhyNothingIsKnown) {
  sendErrors = {EACCES};
  fake.rules.ours = {test_kernel::RuleFor("r2", 20)};
  const machine::Flushed flushed = Flush();
  EXPECT_EQ(
      "0 routes and 1 rule of this device are taken out of the kernel; which routes remain is not "
      "known: Permission denied",
      flushed.line);
  EXPECT_FALSE(flushed.isComplete);
}

TEST_F(KernelFlush, TellsThatThereIsNoWayToTheKernel) {
  const machine::Flushed flushed =
      machine::FlushKernel([](kernel::Subscription) -> std::unique_ptr<kernel::Channel> {
        throw std::runtime_error("no socket");
      });
  EXPECT_EQ("What this device has in the kernel remains there: no socket", flushed.line);
  EXPECT_FALSE(flushed.isComplete);
}

}  // namespace
