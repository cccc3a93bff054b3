// What a change of the folder leads to, and when, in the device's own time. The folder and the
// system's news of it are real.
#include "device/daemon/folder_watch.h"

#include <filesystem>
#include <optional>
#include <string>

#include "tests/unit/apply/reloader_fixture.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

constexpr unsigned int QUIET = vantacored::FolderWatch::QUIET_MILLISECONDS;
constexpr unsigned int LOOK = vantacored::FolderWatch::LOOK_MILLISECONDS;

class FolderWatch : public apply_test::ReloaderFixture {
 protected:
  FolderWatch() : ReloaderFixture(Settings{false, PLACE.Path(), 50}) {
    m_watch.emplace(m_turns.Get(), m_files.Path(),
                    vantacored::FolderWatch::Hooks{
                        [this](std::function<void(bool)> end) {
                          ++m_asked;
                          m_beforeReload();
                          const auto ended = [this, end = std::move(end)](bool hasPassed) {
                            m_afterReload();
                            end(hasPassed);
                          };
                          m_reloader->Reload({nullptr, ended, "a change of the folder"},
                                             {false, 0, false, true});
                        },
                        [this] { return m_reloader->GetTrial().has_value(); },
                        [this] { return m_reloader->MakeFolderCheck(); },
                        [this] { return m_reloader->GetHistory().GetUndone(); },
                        [this] { return m_reloader->GetHistory().GetApplied(); },
                        [this](const std::string& line) { m_complaints.push_back(line); }});
    m_turns.AtTurnEnd([this] { m_watch->Look(); });
  }

  void StartWatched(const std::string& entries) {
    WriteVlans(entries);
    m_watch->Start();
    StartWith(entries);
    m_headlines.clear();
    m_watch->Begin();
    Pass(QUIET + 100);  // StartWith has written it once more
    ASSERT_EQ(m_asked, 0u);
  }
  // The device's time, which stands still while the pool works.
  void Pass(unsigned int milliseconds) {
    for (int i = 0; i < 3; ++i) {  // what the system has to tell is told first
      TurnOnly();
    }
    const std::uint64_t until = m_port.Now() + milliseconds;
    ASSERT_TRUE(TurnUntil([&] { return m_port.Now() >= until; }));
  }
  void PassAndApply(unsigned int milliseconds = QUIET + 100) {
    Pass(milliseconds);
    TurnUntilDone();
    ASSERT_TRUE(SettleAll());
  }
  void Undo() {
    m_reloader->Undo({}, 1);
    TurnUntilDone();
    ASSERT_TRUE(SettleAll());
  }
  void ReloadOnTrial() {
    apply::ReloadRequest request;
    request.confirmSeconds = 600;
    Reload({}, request);
    ASSERT_TRUE(m_reloader->GetTrial());
    reported.lines.clear();
  }
  // VLAN 10 with one route.
  static std::string Route(const std::string& gateway) {
    return R"("a": {"vid": 10, "STATIC_ROUTES": {"r": {"interface": "eth0",
      "network": "10.9.0.0", "netmask": "255.255.0.0", "gateway": ")" +
           gateway + R"("}}})";
  }
  static std::string Routes(unsigned int count) {
    std::string routes;
    for (unsigned int i = 0; i < count; ++i) {
      routes += (i == 0 ? "\"r" : ", \"r") + std::to_string(i) +
                R"(": {"interface": "eth0", "network": "10.9.)" + std::to_string(i) +
                R"(.0", "netmask": "255.255.255.0", "gateway": "10.1.2.1"})";
    }
    return R"("a": {"vid": 10, "STATIC_ROUTES": {)" + routes + "}}";
  }
  static std::string Whole(const std::string& entries) {
    return R"({"VLAN_CONFIGURATIONS": {)" + entries + "}}";
  }
  void Replace(const std::string& name, const std::string& text) {
    m_files.Write(".new", text);
    std::filesystem::rename(m_files.PathOf(".new"), m_files.PathOf(name));
  }

  inline static const test_support::ScratchFolder PLACE;
  std::optional<vantacored::FolderWatch> m_watch;
  unsigned int m_asked = 0;
  std::function<void()> m_beforeReload = [] {};
  std::function<void()> m_afterReload = [] {};
  std::vector<std::string> m_complaints;
};

