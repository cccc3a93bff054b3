// What becomes of a command that throws, of the walks that a command has begun, and of its effects.
#include "device/console/session.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <uv.h>

#include <functional>
#include <new>
#include <optional>
#include <stdexcept>

#include "tests/support/device_fixture.h"
#include "tests/support/walks_double.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class PlainSession : public console::Session {
 public:
  explicit PlainSession(const console::SessionContext& context) : Session(context, 10) {}
  void Start() override {}
  using Session::Execute;
  using Session::GetResult;
  using Session::HadDifferences;
  using Session::HasSettled;
  using Session::HeedWaiting;
  using Session::Interrupt;
  using Session::WaitForNoEffects;

  std::string output;
  int readies = 0;
  std::vector<std::string> progress;  // that was shown

 protected:
  void Write(std::string_view text) override { output += text; }
  void Flush() override {}
  console::Operator GetOperator() const override { return {"somebody", false}; }
  void Ready() override { ++readies; }
  void ShowProgress(const loop::Progress& shown) override {
    progress.push_back(std::to_string(shown.done) + " of " + std::to_string(shown.total));
  }
};

/// A session whose `reload` does what a test says.
class Session : public test_support::DeviceFixture {
 protected:
  void SetUp() override {
    Start(10);
    uv_loop_init(&m_loop);
    m_settle.emplace(&m_loop,
                     loop::Activity{[this] { return isUnderWay; }, [this] { return progress; }});
    session.emplace(
        console::SessionContext{&m_loop,
                                m_dispatcher,
                                *m_settle,
                                walks,
                                [this](std::size_t most) { return findDifferences(most); },
                                {}});
  }
  void TearDown() override {
    session.reset();
    m_settle.reset();
    uv_run(&m_loop, UV_RUN_DEFAULT);
    uv_loop_close(&m_loop);
  }
  void Turn() { uv_run(&m_loop, UV_RUN_NOWAIT); }
  void TurnUntil(const std::function<bool()>& sign) {
    const std::uint64_t end = uv_hrtime() + 10ull * 1000 * 1000 * 1000;
    while (!sign() && uv_hrtime() < end) {
      uv_run(&m_loop, UV_RUN_ONCE);
    }
  }
  // Carries out a reload of which the folder has passed, and waits until the session is ready
  // again.
  void FinishReload() {
    reload = [] {};
    const int before = session->readies;
    session->Execute("reload");
    asker.end(true);
    TurnUntil([&] { return session->readies > before; });
  }

  static constexpr std::size_t MEGABYTE = 1024 * 1024;

  std::function<void()> reload;
  apply::Asker asker;  // of the last reload
  bool isUnderWay = false;
  loop::Progress progress;
  std::function<std::vector<std::string>(std::size_t most)> findDifferences = [](std::size_t) {
    return std::vector<std::string>();
  };
  test_support::WalksDouble walks;
  std::optional<PlainSession> session;

