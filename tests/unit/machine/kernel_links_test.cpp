// The machine's links on their way to the interfaces.
#include "device/machine/kernel_links.h"

#include <gmock/gmock.h>
#include <uv.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "device/loop/loop.h"
#include "tests/unit/kernel/fake_links.h"

namespace {

using test_kernel::FakeLinkChannel;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using vantacored::KernelLinks;

class LinksOfTheKernel : public testing::Test {
 protected:
  void SetUp() override {
    m_fake.Set(2, "eth0");
    m_fake.Set(3, "eth1");
    m_taken.links.taken = {"eth*"};
    m_links.Start(m_taken);
    ASSERT_THAT(m_interfaces.GetLinks(), SizeIs(2));
  }
  void Verify() {
    m_links.Verify([this](std::optional<rows::Verdict> verdict) {
      m_verdicts.push_back(verdict ? std::to_string(verdict->fails) + " failed" : "none");
    });
  }
  void RunUntilSettled() {
    const std::uint64_t end = uv_hrtime() + 10000000000u;
    do {
      uv_run(m_loop.Get(), UV_RUN_NOWAIT);
    } while (!m_links.IsSettled() && uv_hrtime() < end);
    uv_run(m_loop.Get(), UV_RUN_NOWAIT);
    EXPECT_TRUE(m_links.IsSettled());
  }

  loop::Loop m_loop;
  test_kernel::FakeLinks m_fake;
  FakeLinkChannel* m_channel = nullptr;
  keepers::Interfaces m_interfaces;
  documents::Device m_taken;
  KernelLinks m_links{
      m_loop.Get(),
      m_interfaces,
      {[this](kernel::Subscription) {
         auto made = std::make_unique<FakeLinkChannel>(m_fake);
         m_channel = made.get();
         return made;
       },
       [](const std::string&) {}, [](const std::string&) {}, [] {}, [this] { ++m_vrfChanges; }}};
  std::vector<std::string> m_verdicts;
  int m_vrfChanges = 0;
};

TEST_F(LinksOfTheKernel, AreVerifiedByAReadingOfAllOfThem) {
  m_fake.isSilent = true;
  m_fake.Set(4, "eth2");
  Verify();
  EXPECT_THAT(m_verdicts, IsEmpty());
  RunUntilSettled();
  EXPECT_THAT(m_verdicts, ElementsAre("1 failed"));
  EXPECT_THAT(m_interfaces.GetLinks(), SizeIs(3));
}

// A reload may take the links from the device while somebody waits for a verification of them.
TEST_F(LinksOfTheKernel, AreNotWaitedForWhenADocumentTakesThemNoMore) {
  Verify();
  Verify();
  m_links.Apply({});
  EXPECT_THAT(m_verdicts, ElementsAre("none", "none"));
  EXPECT_THAT(m_interfaces.GetLinks(), IsEmpty());
  Verify();
  RunUntilSettled();
  EXPECT_THAT(m_verdicts, ElementsAre("none", "none", "none"));
}

TEST_F(LinksOfTheKernel, AreVerifiedThoughTheyWereTakenAnewMeanwhile) {
  Verify();
  m_links.Apply({});
  m_links.Apply(m_taken);
  Verify();
  RunUntilSettled();
  EXPECT_THAT(m_verdicts, ElementsAre("none", "0 failed"));
  EXPECT_THAT(m_interfaces.GetLinks(), SizeIs(2));
}

TEST_F(LinksOfTheKernel, AVerificationThatCannotReadThemFails) {
  m_channel->accidents = {FakeLinkChannel::Accident::REFUSED};
  Verify();
  RunUntilSettled();
  EXPECT_THAT(m_verdicts, ElementsAre("1 failed"));
}

}  // namespace