TEST_F(FolderWatch, AChangeIsAppliedTwoSecondsAfterTheLastOne) {
  StartWatched(Route("10.1.2.1"));
  WriteVlans(Route("10.1.2.2"));
  Pass(QUIET - 100);
  EXPECT_EQ(m_asked, 0u);
  WriteVlans(Route("10.1.2.3"));
  Pass(QUIET - 100);
  EXPECT_EQ(m_asked, 0u) << "the folder has not been quiet for so long";
  PassAndApply(200);
  EXPECT_EQ(m_asked, 1u);
  EXPECT_THAT(
      m_headlines,
      ElementsAre(StartsWith("Revision 2, reload by a change of the folder: 1 route added, ")));
  EXPECT_EQ(RequestedRoutes().size(), 1u);
  PassAndApply(LOOK + QUIET + 1000);
  EXPECT_EQ(m_asked, 1u);
  EXPECT_THAT(m_complaints, IsEmpty());
}

TEST_F(FolderWatch, WhatCannotBeAppliedIsToldInOneLineAndOnce) {
  StartWatched(Route("10.1.2.1"));
  m_files.Write("vlans.json", R"({"VLAN_CONFIGURATIONS": {"a": {"vid": "x"}, "b": {"vid": "y"}}})");
  PassAndApply();
  EXPECT_THAT(reported.lines,
              ElementsAre(StartsWith("Refused to a change of the folder: 2 errors; nothing was "
                                     "changed: vlans.json:1:")));
  m_files.Write("notes.txt", "what I wanted to say");
  PassAndApply();
  m_files.Write("vlans.json", R"({"VLAN_CONFIGURATIONS": {"a": {"vid": "x"}, "b": {"vid": "y"}}})");
  PassAndApply();
  PassAndApply(2 * LOOK);
  EXPECT_THAT(reported.lines, SizeIs(1)) << "it says the same as before";
  EXPECT_EQ(m_asked, 1u);
  m_files.Write("vlans.json", "{");
  PassAndApply();
  EXPECT_THAT(reported.lines, SizeIs(2));
  WriteVlans(Route("10.1.2.2"));
  PassAndApply();
  EXPECT_THAT(reported.lines, SizeIs(2));
  EXPECT_THAT(m_headlines, ElementsAre(HasSubstr("reload by a change of the folder: 1 route")));
}

TEST_F(FolderWatch, WarningsOfWhatIsAppliedAreTold) {
  StartWatched(Route("10.1.2.1"));
  WriteVlans(Route("10.99.2.1"));
  PassAndApply();
  EXPECT_THAT(reported.lines, testing::Contains(HasSubstr("warning: ")));
  EXPECT_THAT(m_headlines, SizeIs(1));
}

TEST_F(FolderWatch, TheGuardIsAskedAndItsWordIsOneLine) {
  StartWatched(Routes(30));
  WriteVlans(Route("10.99.2.1"));  // with a warning
  PassAndApply();
  EXPECT_THAT(reported.lines,
              ElementsAre(testing::AllOf(
                  StartsWith("Refused to a change of the folder: "), HasSubstr("30"),
                  HasSubstr("that is more than the guard lets pass; `reload force` applies it"))));
  EXPECT_EQ(RequestedRoutes().size(), 30u);
  PassAndApply(2 * LOOK);
  EXPECT_EQ(m_asked, 1u);
}

