// Revisions as an operator meets them: what is undone, confirmed, goes back by itself, and refused.
#include <algorithm>
#include <filesystem>

#include "tests/unit/apply/reloader_fixture.h"

namespace apply_test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class Transactions : public ReloaderFixture {
 protected:
  Transactions() : Transactions(50) {}
  explicit Transactions(unsigned int guardPercent)
      : ReloaderFixture(Settings{false, STATE.Path(), guardPercent}) {}

  /// VLAN 10 with that many routes.
  static std::string WithRoutes(unsigned int count) {
    std::string routes;
    for (unsigned int i = 0; i < count; ++i) {
      routes += (i == 0 ? "" : ", ") + ("\"r" + std::to_string(i)) +
                R"(": {"interface": "eth0", "network": "10.9.)" + std::to_string(i) +
                R"(.0", "netmask": "255.255.255.0", "gateway": "10.1.2.1"})";
    }
    return R"("a": {"vid": 10, "STATIC_ROUTES": {)" + routes + "}}";
  }
  void StartWithRoutes(unsigned int count) { StartWith(WithRoutes(count)); }
  std::size_t CountRoutes() const { return RequestedRoutes().size(); }

  Heard Do(void (apply::Reloader::*call)(apply::Asker, unsigned int), unsigned int number) {
    Heard heard;
    (m_reloader.operator->()->*call)(heard.Asker("an operator"), number);
    TurnUntilDone();
    EXPECT_TRUE(SettleAll());
    return heard;
  }
  Heard Undo(unsigned int back = 1) { return Do(&apply::Reloader::Undo, back); }
  Heard Confirm(unsigned int revision) { return Do(&apply::Reloader::Confirm, revision); }
  Heard ReloadWith(const std::string& entries, const apply::ReloadRequest& request = {}) {
    WriteVlans(entries);
    Heard heard;
    Reload(heard.Asker("an operator"), request);
    EXPECT_TRUE(SettleAll());
    return heard;
  }
  std::vector<std::string> History() {
    Heard heard;
    m_reloader->ListRevisions(heard.Asker());
    TurnUntilDone();
    return heard.lines;
  }

  inline static const test_support::ScratchFolder STATE;
};

TEST_F(Transactions, EachChangeIsARevisionAndAnEmptyOneIsNone) {
  StartWithRoutes(1);
  const Heard same = ReloadWith(WithRoutes(1));
  EXPECT_THAT(same.headlines, ElementsAre(HasSubstr("Reload by an operator: no change")));
  const Heard more = ReloadWith(WithRoutes(2));
  EXPECT_THAT(more.headlines, ElementsAre(HasSubstr("Revision 2, reload by an operator: ")));
  EXPECT_THAT(History(), ElementsAre(HasSubstr("     1  2001-09-09 01:46:40Z  start: "),
                                     HasSubstr("*     2  2001-09-09 01:46:40Z  reload by an op")));
}

TEST_F(Transactions, WhatMakesNoRevisionNeedsNoConfirmation) {
  StartWithRoutes(1);
  const Heard same = ReloadWith(WithRoutes(1), {false, 60});
  EXPECT_THAT(same.ends, ElementsAre(true));
  EXPECT_THAT(same.lines, ElementsAre("No revision was made, so there is nothing to confirm\n"));
  EXPECT_FALSE(m_reloader->GetTrial());
  EXPECT_THAT(ReloadWith(WithRoutes(1)).lines, IsEmpty()) << "nobody wants to confirm it";
}

TEST_F(Transactions, ADiffToABrokenFolderHasNoWay) {
  StartWithRoutes(2);
  WriteVlans(R"("a": {"vid": "ten"})");
  apply::SharedOutcome outcome;
  Heard heard;
  apply::Asker asker = heard.Asker();
  asker.take = [&outcome](const apply::SharedOutcome& taken) { outcome = taken; };
  m_reloader->Diff(asker, std::nullopt);
  TurnUntilDone();
  ASSERT_TRUE(outcome);
  EXPECT_FALSE(outcome->hasPassed);
  EXPECT_TRUE(outcome->findings.HasErrors());
  EXPECT_THAT(outcome->changes, IsEmpty()) << "all would go, if there were no errors";
  EXPECT_TRUE(outcome->totals.IsEmpty());
}

