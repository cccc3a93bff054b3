// Rules of redistribution that a stack was asked for which is gone.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <uv.h>

#include <optional>
#include <string>

#include "device/apply/reloader.h"
#include "device/stack/stack_control.h"
#include "tests/support/device_fixture.h"
#include "tests/support/reported_lines.h"
#include "tests/support/scratch_folder.h"
#include "tests/support/stack_activity.h"
#include "vantacore/dc_rtm_mgr.h"

namespace {

using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

class RestartedRules : public test_support::DeviceFixture {
 protected:
  RestartedRules() {
    uv_loop_init(&m_loop);
    m_answers.emplace(&m_loop, test_support::ActivityOf(stack));
    const auto plainly = [](const apply::Askers&, const std::function<void()>& work) { work(); };
    m_reloader.emplace(m_folder, m_interfaces, *m_answers,
                       apply::ReloadHooks{reported.report, plainly, [] {}});
    m_files.Write("device.json", "{\"default_vlan\": 10}");
  }
  ~RestartedRules() override {
    m_reloader.reset();
    m_answers.reset();
    uv_run(&m_loop, UV_RUN_DEFAULT);
    uv_loop_close(&m_loop);
  }

  void WriteVlan(const std::string& members) {
    m_files.Write("vlans.json", "{\"VLAN_CONFIGURATIONS\": {\"a\": {\"vid\": 10" + members + "}}}");
  }

  uv_loop_t m_loop;
  test_support::ScratchFolder m_files;
  test_support::ReportedLines reported;
  documents::ConfigFolder m_folder{m_files.Path(), reported.report};
  apply::Interfaces m_interfaces;
  std::optional<loop::SettledWait> m_answers;
  std::optional<apply::Reloader> m_reloader;
};

// A protocol that is disabled while it is not ready keeps its rules in the stack. The stack that comes
// next does not have them, so it must not be asked for their withdrawal later.
TEST_F(RestartedRules, AreNotWithdrawnFromAStackThatNeverHadThem) {
  WriteVlan(R"(, "RIPV2": {"enabled": true}, "REDISTRIBUTION": {"rip": false})");
  m_reloader->Read();
  Start(10);
  m_reloader->Start();
  ASSERT_TRUE(Settle());
  ASSERT_THAT(TakeCalls(), Contains(HasSubstr("redist(1, 1, 196608, 524288, 10, 0)")));
  Tarsel::DcRtmMgr::GetInstance()->DeleteRtmConfig(10);
  WriteVlan("");
  m_reloader->Reload();
  ASSERT_TRUE(Settle());
  ASSERT_THAT(m_reloader->GetRedistribution().GetAsked(), Not(IsEmpty()));

  Control().Restart();
  m_reloader->BringBack();
  ASSERT_TRUE(Settle());
  EXPECT_THAT(m_reloader->GetRedistribution().GetAsked(), IsEmpty());
  TakeCalls();
  WriteVlan(R"(, "RIPV2": {"enabled": true})");
  m_reloader->Reload();
  ASSERT_TRUE(Settle());
  EXPECT_THAT(TakeCalls(), Not(Contains(HasSubstr("redist"))));
}

}  // namespace