TEST_F(FolderWatch, WhatIsInForceAlreadyIsNotAskedFor) {
  StartWatched(Route("10.1.2.1"));
  WriteVlans(Route("10.1.2.2"));
  Reload();
  PassAndApply();
  EXPECT_EQ(m_asked, 0u) << "an operator was quicker";
  WriteVlans(Route("10.1.2.2"));
  PassAndApply();
  EXPECT_EQ(m_asked, 0u);
}

// Somebody writes between the look and the reload, then the first content again.
TEST_F(FolderWatch, WhatAReloadHasReadInItsPlaceIsNotTakenForIt) {
  StartWatched(Route("10.1.2.1"));
  WriteVlans(Route("10.1.2.2"));
  m_beforeReload = [this] { WriteVlans(Route("10.1.2.3")); };
  Pass(QUIET + 100);
  m_beforeReload = [] {};
  TurnUntilDone();
  ASSERT_EQ(m_asked, 1u);
  WriteVlans(Route("10.1.2.2"));
  PassAndApply();
  EXPECT_EQ(m_asked, 2u);
  PassAndApply(2 * LOOK);
  EXPECT_EQ(m_asked, 2u);
  EXPECT_THAT(
      m_headlines,
      ElementsAre(StartsWith("Revision 2, reload by a change of the folder: 1 route added"),
                  StartsWith("Revision 3, reload by a change of the folder: 1 route added")));
}

// Somebody writes the same once more, and the reload meets the file cut off.
TEST_F(FolderWatch, WhatIsThereAgainAfterARefusalIsApplied) {
  StartWatched(Route("10.1.2.1"));
  WriteVlans(Route("10.1.2.2"));
  m_beforeReload = [this] {
    if (m_asked == 1) {
      m_files.Write("vlans.json", "{");
    }
  };
  m_afterReload = [this] {
    if (m_asked == 1) {
      WriteVlans(Route("10.1.2.2"));
    }
  };
  PassAndApply();
  PassAndApply(2 * LOOK);
  EXPECT_EQ(m_asked, 2u);
  EXPECT_THAT(reported.lines, SizeIs(1));
  EXPECT_THAT(
      m_headlines,
      ElementsAre(StartsWith("Revision 2, reload by a change of the folder: 1 route added")));
}

// What is in force is no change, though the look that led to it had met something else.
TEST_F(FolderWatch, WhatAReloadHasReadInItsPlaceIsJudgedOnce) {
  StartWatched(Route("10.1.2.1"));
  WriteVlans(Route("10.1.2.2"));
  m_beforeReload = [this] { WriteVlans(Route("10.1.2.3")); };
  Pass(QUIET + 100);
  m_beforeReload = [] {};
  TurnUntilDone();
  PassAndApply(2 * LOOK);
  EXPECT_EQ(m_asked, 1u);
  EXPECT_THAT(m_headlines, SizeIs(1));
}

TEST_F(FolderWatch, WhatWasUndoneIsNoChange) {
  StartWatched(Route("10.1.2.1"));
  WriteVlans(Route("10.1.2.2"));
  PassAndApply();
  ASSERT_EQ(m_asked, 1u);
  Undo();
  PassAndApply(2 * LOOK);
  WriteVlans(Route("10.1.2.2"));
  m_files.Write("notes.txt", "the same once more");
  PassAndApply();
  EXPECT_EQ(m_asked, 1u);
  WriteVlans(Route("10.1.2.3"));
  PassAndApply();
  EXPECT_EQ(m_asked, 2u);
  EXPECT_THAT(m_headlines.back(), StartsWith("Revision 4, reload by a change of the folder: "));
  WriteVlans(Route("10.1.2.2"));
  PassAndApply();
  EXPECT_EQ(m_asked, 3u) << "something else was in force since";
}