// They are those of `check`, which lists them.
TEST_F(Transactions, ADiffTellsHowManyWarningsThereAre) {
  StartWithRoutes(1);
  const auto far = [](const std::string& gateways) {
    return R"("a": {"vid": 10, "STATIC_ROUTES": {)" + gateways + "}}";
  };
  const auto route = [](const std::string& name) {
    return "\"" + name + R"(": {"interface": "eth0", "network": "10.)" + name +
           R"(.0.0", "netmask": "255.255.0.0", "gateway": "10.77.2.1"})";
  };
  const auto diff = [this](std::optional<unsigned int> revision) {
    apply::SharedOutcome outcome;
    Heard heard;
    apply::Asker asker = heard.Asker();
    asker.take = [&outcome](const apply::SharedOutcome& taken) { outcome = taken; };
    m_reloader->Diff(asker, revision);
    TurnUntilDone();
    EXPECT_THAT(heard.ends, ElementsAre(true));
    const std::size_t warnings = outcome ? outcome->findings.CountWarnings() : 99;
    const auto line = std::find_if(heard.lines.begin(), heard.lines.end(), [](const auto& one) {
      return one.find("warning") != std::string::npos;
    });
    return std::pair(line == heard.lines.end() ? "" : *line, warnings);
  };
  EXPECT_EQ(diff(std::nullopt), std::pair(std::string(), std::size_t{0}));
  WriteVlans(far(route("21")));
  EXPECT_EQ(diff(std::nullopt),
            std::pair(std::string("1 warning; `check` shows it\n"), std::size_t{1}));
  ReloadWith(far(route("21") + ", " + route("22")));
  EXPECT_EQ(diff(std::nullopt),
            std::pair(std::string("2 warnings; `check` shows them\n"), std::size_t{2}))
      << "also of a folder that has not changed";
  ReloadWith(WithRoutes(2));
  EXPECT_EQ(diff(2),
            std::pair(std::string("2 warnings; `diff 2 json` shows them\n"), std::size_t{2}));
  EXPECT_EQ(diff(1).second, 0u);
}

// An old route that a reload has left may go later without a successor, so a yes without a word of it
// would be given too easily.
TEST_F(Transactions, AConfirmationTellsOfOldRoutesThatAreKept) {
  StartWithRoutes(1);
  const std::string far = R"("a": {"vid": 10, "STATIC_ROUTES": {"r0": {"interface": "eth0",
      "network": "10.9.0.0", "netmask": "255.255.255.0", "gateway": "10.77.2.1"}}})";
  EXPECT_THAT(ReloadWith(far, {false, 30}).ends, ElementsAre(true));
  EXPECT_THAT(Confirm(2).lines,
              ElementsAre("1 old route is kept until a new one can take its place, or a reload\n"));
}

TEST_F(Transactions, UndoSaidTwiceIsBackWhereItBegan) {
  StartWithRoutes(1);
  ReloadWith(WithRoutes(3));
  EXPECT_THAT(Undo().ends, ElementsAre(true));
  EXPECT_EQ(CountRoutes(), 1u);
  EXPECT_THAT(Undo().ends, ElementsAre(true));
  EXPECT_EQ(CountRoutes(), 3u);
  EXPECT_EQ(m_reloader->GetKnowledge().GetDifferences().Count(), 0u);
}

TEST_F(Transactions, UndoWithoutAnOlderRevisionIsRefused) {
  StartWithRoutes(1);
  EXPECT_THAT(Undo().ends, ElementsAre(false));
  ReloadWith(WithRoutes(3));
  EXPECT_THAT(Undo(2).ends, ElementsAre(false));
  EXPECT_EQ(CountRoutes(), 3u);
}

