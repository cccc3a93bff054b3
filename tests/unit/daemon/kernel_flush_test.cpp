// What a daemon says of the routes that it takes out of the kernel at its end.

#include "device/daemon/kernel_flush.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <memory>
#include <stdexcept>

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
  vantacored::Flushed Flush() {
    return vantacored::FlushKernel([this](kernel::Subscription subscription) {
      EXPECT_EQ(kernel::Subscription::NOTHING, subscription);
      auto channel = std::make_unique<FakeChannel>(fake);
      channel->sendErrors = sendErrors;
      return channel;
    });
  }

  test_kernel::FakeKernel fake;
  std::vector<int> sendErrors;
};

TEST_F(KernelFlush, TellsHowManyRoutesHaveGone) {
  const vantacored::Flushed flushed = Flush();
  EXPECT_EQ("2 routes of this device are taken out of the kernel", flushed.line);
  EXPECT_TRUE(flushed.isComplete);
  EXPECT_EQ(0u, fake.CountOurs());
  EXPECT_EQ(1u, fake.tables[Key("10.9.0.0/16")].size());
  EXPECT_EQ("0 routes of this device are taken out of the kernel", Flush().line);
}

TEST_F(KernelFlush, TellsWhatTheKernelDoesNotGiveUp) {
  fake.refuse = [](const kernel::RouteKey& key, bool) { return key.table == 40020 ? EPERM : 0; };
  const vantacored::Flushed flushed = Flush();
  EXPECT_EQ(
      "1 route of this device is taken out of the kernel; it does not give up 1 route: Operation "
      "not permitted",
      flushed.line);
  EXPECT_FALSE(flushed.isComplete);
}

TEST_F(KernelFlush, TellsWhyNothingIsKnown) {
  sendErrors = {EACCES};
  const vantacored::Flushed flushed = Flush();
  EXPECT_EQ(
      "0 routes of this device are taken out of the kernel; what remains is not known: Permission "
      "denied",
      flushed.line);
  EXPECT_FALSE(flushed.isComplete);
}

TEST_F(KernelFlush, TellsThatThereIsNoWayToTheKernel) {
  const vantacored::Flushed flushed =
      vantacored::FlushKernel([](kernel::Subscription) -> std::unique_ptr<kernel::Channel> {
        throw std::runtime_error("no socket");
      });
  EXPECT_EQ("The routes of this device remain in the kernel: no socket", flushed.line);
  EXPECT_FALSE(flushed.isComplete);
}

}  // namespace
