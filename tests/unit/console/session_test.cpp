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
#include "tests/support/questions_double.h"
#include "tests/support/walks_double.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class PlainSession : public console::Session {
 public:
  explicit PlainSession(const console::SessionContext& context) : Session(context, 10) {}
  void Start() override {}
  using Session::Execute;
  using Session::GetAllSigns;
  using Session::GetResult;
  using Session::HeedWaiting;
  using Session::Interrupt;
  using Session::WaitForNoEffects;

  std::string output;
  int readies = 0;
  int lives = 0;  // commands whose output comes as things happen
  int flushes = 0;
  std::vector<std::string> progress;  // that was shown

 protected:
  void Write(std::string_view text) override { output += text; }
  void Flush() override { ++flushes; }
  void BecomeLive() override { ++lives; }
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
    session.emplace(console::SessionContext{&m_loop,
                                            m_dispatcher,
                                            *m_settle,
                                            walks,
                                            [this](std::size_t most) { return findEffect(most); },
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
  std::function<views::Effect(std::size_t most)> findEffect = [](std::size_t) {
    return views::Effect();
  };
  test_support::WalksDouble walks;
  test_support::QuestionsDouble questions;
  std::optional<PlainSession> session;

 private:
  uv_loop_t m_loop;
  keepers::Interfaces m_state;
  console::Lab m_lab{Control(), m_state, [](auto) {}};
  console::Dispatcher m_dispatcher{{[this](apply::Asker toldAsker, const apply::ReloadRequest&) {
                                      asker = std::move(toldAsker);
                                      reload();
                                    },
                                    [](const apply::Asker&, bool) {}},
                                   &m_lab,
                                   {&questions, {}}};
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

// It may be all that is shown for a long time.
TEST_F(Session, TellsThatATableWaitsForAStackThatIsHeld) {
  const std::string held =
      "The stack is held: the answer comes when it is released (`lab stack release`)\n";
  Reload(R"({"VLAN_CONFIGURATIONS": {"a": {"vid": 10}}})", "vlans.json");
  ASSERT_TRUE(Settle());
  session->Execute("lab stack hold");
  session->Execute("ip protocol summary");
  EXPECT_EQ(session->output.find("held"), std::string::npos) << "that is no table of the stack";
  session->output.clear();
  const int before = session->flushes;
  session->Execute("rtm rib | include connected");
  EXPECT_EQ(session->output, held);
  EXPECT_GT(session->flushes, before);
  session->Execute("rtm rib vrf 77");
  EXPECT_EQ(session->output, held + "VLAN 77 is not present\n");
  session->Execute("lab stack release");
  session->output.clear();
  session->Execute("rtm rib");
  EXPECT_TRUE(Settle());
  EXPECT_EQ(session->output, "End of table\n");
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
  findEffect = [&asked](std::size_t most) {
    asked = most;
    return views::Effect{true, {"one", "two"}, 120, 0, 0};
  };
  FinishReload();
  EXPECT_EQ(asked, 100u);
  EXPECT_EQ(session->output, "one\ntwo\n120 rows are not as wanted\n");
  EXPECT_EQ(session->GetResult(), console::Result::DIFFERS);
  EXPECT_EQ(session->GetAllSigns(), console::DIFFERENT);
}

TEST_F(Session, TellsNoDifferencesWhereThereAreNone) {
  FinishReload();
  EXPECT_EQ(session->output, "");
  EXPECT_EQ(session->GetResult(), console::Result::DONE);
  EXPECT_EQ(session->GetAllSigns() & console::DIFFERENT, 0u);
}

TEST_F(Session, TellsOfOldRoutesThatAreKept) {
  findEffect = [](std::size_t) { return views::Effect{true, {}, 0, 1, 34}; };
  FinishReload();
  EXPECT_EQ(session->output,
            "Kept: 1 old route until another one can replace it, for 34 s at most\n");
  EXPECT_EQ(session->GetResult(), console::Result::DONE);
}

// What is under way may still come true.
TEST_F(Session, TellsNoDifferencesOfWhatHasNotSettled) {
  findEffect = [](std::size_t) { return views::Effect{true, {"one"}, 1, 0, 0}; };
  isUnderWay = true;
  reload = [] {};
  session->Execute("reload");
  asker.end(true);
  Turn();
  Turn();
  session->Interrupt();
  TurnUntil([this] { return session->readies > 0; });
  EXPECT_EQ(session->output, "");
  EXPECT_EQ(session->GetResult(), console::Result::TIMED_OUT);
  EXPECT_EQ(session->GetAllSigns() & console::DIFFERENT, 0u);
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
  findEffect = [](std::size_t) { return views::Effect{true, {"one"}, 1, 0, 0}; };
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
  EXPECT_EQ(session->GetResult(), console::Result::DONE);
  EXPECT_EQ(session->output, "");
}

TEST_F(Session, WritesAViewInPieces) {
  questions.script->pieces = {"one\n", "two\n", "three\n"};
  session->Execute("route");
  EXPECT_EQ(session->output, "") << "the first turn is a later one of the loop";
  TurnUntil([this] { return session->readies > 0; });
  EXPECT_EQ(session->output, "one\ntwo\nthree\n");
  EXPECT_EQ(session->GetResult(), console::Result::DONE);
  EXPECT_EQ(questions.script->views, 0);
  EXPECT_EQ(session->lives, 0);
}

TEST_F(Session, RefusesWithAViewThatIsRefused) {
  questions.script->pieces = {"VLAN 77 is not present\n"};
  questions.script->isRefused = true;
  session->Execute("route vrf 77");
  TurnUntil([this] { return session->readies > 0; });
  EXPECT_EQ(session->output, "VLAN 77 is not present\n");
  EXPECT_EQ(session->GetResult(), console::Result::REFUSED);
  EXPECT_EQ(session->GetAllSigns(), console::NOT_DONE);
}

TEST_F(Session, HoldsAViewWhileMoreThanAMegabyteWaits) {
  questions.script->pieces = {"one\n", "two\n"};
  session->Execute("route");
  session->HeedWaiting(MEGABYTE + 1);
  Turn();
  Turn();
  EXPECT_EQ(session->output, "");
  session->HeedWaiting(MEGABYTE / 2);
  Turn();
  EXPECT_EQ(session->readies, 0);
  session->HeedWaiting(MEGABYTE / 2 - 1);
  TurnUntil([this] { return session->readies > 0; });
  EXPECT_EQ(session->output, "one\ntwo\n");
}

TEST_F(Session, ShowsAStreamAsItComesUntilItIsInterrupted) {
  questions.script->pieces = {"one\n"};
  questions.script->isEnded = false;
  session->Execute("watch");
  EXPECT_EQ(session->lives, 1);
  Turn();
  EXPECT_EQ(session->output, "one\n");
  const int flushes = session->flushes;
  EXPECT_GT(flushes, 0) << "what has come is shown";
  Turn();
  EXPECT_EQ(session->flushes, flushes);
  questions.script->pieces = {"two\n"};
  Turn();
  EXPECT_EQ(session->output, "one\n") << "nobody has been woken";
  questions.script->last->Wake();
  EXPECT_EQ(session->output, "one\n");
  Turn();
  EXPECT_EQ(session->output, "one\ntwo\n");
  EXPECT_EQ(session->readies, 0);
  EXPECT_TRUE(session->Interrupt());
  EXPECT_EQ(questions.script->views, 0);
  Turn();
  EXPECT_EQ(session->readies, 1);
  EXPECT_EQ(session->GetResult(), console::Result::DONE);
}

TEST_F(Session, HoldsAStreamThatHasMoreUntilItsReaderHasRoom) {
  questions.script->pieces = {"one\n"};
  questions.script->isEnded = false;
  session->Execute("watch");
  Turn();
  session->HeedWaiting(console::Session::HOLD_FROM + 1);
  questions.script->pieces = {"two\n"};
  questions.script->last->Wake();
  Turn();
  EXPECT_EQ(session->output, "one\n") << "nobody reads";
  session->HeedWaiting(0);
  Turn();
  EXPECT_EQ(session->output, "one\ntwo\n");
  session->HeedWaiting(console::Session::HOLD_FROM + 1);
  session->HeedWaiting(0);
  questions.script->pieces = {"three\n"};
  Turn();
  EXPECT_EQ(session->output, "one\ntwo\n") << "nobody has been woken";
}

TEST_F(Session, EndsAViewWithItself) {
  questions.script->isEnded = false;
  session->Execute("watch");
  Turn();
  EXPECT_EQ(questions.script->views, 1);
  session.reset();
  EXPECT_EQ(questions.script->views, 0);
}

TEST_F(Session, FiltersAViewAndItsLateLines) {
  questions.script->pieces = {"10.1.0.0/16 a\n10.2", ".0.0/16 b\n", "10.3.0.0/16 a"};
  session->Execute("route | include a");
  TurnUntil([this] { return session->readies > 0; });
  EXPECT_EQ(session->output, "10.1.0.0/16 a\n10.3.0.0/16 a");
  session->output.clear();
  findEffect = [](std::size_t) { return views::Effect{true, {"one"}, 1, 0, 0}; };
  reload = [] {};
  session->Execute("reload | count");
  asker.end(true);
  TurnUntil([this] { return session->readies > 1; });
  EXPECT_EQ(session->output, "2 lines\n");
  EXPECT_EQ(session->GetResult(), console::Result::DIFFERS);
}

// Its effect is part of the document.
TEST_F(Session, WritesTheDocumentOfAReloadWhenItHasSettled) {
  findEffect = [](std::size_t) { return views::Effect{true, {"route x"}, 17, 2, 34}; };
  reload = [] {};
  session->Execute("reload json");
  EXPECT_FALSE(asker.report);
  auto outcome = std::make_shared<apply::Outcome>();
  outcome->hasPassed = true;
  asker.take(outcome);
  asker.end(true);
  TurnUntil([this] { return session->readies > 0; });
  EXPECT_THAT(session->output, testing::StartsWith("{\"view\":\"reload\""));
  EXPECT_THAT(session->output, testing::HasSubstr("\"differences\":[\"route x\"]"));
  EXPECT_THAT(session->output, testing::HasSubstr("\"count\":17"));
  EXPECT_THAT(session->output, testing::HasSubstr("\"kept\":2,\"kept_seconds\":34"));
  EXPECT_THAT(session->output, testing::EndsWith("}\n"));
  EXPECT_EQ(session->GetResult(), console::Result::DIFFERS);
}

TEST_F(Session, WritesTheDocumentOfAReloadThatHasNotPassedWithoutAnEffect) {
  reload = [] {};
  session->Execute("reload json");
  asker.take(std::make_shared<apply::Outcome>());
  asker.end(false);
  TurnUntil([this] { return session->readies > 0; });
  EXPECT_THAT(session->output, testing::HasSubstr("\"effect\":null"));
  EXPECT_EQ(session->GetResult(), console::Result::REFUSED);
}

}  // namespace