TEST_F(Transactions, AnUndoneFolderIsNotAppliedByASignalButByAnOperatorAndAfterAChange) {
  StartWithRoutes(1);
  ReloadWith(WithRoutes(3));
  Undo();
  EXPECT_THAT(History().back(), HasSubstr("The folder differs from what is in force"));
  WriteVlans(WithRoutes(1));
  EXPECT_THAT(History().back(), HasSubstr("undo to revision 1")) << "it says what is in force";
  WriteVlans(WithRoutes(3));
  EXPECT_THAT(History().back(), HasSubstr("The folder differs from what is in force"));
  apply::ReloadRequest signal;
  signal.isBySignal = true;
  Reload({}, signal);
  EXPECT_EQ(CountRoutes(), 1u);
  EXPECT_THAT(reported.lines.back(), HasSubstr("undone"));
  ReloadWith(WithRoutes(4), signal);
  EXPECT_EQ(CountRoutes(), 4u);
  Undo();
  ReloadWith(WithRoutes(4));
  EXPECT_EQ(CountRoutes(), 4u);
}

TEST_F(Transactions, WhatIsNotConfirmedGoesBack) {
  StartWithRoutes(1);
  const Heard heard = ReloadWith(WithRoutes(3), {false, 60});
  EXPECT_THAT(heard.ends, ElementsAre(true));
  EXPECT_EQ(CountRoutes(), 3u);
  loop.AdvanceMilliseconds(60000);
  TurnUntilDone();
  ASSERT_TRUE(SettleAll());
  EXPECT_EQ(CountRoutes(), 1u);
  EXPECT_THAT(m_headlines.back(), HasSubstr("Revision 3, way back to revision 1: "));
}

TEST_F(Transactions, WhatIsConfirmedStays) {
  StartWithRoutes(1);
  ReloadWith(WithRoutes(3), {false, 60});
  EXPECT_THAT(Confirm(1).ends, ElementsAre(false));
  EXPECT_THAT(Confirm(2).ends, ElementsAre(true));
  loop.AdvanceMilliseconds(61000);
  TurnUntilDone();
  EXPECT_EQ(CountRoutes(), 3u);
  EXPECT_THAT(Confirm(2).ends, ElementsAre(false));
}

TEST_F(Transactions, WhileAReloadIsOpenOthersAreRefusedAndUndoGoesBackAtOnce) {
  StartWithRoutes(1);
  ReloadWith(WithRoutes(3), {false, 60});
  loop.AdvanceMilliseconds(20000);
  const Heard refused = ReloadWith(WithRoutes(4));
  EXPECT_THAT(refused.ends, ElementsAre(false));
  EXPECT_THAT(refused.lines,
              ElementsAre(HasSubstr("revision 2 of an operator waits for its confirmation, ")));
  EXPECT_EQ(CountRoutes(), 3u);
  EXPECT_THAT(Undo(7).ends, ElementsAre(true));
  EXPECT_EQ(CountRoutes(), 1u);
  EXPECT_THAT(ReloadWith(WithRoutes(4)).ends, ElementsAre(true));
  EXPECT_EQ(CountRoutes(), 4u);
}

TEST_F(Transactions, TwoWhoUndoOneTrialGoBackOnce) {
  StartWithRoutes(1);
  ReloadWith(WithRoutes(3), {false, 60});
  Heard first;
  Heard second;
  m_reloader->Undo(first.Asker("one"), 1);
  m_reloader->Undo(second.Asker("the other"), 1);
  TurnUntilDone();
  ASSERT_TRUE(SettleAll());
  EXPECT_EQ(CountRoutes(), 1u);
  EXPECT_THAT(first.ends, ElementsAre(true));
  EXPECT_THAT(second.ends, ElementsAre(true));
  EXPECT_THAT(second.headlines, ElementsAre("Revision 2 is not on trial any more\n"));
}