// Whoever writes it again wants it, when the folder has said what is in force in between.
TEST_F(FolderWatch, WhatWasUndoneIsAChangeAfterAnotherFolder) {
  StartWatched(Route("10.1.2.1"));
  WriteVlans(Route("10.1.2.2"));
  PassAndApply();
  Undo();
  const std::size_t revisions = m_headlines.size();
  WriteVlans(Route("10.1.2.1"));
  PassAndApply();
  EXPECT_EQ(m_headlines.size(), revisions + 1) << "that nothing has changed";
  EXPECT_THAT(m_headlines.back(), testing::HasSubstr("no change"));
  WriteVlans(Route("10.1.2.2"));
  PassAndApply();
  EXPECT_EQ(RequestedRoutes().size(), 1u);
  EXPECT_THAT(m_headlines.back(), StartsWith("Revision 4, reload by a change of the folder: "));
}

// The watch had not come to it when it was undone.
TEST_F(FolderWatch, WhatWasUndoneAtOnceIsNoChangeEither) {
  StartWatched(Route("10.1.2.1"));
  WriteVlans(Route("10.1.2.2"));
  Reload();
  Undo();
  PassAndApply(2 * LOOK);
  EXPECT_EQ(m_asked, 0u);
}

TEST_F(FolderWatch, AChangeDuringATrialIsAppliedWhenThatIsConfirmed) {
  StartWatched(Route("10.1.2.1"));
  WriteVlans(Route("10.1.2.2"));
  ReloadOnTrial();
  WriteVlans(Route("10.1.2.3"));
  PassAndApply(2 * LOOK);
  EXPECT_EQ(m_asked, 0u);
  EXPECT_THAT(reported.lines, IsEmpty());
  m_reloader->Confirm({}, 2);
  TurnUntilDone();
  PassAndApply();
  EXPECT_EQ(m_asked, 1u);
  EXPECT_THAT(m_headlines.back(), StartsWith("Revision 3, reload by a change of the folder: "));
}

TEST_F(FolderWatch, AChangeDuringATrialIsAppliedWhenThatHasGoneBack) {
  StartWatched(Route("10.1.2.1"));
  WriteVlans(Route("10.1.2.2"));
  ReloadOnTrial();
  WriteVlans(Route("10.1.2.3"));
  Pass(QUIET + 100);
  Undo();
  PassAndApply();
  EXPECT_EQ(m_asked, 1u);
  EXPECT_THAT(m_headlines.back(), StartsWith("Revision 4, reload by a change of the folder: "));
}

TEST_F(FolderWatch, ATrialThatGoesBackLeavesAFolderThatIsNoChange) {
  StartWatched(Route("10.1.2.1"));
  WriteVlans(Route("10.1.2.2"));
  ReloadOnTrial();
  PassAndApply(700000);  // its time runs out
  EXPECT_FALSE(m_reloader->GetTrial());
  EXPECT_EQ(m_reloader->GetInForce()->number, 3u);
  PassAndApply(2 * LOOK);
  EXPECT_EQ(m_asked, 0u);
}

TEST_F(FolderWatch, RemoteDocumentsComeChangeAndGo) {
  const std::string vlan = R"("a": {"vid": 10})";
  StartWatched(vlan);
  std::filesystem::create_directory(m_files.PathOf("remote"));
  Pass(100);  // a file that comes in the same moment is not told
  m_files.Write("remote/one.json", Whole(Route("10.1.2.1")));
  PassAndApply();
  EXPECT_EQ(m_asked, 1u);
  EXPECT_EQ(RequestedRoutes().size(), 1u);
  m_files.Write("remote/one.json", Whole(Routes(2)));
  Pass(QUIET - 100);
  EXPECT_EQ(m_asked, 1u);
  m_files.Write("remote/one.json", Whole(Routes(3)));
  Pass(QUIET - 100);
  EXPECT_EQ(m_asked, 1u) << "the wait begins anew";
  PassAndApply(200);
  EXPECT_EQ(RequestedRoutes().size(), 3u);
  Replace("remote/two.json", Whole(R"("a": {"vid": 10})"));
  PassAndApply();
  EXPECT_EQ(m_asked, 3u);
  std::filesystem::remove_all(m_files.PathOf("remote"));
  PassAndApply();
  EXPECT_EQ(m_asked, 4u);
  EXPECT_THAT(RequestedRoutes(), IsEmpty());
}

