// Taking away what the device has left.

#include "device/kernel/clean.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <chrono>

#include "fake_channel.h"

namespace {

using test_kernel::FakeChannel;
using test_kernel::Hop;
using test_kernel::Key;
using testing::HasSubstr;
using Accident = FakeChannel::Accident;

class Clean : public testing::Test {
 protected:
  Clean() {
    for (int i = 0; i < 1300; ++i) {
      fake.tables[Key("10." + std::to_string(i / 200) + "." + std::to_string(i % 200) + ".0/24",
                      40000 + static_cast<unsigned int>(i % 3))][220] = {kernel::OUR_PROTOCOL,
                                                                         Hop("10.1.2.1")};
    }
    fake.tables[Key("2001:db8::/32")][5] = {kernel::OUR_PROTOCOL, Hop("fe80::1")};
    fake.tables[Key("10.9.0.0/16")][220] = {4, Hop("10.1.2.1")};
  }

  test_kernel::FakeKernel fake;
  FakeChannel channel{fake};
};

TEST_F(Clean, RemovesAllOfOursAndNothingElse) {
  const kernel::Cleaned cleaned = kernel::RemoveOurRoutes(channel);
  EXPECT_EQ(1301u, cleaned.removed);
  EXPECT_EQ(0u, cleaned.left);
  EXPECT_EQ("", cleaned.problem);
  EXPECT_EQ(0u, fake.CountOurs());
  EXPECT_EQ(1u, fake.tables[Key("10.9.0.0/16")].size());
}

TEST_F(Clean, TellsWhatRemains) {
  fake.refuse = [](const kernel::RouteKey& key, bool) { return key.isIp6 ? 0 : EPERM; };
  const kernel::Cleaned cleaned = kernel::RemoveOurRoutes(channel);
  EXPECT_EQ(1u, cleaned.removed);
  EXPECT_EQ(1300u, cleaned.left);
  EXPECT_EQ("Operation not permitted", cleaned.reason);
}

TEST_F(Clean, TellsOfStraysThatRemain) {
  fake.refuse = [](const kernel::RouteKey& key, bool) { return key.isIp6 ? EPERM : 0; };
  const kernel::Cleaned cleaned = kernel::RemoveOurRoutes(channel);
  EXPECT_EQ(1300u, cleaned.removed);
  EXPECT_EQ(1u, cleaned.left);
  EXPECT_EQ("Operation not permitted", cleaned.reason);
}

TEST_F(Clean, DoesNotTakeAnErrorForAnEmptyTable) {
  channel.accidents = {Accident::REFUSED};
  EXPECT_EQ("Cannot allocate memory", kernel::RemoveOurRoutes(channel).problem);
  channel.accidents = {Accident::WITHOUT_FAMILY, Accident::NONE};
  EXPECT_EQ("", kernel::RemoveOurRoutes(channel).problem);
}

TEST_F(Clean, GoesOnAfterLostAnswersAndInterruptions) {
  channel.accidents = {Accident::OVERRUN, Accident::NONE, Accident::NONE, Accident::INTERRUPTED};
  const kernel::Cleaned cleaned = kernel::RemoveOurRoutes(channel);
  EXPECT_EQ("", cleaned.problem);
  EXPECT_EQ(0u, cleaned.left);
  EXPECT_EQ(0u, fake.CountOurs());
}

TEST_F(Clean, SaysWhyNothingIsKnown) {
  channel.sendErrors = {EACCES};
  EXPECT_EQ("Permission denied", kernel::RemoveOurRoutes(channel).problem);
  channel.Tell(kernel::Channel::Outcome::FAILED);
  EXPECT_THAT(kernel::RemoveOurRoutes(channel).problem, HasSubstr("has failed"));
}

TEST_F(Clean, GivesUpOnTablesThatChangeAllTheTime) {
  channel.accidents.assign(100, Accident::INTERRUPTED);
  EXPECT_THAT(kernel::RemoveOurRoutes(channel).problem, HasSubstr("change all the time"));
  EXPECT_EQ(40u, channel.dumps) << "of IPv4 and of IPv6, twenty times";
}

TEST_F(Clean, RemovesRulesOfAnyForm) {
  fake.rules.ours = {test_kernel::RuleFor("r2", 20), test_kernel::RuleFor("r2", 0, true),
                     test_kernel::OddRule(5), test_kernel::OddRule(6, true)};
  const kernel::Cleaned cleaned = kernel::RemoveOurRules(channel);
  EXPECT_EQ(4u, cleaned.removed);
  EXPECT_EQ(0u, cleaned.left);
  EXPECT_EQ("", cleaned.problem);
  EXPECT_TRUE(fake.rules.ours.empty());
  EXPECT_EQ(1301u, fake.CountOurs()) << "routes are another matter";
}

TEST_F(Clean, TellsWhichRulesRemain) {
  fake.rules.ours = {test_kernel::RuleFor("r2", 20), test_kernel::RuleFor("r2", 20, true)};
  fake.rules.refuse = [](const kernel::Rule& rule, bool) { return rule.isIp6 ? EPERM : 0; };
  const kernel::Cleaned cleaned = kernel::RemoveOurRules(channel);
  EXPECT_EQ(1u, cleaned.removed);
  EXPECT_EQ(1u, cleaned.left);
  EXPECT_EQ("Operation not permitted", cleaned.reason);
}

// As of a kernel that never answers.
class MuteChannel : public kernel::Channel {
 public:
  int Send(const std::vector<char>&) override { return 0; }
  Outcome Receive(kernel::Received&) override { return Outcome::NOTHING; }
  int GetDescriptor() const override { return m_descriptor.Get(); }

 private:
  const program::OwnedDescriptor m_descriptor{eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC)};
};

TEST_F(Clean, TakesNoMoreTimeThanItMay) {
  MuteChannel mute;
  EXPECT_EQ("it takes too long",
            kernel::RemoveOurRoutes(mute, std::chrono::milliseconds(20)).problem);
  EXPECT_EQ("it takes too long",
            kernel::RemoveOurRoutes(channel, std::chrono::milliseconds(0)).problem);
  EXPECT_EQ(1301u, fake.CountOurs());
}

}  // namespace