TEST_F(Transactions, AWayBackThatCannotBeReadIsTriedAgain) {
  StartWithRoutes(1);
  Heard shown;
  m_reloader->ShowRevision(shown.Asker(), 1);
  TurnUntilDone();
  const std::string kept = shown.lines.back();  // "  kept    PATH"
  const std::string path = kept.substr(kept.find('/'), kept.size() - kept.find('/') - 1);
  ReloadWith(WithRoutes(3), {false, 60});
  std::filesystem::rename(path + "/vlans.json", path + "/away");
  loop.AdvanceMilliseconds(60000);
  TurnUntilDone();
  EXPECT_EQ(CountRoutes(), 3u);
  EXPECT_THAT(reported.lines,
              testing::Contains("revision 1 cannot come back, the next try is in 60 s"));
  std::filesystem::rename(path + "/away", path + "/vlans.json");
  loop.AdvanceMilliseconds(60000);
  TurnUntilDone();
  ASSERT_TRUE(SettleAll());
  EXPECT_EQ(CountRoutes(), 1u);
}

TEST_F(Transactions, TheLogSaysThatTheFolderDiffersFromWhatIsInForce) {
  StartWithRoutes(1);
  ReloadWith(WithRoutes(3));
  Undo();
  EXPECT_THAT(reported.lines, testing::Contains(apply::FOLDER_DIFFERS));
}

TEST_F(Transactions, TheGuardCountsWhatIsWantedWhileTheStackHasNotYetGotIt) {
  StartWithRoutes(20);
  Control().Restart();
  EXPECT_THAT(ReloadWith(WithRoutes(2)).ends, ElementsAre(false));
  EXPECT_EQ(CountRoutes(), 20u);
}

TEST_F(Transactions, AConfirmedReloadThatChangesNothingOpensNothing) {
  StartWithRoutes(1);
  EXPECT_THAT(ReloadWith(WithRoutes(1), {false, 60}).ends, ElementsAre(true));
  EXPECT_THAT(ReloadWith(WithRoutes(2)).ends, ElementsAre(true));
}

TEST_F(Transactions, ARefusedReloadOpensNothing) {
  StartWithRoutes(1);
  EXPECT_THAT(ReloadWith("no JSON", {false, 60}).ends, ElementsAre(false));
  EXPECT_THAT(ReloadWith(WithRoutes(20), {false, 60}).ends, ElementsAre(true));
  EXPECT_THAT(Confirm(2).ends, ElementsAre(true));
  EXPECT_THAT(ReloadWith(WithRoutes(1), {false, 60}).ends, ElementsAre(false)) << "by the guard";
  EXPECT_THAT(ReloadWith(WithRoutes(20)).ends, ElementsAre(true));
}

TEST_F(Transactions, TheGuardRefusesHalfOfTheRoutesUnlessForced) {
  StartWithRoutes(20);
  const Heard refused = ReloadWith(WithRoutes(9));
  EXPECT_THAT(refused.ends, ElementsAre(false));
  EXPECT_THAT(refused.lines.front(),
              HasSubstr("VLAN 10: 11 of 20 prefixes with an installed static route"));
  EXPECT_EQ(CountRoutes(), 20u);
  EXPECT_THAT(ReloadWith(WithRoutes(10)).ends, ElementsAre(true)) << "half is not more than half";
  EXPECT_THAT(ReloadWith(WithRoutes(20)).ends, ElementsAre(true));
  EXPECT_THAT(ReloadWith(WithRoutes(9), {true, 0}).ends, ElementsAre(true));
  EXPECT_THAT(ReloadWith(WithRoutes(0)).ends, ElementsAre(true)) << "nine are fewer than ten";
}

TEST_F(Transactions, TheGuardRefusesThatAVlanWithARouteGoes) {
  StartWithRoutes(1);
  EXPECT_THAT(ReloadWith(R"("b": {"vid": 20})").ends, ElementsAre(false));
  EXPECT_THAT(Vlans(), ElementsAre(10u));
  EXPECT_THAT(ReloadWith(R"("b": {"vid": 20})", {true, 0}).ends, ElementsAre(true));
  EXPECT_THAT(Undo().ends, ElementsAre(true)) << "no way back is guarded";
  EXPECT_EQ(CountRoutes(), 1u);
}