TEST_F(FolderWatch, AFileThatIsReplacedIsAChange) {
  StartWatched(Route("10.1.2.1"));
  Replace("vlans.json", Whole(Route("10.1.2.2")));
  PassAndApply();
  EXPECT_EQ(m_asked, 1u);
  Replace("vlans.json", Whole(Route("10.1.2.3")));
  PassAndApply();
  EXPECT_EQ(m_asked, 2u);
}

TEST_F(FolderWatch, AFolderThatGoesAndComesIsWatchedAgain) {
  StartWatched(Route("10.1.2.1"));
  const std::string away = PLACE.PathOf("away");
  std::filesystem::rename(m_files.Path(), away);
  PassAndApply();
  EXPECT_EQ(m_asked, 1u);
  EXPECT_THAT(reported.lines, ElementsAre(StartsWith("Refused to a change of the folder: ")));
  EXPECT_EQ(RequestedRoutes().size(), 1u);
  std::filesystem::create_directory(m_files.Path());
  std::filesystem::copy(away, m_files.Path());
  std::filesystem::remove_all(away);
  PassAndApply();
  EXPECT_EQ(m_asked, 1u) << "it says what is in force";
  WriteVlans(Route("10.1.2.2"));
  PassAndApply();
  EXPECT_EQ(m_asked, 2u);
  EXPECT_THAT(m_headlines, SizeIs(1));
}

// The system tells nothing of what is behind a link.
TEST_F(FolderWatch, WhatNobodyTellsIsFoundByLooking) {
  StartWatched(Route("10.1.2.1"));
  const test_support::ScratchFolder elsewhere;
  elsewhere.Write("real.json", Whole(Route("10.1.2.2")));
  std::filesystem::remove(m_files.PathOf("vlans.json"));
  std::filesystem::create_symlink(elsewhere.PathOf("real.json"), m_files.PathOf("vlans.json"));
  PassAndApply();
  EXPECT_EQ(m_asked, 1u);
  elsewhere.Write("real.json", Whole(Route("10.1.2.3")));
  PassAndApply(LOOK + QUIET + 1000);
  EXPECT_EQ(m_asked, 2u);
  EXPECT_THAT(m_headlines, SizeIs(2));
}

TEST_F(FolderWatch, WhoWritesBesideTheDocumentsHoldsNothingUp) {
  StartWatched(Route("10.1.2.1"));
  WriteVlans(Route("10.1.2.2"));
  for (int i = 0; i < 5; ++i) {
    m_files.Write("log.txt", std::to_string(i));
    Pass(QUIET / 4);
  }
  TurnUntilDone();
  EXPECT_EQ(m_asked, 1u);
}

TEST_F(FolderWatch, WhatChangesWhileTheDeviceStartsIsAppliedAfterwards) {
  WriteVlans(Route("10.1.2.1"));
  m_watch->Start();
  BeginToStart();
  ASSERT_TRUE(TurnUntil([this] { return m_starts == 1; }));
  WriteVlans(Route("10.1.2.2"));
  Pass(QUIET + 100);
  EXPECT_EQ(m_asked, 0u) << "nobody has said that it may begin";
  m_watch->Begin();
  PassAndApply(100);
  EXPECT_EQ(m_asked, 1u);
}

TEST_F(FolderWatch, OneThatIsNotStartedDoesNothing) {
  WriteVlans(Route("10.1.2.1"));
  StartWith(Route("10.1.2.1"));
  m_watch->Begin();
  WriteVlans(Route("10.1.2.2"));
  PassAndApply(2 * LOOK);
  EXPECT_EQ(m_asked, 0u);
}

}  // namespace