 private:
  uv_loop_t m_loop;
  apply::Interfaces m_state;
  console::Lab m_lab{Control(), m_state, [](auto) {}};
  console::Dispatcher m_dispatcher{{[this](apply::Asker toldAsker, const apply::ReloadRequest&) {
                                      asker = std::move(toldAsker);
                                      reload();
                                    },
                                    [](const apply::Asker&, bool) {}},
                                   m_lab};
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

TEST_F(Session, AsksForTimeForItsWalks) {
  reload = [] {};
  walks.Begin();
  session->Execute("reload");
  EXPECT_THAT(walks.TakeCalls(), IsEmpty());
  reload = [this] { walks.Begin(); };
  session->Execute("reload");
  EXPECT_THAT(walks.TakeCalls(), ElementsAre("attend"));
}

TEST_F(Session, HoldsItsWalksWhileMoreThanAMegabyteWaits) {
  const unsigned others = walks.Begin();
  reload = [this] {
    walks.Begin();
    walks.Begin();
  };
  session->Execute("reload");
  walks.Begin();
  walks.TakeCalls();
  session->HeedWaiting(MEGABYTE);
  EXPECT_THAT(walks.TakeCalls(), IsEmpty());
  session->HeedWaiting(MEGABYTE + 1);
  EXPECT_THAT(walks.TakeCalls(), ElementsAre("hold 2", "hold 3"));
  walks.Begin(3);
  walks.Begin(others);
  session->HeedWaiting(MEGABYTE + 2);
  EXPECT_THAT(walks.TakeCalls(), ElementsAre("hold 2", "hold 3", "hold 5"));
  session->HeedWaiting(MEGABYTE / 2);
  EXPECT_THAT(walks.TakeCalls(), IsEmpty());
  session->HeedWaiting(MEGABYTE / 2 - 1);
  EXPECT_THAT(walks.TakeCalls(), ElementsAre("go on 2", "go on 3", "go on 5"));
  session->HeedWaiting(0);
  EXPECT_THAT(walks.TakeCalls(), IsEmpty());
}

// A handler may print much before it begins its walk, and from inside the call that begins one.
TEST_F(Session, HoldsAWalkThatHasJustBegun) {
  reload = [this] {
    session->HeedWaiting(MEGABYTE + 1);
    walks.Begin();
    session->HeedWaiting(MEGABYTE + 1);
  };
  session->Execute("reload");
  EXPECT_THAT(walks.TakeCalls(), ElementsAre("hold 1", "attend"));
}

TEST_F(Session, EndsTheWalksOfACommandThatIsInterrupted) {
  const unsigned others = walks.Begin();
  reload = [this] { walks.Begin(); };
  session->Execute("reload");
  walks.Begin(2);
  walks.Begin(others);
  walks.TakeCalls();
  session->Interrupt();
  EXPECT_THAT(walks.TakeCalls(), ElementsAre("end 2", "end 3"));
  Turn();
  EXPECT_EQ(session->readies, 1);
  EXPECT_THAT(walks.TakeCalls(), IsEmpty());
}

TEST_F(Session, EndsTheWalksOfACommandThatThrows) {
  reload = [this] {
    walks.Begin();
    throw std::runtime_error("no such thing");
  };
  session->Execute("reload");
  EXPECT_THAT(walks.TakeCalls(), ElementsAre("attend", "end 1"));
}

TEST_F(Session, EndsItsWalksWithItself) {
  reload = [this] { walks.Begin(); };
  session->Execute("reload");
  walks.TakeCalls();
  session.reset();
  EXPECT_THAT(walks.TakeCalls(), ElementsAre("end 1"));
}

// Whether a walk is held counts for its command only.
TEST_F(Session, BeginsEachCommandUnheld) {
  reload = [this] { walks.Begin(); };
  session->Execute("reload");
  session->HeedWaiting(MEGABYTE + 1);
  session->Interrupt();
  Turn();
  session->Execute("reload");
  walks.TakeCalls();
  session->HeedWaiting(0);
  EXPECT_THAT(walks.TakeCalls(), IsEmpty());
}

TEST_F(Session, TellsWhatTheStackDoesNotHaveOfAReload) {
  std::size_t asked = 0;
  findDifferences = [&asked](std::size_t most) {
    asked = most;
    return std::vector<std::string>{"one", "two", "120 rows"};
  };
  FinishReload();
  EXPECT_EQ(asked, 100u);
  EXPECT_EQ(session->output, "one\ntwo\n120 rows\n");
  EXPECT_EQ(session->GetResult(), console::Result::DIFFERS);
  EXPECT_TRUE(session->HadDifferences());
  EXPECT_TRUE(session->HasSettled());
}

TEST_F(Session, TellsNoDifferencesWhereThereAreNone) {
  FinishReload();
  EXPECT_EQ(session->output, "");
  EXPECT_EQ(session->GetResult(), console::Result::DONE);
  EXPECT_FALSE(session->HadDifferences());
}

// What is under way may still come true.
TEST_F(Session, TellsNoDifferencesOfWhatHasNotSettled) {
  findDifferences = [](std::size_t) { return std::vector<std::string>{"one", "1 row"}; };
  isUnderWay = true;
  reload = [] {};
  session->Execute("reload");
  asker.end(true);
  Turn();
  Turn();
  session->Interrupt();
  TurnUntil([this] { return session->readies > 0; });
  EXPECT_EQ(session->output, "");
  EXPECT_FALSE(session->HasSettled());
  EXPECT_FALSE(session->HadDifferences());
}

TEST_F(Session, ShowsTheProgressOfWhatChangesSomething) {
  progress = {3, 10};
  isUnderWay = true;
  reload = [] {};
  session->Execute("reload");
  TurnUntil([begin = uv_hrtime()] { return uv_hrtime() - begin > 600ull * 1000 * 1000; });
  EXPECT_THAT(session->progress, IsEmpty()) << "there was none";
  progress = {4, 10};
  TurnUntil([this] { return !session->progress.empty(); });
  asker.end(true);
  progress = {4, 12};
  TurnUntil([this] { return session->progress.size() > 1; });
  EXPECT_THAT(session->progress, ElementsAre("4 of 10", "4 of 12"));
  isUnderWay = false;
  session->Interrupt();
  TurnUntil([this] { return session->readies > 0; });
  progress = {5, 12};
  TurnUntil([begin = uv_hrtime()] { return uv_hrtime() - begin > 400ull * 1000 * 1000; });
  EXPECT_EQ(session->progress.size(), 2u) << "nobody waits for that any more";
}

TEST_F(Session, WaitsForNoEffectWhenItNeedNot) {
  findDifferences = [](std::size_t) { return std::vector<std::string>{"one", "1 row"}; };
  isUnderWay = true;
  reload = [] {};
  session->WaitForNoEffects();
  session->Execute("reload");
  Turn();
  Turn();
  EXPECT_EQ(session->readies, 0) << "the folder has not been judged";
  asker.end(true);
  Turn();
  Turn();
  EXPECT_EQ(session->readies, 1);
  EXPECT_TRUE(session->HasSettled());
  EXPECT_EQ(session->GetResult(), console::Result::DONE);
  EXPECT_EQ(session->output, "");
}

}  // namespace