TEST_F(Transactions, ADiffChangesNothingAndTellsWhatTheGuardSays) {
  StartWithRoutes(20);
  WriteVlans(WithRoutes(2));
  Heard heard;
  m_reloader->Diff(heard.Asker(), std::nullopt);
  TurnUntilDone();
  EXPECT_THAT(heard.ends, ElementsAre(true));
  EXPECT_THAT(heard.lines, testing::Contains(HasSubstr("The guard refuses: VLAN 10: 18 of 20")));
  EXPECT_THAT(heard.lines, testing::Contains("18 prefixes will be without an installed route\n"));
  EXPECT_EQ(CountRoutes(), 20u);
  EXPECT_THAT(History(), testing::SizeIs(1));
}

// It is in force all the same, and there is no way back to it. The next reload makes it a revision,
// though it changes nothing.
TEST_F(Transactions, WhatCannotBeKeptIsKeptByTheNextReload) {
  StartWithRoutes(1);
  Heard shown;
  m_reloader->ShowRevision(shown.Asker(), 1);
  TurnUntilDone();
  const std::string kept = shown.lines.back();  // "  kept    PATH"
  const auto folder = std::filesystem::path(kept.substr(kept.find('/'))).parent_path();
  const auto away = folder.parent_path() / "away";
  std::filesystem::rename(folder, away);
  const Heard unkept = ReloadWith(WithRoutes(2));
  EXPECT_THAT(unkept.ends, ElementsAre(true));
  EXPECT_THAT(unkept.lines, ElementsAre(HasSubstr("warning: not kept as a revision: ")));
  EXPECT_THAT(unkept.headlines, ElementsAre(HasSubstr("Reload by an operator: 1 route added")));
  EXPECT_EQ(CountRoutes(), 2u);
  EXPECT_THAT(History().back(), HasSubstr("could not be kept as a revision"));
  const Heard refused = ReloadWith(WithRoutes(3), {false, 60});
  EXPECT_THAT(refused.ends, ElementsAre(false));
  EXPECT_THAT(refused.lines, ElementsAre("Refused: what is in force could not be kept, so there is "
                                         "no way back\n"));
  EXPECT_EQ(CountRoutes(), 2u);

  std::filesystem::remove_all(folder);
  std::filesystem::rename(away, folder);
  const Heard same = ReloadWith(WithRoutes(2));
  EXPECT_THAT(same.ends, ElementsAre(true));
  EXPECT_THAT(same.lines, IsEmpty());
  EXPECT_THAT(same.headlines, ElementsAre("Revision 2, reload by an operator: no change\n"));
  EXPECT_THAT(History(), ElementsAre(HasSubstr("     1  "), HasSubstr("*     2  ")));
  EXPECT_THAT(Confirm(2).ends, ElementsAre(false)) << "nothing waits for that";
  EXPECT_THAT(Undo().ends, ElementsAre(true));
  EXPECT_EQ(CountRoutes(), 1u);
}

// The next daemon makes no revision of what is in force already.
TEST_F(Transactions, AStartGoesOnWithTheRevisionThatWasInForce) {
  StartWithRoutes(1);
  ReloadWith(WithRoutes(3));
  for (const bool isUndone : {false, true}) {
    SCOPED_TRACE(isUndone);
    if (isUndone) {
      WriteVlans(WithRoutes(3));
      Undo();
    } else {
      WriteVlans("no JSON");
    }
    m_headlines.clear();
    reported.lines.clear();
    m_reloader.reset();
    MakeReloader(Settings{false, STATE.Path(), 50});
    m_starts = 0;
    m_reloader->Start([](bool isTaken) { EXPECT_TRUE(isTaken); }, [this] { ++m_starts; });
    ASSERT_TRUE(TurnUntil([this] { return m_starts == 1; }));
    ASSERT_TRUE(SettleAll());
    EXPECT_EQ(CountRoutes(), isUndone ? 1u : 3u);
    const std::string revision = isUndone ? "Revision 3" : "Revision 2";
    EXPECT_THAT(m_headlines, ElementsAre(HasSubstr(revision + " is in force, not the folder"),
                                         revision + ", start: it was in force before"));
    EXPECT_THAT(History().at(isUndone ? 2 : 1), HasSubstr(isUndone ? "*     3  " : "*     2  "));
  }
}

