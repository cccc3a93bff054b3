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

using machine::KernelLinks;
using test_kernel::FakeLinkChannel;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

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
      m_verdictLines = verdict ? verdict->lines : std::vector<std::string>();
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
       [](const std::string&) {}, [this](const std::string& line) { m_complaints.push_back(line); },
       [this] { ++m_interfaceChanges; }, [this] { ++m_vrfChanges; }}};
  std::vector<std::string> m_complaints;
  int m_interfaceChanges = 0;
  std::vector<std::string> m_verdicts;
  std::vector<std::string> m_verdictLines;  // of the last one
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
  EXPECT_THAT(m_verdictLines, ElementsAre("kernel: its links could not be read"));
}

TEST_F(LinksOfTheKernel, AreInterfacesWithTheirFlags) {
  m_interfaces.Apply(m_taken, {});
  const auto flagsOf = [this] {
    RunUntilSettled();
    return m_interfaces.Get().at({1, 2}).flags;
  };
  kernel::Link& link = m_fake.links.at(2);
  EXPECT_EQ(0u, flagsOf());
  link.isLoopback = true;
  m_fake.Set(2, "eth0");
  EXPECT_EQ(2u, flagsOf());
  link.isLoopback = false;
  link.isPointToPoint = true;
  m_fake.Set(2, "eth0");
  EXPECT_EQ(4u, flagsOf());
  link.isPointToPoint = false;
  link.isBroadcast = true;
  m_fake.Set(2, "eth0");
  EXPECT_EQ(8u, flagsOf());
  link.isMulticast = true;
  m_fake.Set(2, "eth0");
  EXPECT_EQ(24u, flagsOf());
}

// Whichever came first: a secondary address of a wide scope stands behind a primary one of the link's.
TEST_F(LinksOfTheKernel, AreInterfacesWithTheirPrimaryAddressFirst) {
  m_interfaces.Apply(m_taken, {});
  kernel::LinkAddress ofTheLink = test_kernel::LinkAddressOf("10.1.0.2/24");
  ofTheLink.scope = 253;
  kernel::LinkAddress pointToPoint = test_kernel::LinkAddressOf("10.4.0.1/24");
  pointToPoint.other = test_kernel::LinkAddressOf("10.4.0.2/24").address;
  m_fake.AddAddress(2, test_kernel::LinkAddressOf("10.1.0.3/24", true));
  m_fake.AddAddress(2, ofTheLink);
  m_fake.AddAddress(2, test_kernel::LinkAddressOf("10.2.0.1/16"));
  m_fake.AddAddress(2, test_kernel::LinkAddressOf("10.2.0.1/24"));
  m_fake.AddAddress(2, pointToPoint);
  m_fake.AddAddress(2, test_kernel::LinkAddressOf("2001:db8::2/64"));
  m_fake.AddAddress(2, test_kernel::LinkAddressOf("2001:db8::1/64"));
  RunUntilSettled();
  const documents::Interface& interface = m_interfaces.Get().at({1, 2});
  std::vector<std::string> ip4;
  for (const documents::Ip4Network& network : interface.ip4) {
    ip4.push_back(std::string(network.address.ToString().c_str()) + " " +
                  network.mask.ToString().c_str());
  }
  EXPECT_THAT(ip4, ElementsAre("10.2.0.1 255.255.0.0", "10.4.0.1 255.255.255.255",
                               "10.1.0.2 255.255.255.0", "10.1.0.3 255.255.255.0"));
  ASSERT_THAT(interface.ip6, SizeIs(2));
  EXPECT_TRUE(documents::Ip6PrefixOrder()(interface.ip6[0], interface.ip6[1]));
}

// A name has to go with one link before it comes with another.
TEST_F(LinksOfTheKernel, MaySwapTheirNames) {
  m_interfaces.Apply(m_taken, {});
  m_interfaceChanges = 0;
  std::vector<std::string> actions;
  m_interfaces.SetListener([&actions](const keepers::InterfaceChange& change) {
    const std::string who = change.name + " " + std::to_string(change.key.second);
    if (actions.empty() || actions.back() != who) {
      actions.push_back(who);
    }
  });
  m_fake.Set(2, "eth1");
  m_fake.Set(3, "eth0");
  RunUntilSettled();
  EXPECT_EQ(2, m_interfaceChanges) << "both have gone, and then both have come";
  EXPECT_THAT(actions, ElementsAre("eth0 2", "eth1 3", "eth1 2", "eth0 3"));
  EXPECT_EQ("eth1", m_interfaces.Get().at({1, 2}).name);
  EXPECT_EQ("eth0", m_interfaces.Get().at({1, 3}).name);
  m_interfaces.SetListener({});
}

TEST_F(LinksOfTheKernel, AreToldOfOnlyWhenOneComesOrGoes) {
  m_interfaces.Apply(m_taken, {});
  m_interfaceChanges = 0;
  m_fake.Set(2, "eth0", false);
  RunUntilSettled();
  EXPECT_EQ(0, m_interfaceChanges);
  m_fake.Remove(2);
  RunUntilSettled();
  EXPECT_EQ(1, m_interfaceChanges);
}

// Once, and again when the reason is another or it has been taken meanwhile.
TEST_F(LinksOfTheKernel, ThatAreLeftOutAreToldOf) {
  m_interfaces.Apply(m_taken, {});
  m_fake.Set(4, "eth2.40000");
  RunUntilSettled();
  ASSERT_THAT(m_complaints, SizeIs(1));
  EXPECT_THAT(m_complaints[0], testing::StartsWith("The link eth2.40000 is left out: "));
  m_links.TellProblems();
  m_fake.Set(4, "eth2.40000", false);
  RunUntilSettled();
  EXPECT_THAT(m_complaints, SizeIs(1));
  m_fake.Set(4, "eth2.7");
  RunUntilSettled();
  m_fake.Set(4, "eth2.40000");
  RunUntilSettled();
  EXPECT_THAT(m_complaints, SizeIs(2));
  m_links.Apply({});
  m_links.Apply(m_taken);
  RunUntilSettled();
  EXPECT_THAT(m_complaints, SizeIs(3));
}

}  // namespace
