// A machine that lets the daemon have nothing to do with its kernel.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "device/loop/loop.h"
#include "device/machine/kernel_links.h"
#include "device/machine/kernel_routes.h"
#include "device/machine/kernel_rules.h"
#include "tests/support/device_fixture.h"

namespace {

using testing::ElementsAre;

class RefusedKernel : public test_support::DeviceFixture {
 protected:
  static std::unique_ptr<kernel::Channel> Refuse(kernel::Subscription) {
    throw std::runtime_error("no socket");
  }
  template <class Part>
  static std::optional<rows::Verdict> VerdictOf(Part& part) {
    std::optional<rows::Verdict> verdict;
    int ends = 0;
    const auto done = [&](std::optional<rows::Verdict> found) {
      verdict = std::move(found);
      ++ends;
    };
    if constexpr (std::is_same_v<Part, machine::KernelLinks>) {
      part.Verify(done);
    } else {
      part.Verify(10, done);
    }
    EXPECT_EQ(ends, 1);
    return verdict;
  }

  loop::Loop m_turns;
  keepers::Interfaces m_interfaces;
  ports::SoftwareStackPort m_port{stack, [this] { return loop.Now() / 1000; }};
  std::vector<std::string> m_lines;
};

TEST_F(RefusedKernel, ItsLinksFailAVerification) {
  machine::KernelLinks links(
      m_turns.Get(), m_interfaces,
      {Refuse, [](const std::string&) {},
       [this](const std::string& line) { m_lines.push_back(line); }, [] {}, [] {}});
  documents::Device device;
  links.Start(device);
  EXPECT_FALSE(VerdictOf(links));
  device.links.taken = {"eth*"};
  links.Apply(device);
  EXPECT_THAT(m_lines, ElementsAre("No link of the kernel is an interface: no socket"));
  const auto failed = VerdictOf(links);
  ASSERT_TRUE(failed);
  EXPECT_EQ(failed->kind, "links of the kernel");
  EXPECT_EQ(failed->fails, 1u);
  EXPECT_THAT(failed->lines, ElementsAre("kernel: none of its links is taken: no socket"));
  EXPECT_EQ(failed->rows, 0u);
  device.links.taken = {};
  links.Apply(device);
  EXPECT_FALSE(VerdictOf(links)) << "none is to be taken any more";
}

TEST_F(RefusedKernel, ItsRoutesFailAVerification) {
  machine::KernelRoutes routes(
      m_turns.Get(), m_port, stack.GetFacts(), 60,
      {Refuse, [this](const std::string& line) { m_lines.push_back(line); },
       [] { return std::uint64_t{0}; }, [] { return true; }, [] {}});
  documents::Device device;
  routes.Apply(device, {1, 40000, {}});
  EXPECT_FALSE(VerdictOf(routes));
  device.kernel.writesRoutes = true;
  routes.Apply(device, {1, 40000, {}});
  EXPECT_THAT(m_lines, ElementsAre("No routes are written into the kernel: no socket"));
  const auto failed = VerdictOf(routes);
  ASSERT_TRUE(failed);
  EXPECT_EQ(failed->kind, "routes in the kernel");
  EXPECT_EQ(failed->fails, 1u);
  EXPECT_THAT(failed->lines, ElementsAre("kernel: no routes are written: no socket"));
  EXPECT_EQ(failed->rows, 0u);
  device.kernel.writesRoutes = false;
  routes.Apply(device, {1, 40000, {}});
  EXPECT_FALSE(VerdictOf(routes)) << "none are to be written any more";
}

TEST_F(RefusedKernel, ItsRulesFailAVerification) {
  machine::KernelRules rules(m_turns.Get(), m_interfaces,
                             {Refuse, [this](const std::string& line) { m_lines.push_back(line); },
                              [] { return std::uint64_t{0}; }});
  documents::Device device;
  device.kernel.writesRoutes = true;
  rules.Apply(device, {1, 40000, {}});
  EXPECT_FALSE(VerdictOf(rules));
  EXPECT_THAT(m_lines, testing::IsEmpty()) << "none are to be written";
  device.kernel.writesRules = true;
  rules.Apply(device, {1, 40000, {}});
  EXPECT_THAT(m_lines, ElementsAre("No rules are written into the kernel: no socket"));
  const auto failed = VerdictOf(rules);
  ASSERT_TRUE(failed);
  EXPECT_EQ(failed->kind, "rules in the kernel");
  EXPECT_EQ(failed->fails, 1u);
  EXPECT_THAT(failed->lines, ElementsAre("kernel: no rules are written: no socket"));
  EXPECT_EQ(failed->rows, 0u);
  device.kernel.writesRules = false;
  rules.Apply(device, {1, 40000, {}});
  EXPECT_FALSE(VerdictOf(rules)) << "none are to be written any more";
}

}  // namespace
