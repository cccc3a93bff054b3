// What becomes of a command that throws.
#include "device/console/session.h"

#include <gtest/gtest.h>
#include <uv.h>

#include <functional>
#include <new>
#include <optional>
#include <stdexcept>

#include "tests/support/device_fixture.h"
#include "tests/support/stack_activity.h"

namespace {

class PlainSession : public console::Session {
 public:
  explicit PlainSession(const console::SessionContext& context) : Session(context, 10) {}
  void Start() override {}
  using Session::Execute;
  using Session::GetResult;

  std::string output;
  int readies = 0;

 protected:
  void Write(const std::string& text) override { output += text; }
  void Flush() override {}
  void Ready() override { ++readies; }
};

/// A session whose `reload` does what a test says.
class Session : public test_support::DeviceFixture {
 protected:
  void SetUp() override {
    Start(10);
    uv_loop_init(&m_loop);
    m_settle.emplace(&m_loop, test_support::ActivityOf(stack));
    session.emplace(console::SessionContext{&m_loop, m_dispatcher, *m_settle, {}});
  }
  void TearDown() override {
    session.reset();
    m_settle.reset();
    uv_run(&m_loop, UV_RUN_DEFAULT);
    uv_loop_close(&m_loop);
  }
  void Turn() { uv_run(&m_loop, UV_RUN_NOWAIT); }

  std::function<void()> reload;
  std::optional<PlainSession> session;

 private:
  uv_loop_t m_loop;
  apply::Interfaces m_state;
  console::Lab m_lab{Control(), m_state, 1000, [] {}};
  console::Dispatcher m_dispatcher{
      {[this](const apply::Asker&) { reload(); }, [](const apply::Asker&, bool) {}}, m_lab};
  std::optional<loop::SettledWait> m_settle;
};

TEST_F(Session, RefusesACommandThatThrowsAndGoesOn) {
  reload = [] { throw std::runtime_error("no such thing"); };
  session->Execute("reload");
  EXPECT_EQ(session->output, "no such thing\n");
  EXPECT_EQ(session->GetResult(), console::Result::REFUSED);
  Turn();
  EXPECT_EQ(session->readies, 1);
  session->Execute("vrf 77");
  EXPECT_EQ(session->output, "no such thing\nVLAN 77 is not present\n");
}

// The library may have been left in the middle of a change: the daemon ends with it.
TEST_F(Session, PassesALackOfMemoryOn) {
  reload = [] { throw std::bad_alloc(); };
  EXPECT_THROW(session->Execute("reload"), std::bad_alloc);
  EXPECT_EQ(session->output, "");
}

}  // namespace