// A reload restores what documents say of interfaces. That is told, and makes no revision.
TEST_F(Transactions, WhatHasHappenedSinceIsOnTheWay) {
  StartWithRoutes(1);
  const auto diff = [this] {
    Heard heard;
    m_reloader->Diff(heard.Asker(), std::nullopt);
    TurnUntilDone();
    return heard.lines;
  };
  m_interfaces.SetStatus({10, 3}, true);
  EXPECT_THAT(diff(), ElementsAre("no change\n")) << "it was up";
  m_interfaces.SetStatus({10, 3}, false);
  ASSERT_TRUE(SettleAll());
  EXPECT_THAT(diff(),
              ElementsAre("VLAN 10\n", HasSubstr("  ~ interface 3 eth0: status up, was down"),
                          "1 interface changed; 2 requests\n"));
  const Heard same = ReloadWith(WithRoutes(1));
  EXPECT_THAT(same.headlines,
              ElementsAre("Reload by an operator: 1 interface changed; 2 requests\n"));
  EXPECT_TRUE(m_interfaces.IsInterfaceUp(10, 3));
  EXPECT_THAT(diff(), ElementsAre("no change\n"));
  EXPECT_EQ(History().size(), 1u);

  m_interfaces.SetStatus({10, 3}, false);
  const Heard more = ReloadWith(WithRoutes(2));
  EXPECT_THAT(more.headlines, ElementsAre(HasSubstr("Revision 2, reload by an operator: 1 "
                                                    "interface changed, 1 route added; 3 ")));
  EXPECT_THAT(History(), ElementsAre(HasSubstr("     1  "), HasSubstr("*     2  ")));
}

// Each way is told from what is in force, and none is gone.
TEST_F(Transactions, ADiffToARevisionTellsTheWayToThat) {
  StartWithRoutes(1);
  ReloadWith(WithRoutes(3));
  ReloadWith(WithRoutes(4));
  WriteVlans(WithRoutes(7));
  const auto way = [this](std::optional<unsigned int> revision) {
    Heard heard;
    m_reloader->Diff(heard.Asker(), revision);
    TurnUntilDone();
    EXPECT_THAT(heard.ends, ElementsAre(true));
    EXPECT_EQ(heard.lines.at(0), revision == 3u ? "no change\n" : "VLAN 10\n");
    std::string changes;
    for (const std::string& line : heard.lines) {
      if (line.find("route 10.9.") != std::string::npos) {
        changes += line[line.find_first_not_of(' ')];
      }
    }
    return changes;
  };
  EXPECT_EQ(way(1), "---");
  EXPECT_EQ(way(2), "-");
  EXPECT_EQ(way(3), "");
  EXPECT_EQ(way(std::nullopt), "+++");
  Heard unknown;
  m_reloader->Diff(unknown.Asker(), 9);
  TurnUntilDone();
  EXPECT_THAT(unknown.ends, ElementsAre(false));
  EXPECT_EQ(CountRoutes(), 4u);
  EXPECT_THAT(History(), testing::SizeIs(3));
}

class WithoutRevisions : public ReloaderFixture {};

TEST_F(WithoutRevisions, AReloadGoesOnAndWhatNeedsThemIsRefused) {
  StartWith(WITH_ROUTE);
  WriteVlans(R"("a": {"vid": 10})");
  Heard confirmed;
  Reload(confirmed.Asker(), {false, 60});
  EXPECT_THAT(confirmed.ends, ElementsAre(false));
  EXPECT_THAT(confirmed.lines,
              ElementsAre("Refused: no revisions are kept: this test keeps none\n"));
  EXPECT_EQ(RequestedRoutes().size(), 1u);
  Heard plain;
  Reload(plain.Asker());
  EXPECT_THAT(plain.ends, ElementsAre(true));
  EXPECT_THAT(RequestedRoutes(), IsEmpty());
}

}  // namespace
}  // namespace apply_test
