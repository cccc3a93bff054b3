// What a look at the machine's switches becomes in a verification.

#include "device/machine/switch_check.h"

#include <gmock/gmock.h>
#include <uv.h>

#include <optional>
#include <vector>

#include "device/loop/loop.h"

namespace {

using testing::ElementsAre;

class Switches : public testing::Test {
 protected:
  void Verify(std::function<kernel::Obstacles()> check, std::size_t mostLines) {
    m_verifier.Verify(std::move(check), mostLines, [this](std::optional<rows::Verdict> verdict) {
      m_verdicts.push_back(std::move(verdict));
    });
  }

  loop::Loop m_loop;
  machine::SwitchVerifier m_verifier{m_loop.Get()};
  std::vector<std::optional<rows::Verdict>> m_verdicts;
};

TEST_F(Switches, AreNotLookedAtWithoutRoutes) {
  Verify({}, 10);
  ASSERT_EQ(1u, m_verdicts.size());
  EXPECT_FALSE(m_verdicts[0]);
}

TEST_F(Switches, FailWithEachThatIsWrong) {
  const auto look = [] { return kernel::Obstacles{7, {"one", "two", "three"}}; };
  Verify(look, 10);
  EXPECT_TRUE(m_verdicts.empty()) << "files are read in the thread pool";
  Verify(look, 2);
  uv_run(m_loop.Get(), UV_RUN_DEFAULT);
  ASSERT_EQ(2u, m_verdicts.size());
  for (const auto& verdict : m_verdicts) {
    ASSERT_TRUE(verdict);
    EXPECT_EQ("forwarding switches", verdict->kind);
    EXPECT_EQ(7u, verdict->rows);
    EXPECT_EQ(3u, verdict->fails);
  }
  const bool isFirst = m_verdicts[0]->lines.size() == 3;
  EXPECT_THAT(m_verdicts[isFirst ? 0 : 1]->lines,
              ElementsAre("kernel: one", "kernel: two", "kernel: three"));
  EXPECT_THAT(m_verdicts[isFirst ? 1 : 0]->lines, ElementsAre("kernel: one", "kernel: two"));
}

TEST_F(Switches, PassWhenNothingIsWrong) {
  Verify([] { return kernel::Obstacles{7, {}}; }, 10);
  uv_run(m_loop.Get(), UV_RUN_DEFAULT);
  ASSERT_EQ(1u, m_verdicts.size());
  ASSERT_TRUE(m_verdicts[0]);
  EXPECT_EQ(0u, m_verdicts[0]->fails);
  EXPECT_EQ(7u, m_verdicts[0]->rows);
}

}  // namespace
