// Who hears what of a reload and of a check, and when.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <new>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/unit/apply/reloader_fixture.h"

namespace {

using apply_test::Heard;
using testing::Contains;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;

const std::string COMPLAINT = "The library complains\n";

class Askers : public apply_test::ReloaderFixture {
 protected:
  void SetUp() override { StartWith(WITH_ROUTE); }

  // The folder has a warning, and the library complains once when it is applied.
  void WriteFar() {
    m_files.Write("remote/far.json", R"({"VLAN_CONFIGURATIONS": {"a": {"vid": 77}}})");
    m_libraryLine = COMPLAINT;
  }

  Heard first;
  Heard second;
};

TEST_F(Askers, HearTheFindingsAndWhatTheLibrarySays) {
  WriteFar();
  m_reloader->Reload(first.Asker());
  EXPECT_THAT(first.ends, IsEmpty()) << "not from inside the call";
  TurnUntilDone();
  EXPECT_THAT(first.lines, ElementsAre(HasSubstr("remote/far.json:"), COMPLAINT));
  EXPECT_THAT(first.lines[0], EndsWith("\n"));
  EXPECT_THAT(first.ends, ElementsAre(true)) << "warnings do not count";
}

TEST_F(Askers, HearTheEndWhenTheFolderHasBeenJudged) {
  WriteVlans(R"("b": {"vid": 20})");
  m_reloader->Reload(first.Asker());
  TurnUntilItIsApplied();
  EXPECT_THAT(first.ends, ElementsAre(true));
  EXPECT_THAT(Vlans(), ElementsAre(10)) << "nothing has been applied yet";
  TurnUntilDone();
  EXPECT_THAT(first.ends, ElementsAre(true)) << "once";
}

TEST_F(Askers, HearOfTheReloadThatBeginsAfterTheyAsked) {
  WriteFar();
  WriteVlans(R"("b": {"vid": 20})");
  m_reloader->Reload(first.Asker());
  TurnUntilItIsApplied();
  m_reloader->Reload(second.Asker());
  EXPECT_THAT(second.lines, IsEmpty());
  TurnUntilDone();
  EXPECT_THAT(first.lines, ElementsAre(HasSubstr("remote/far.json:"), COMPLAINT));
  EXPECT_THAT(second.lines, ElementsAre(HasSubstr("remote/far.json:")))
      << "the library has been told of the same folder before";

  traces.Take();
  Reload();
  EXPECT_EQ(first.lines.size() + second.lines.size(), 3U);
  EXPECT_EQ(traces.CountOf("-:" + COMPLAINT), 0U);
}

TEST_F(Askers, ShareAReload) {
  WriteVlans(R"("b": {"vid": 20})");
  m_reloader->Reload();
  TurnUntilItIsApplied();
  m_reloader->Reload(first.Asker());
  m_reloader->Reload(second.Asker());
  WriteVlans(R"("b": 5)");
  TurnUntilDone();
  ASSERT_EQ(first.lines.size(), 2u);
  EXPECT_EQ(first.lines[1], "Refused: 1 error; nothing was changed\n");
  EXPECT_EQ(first.lines, second.lines);
  EXPECT_THAT(first.ends, ElementsAre(false));
  EXPECT_THAT(second.ends, ElementsAre(false));
  EXPECT_EQ(m_overs, 2u);
}

TEST_F(Askers, MayThrow) {
  WriteFar();
  int lines = 0;
  int ends = 0;
  m_reloader->Reload({[&lines](const std::string&) {
                        ++lines;
                        throw std::runtime_error("gone");
                      },
                      [&ends](bool) {
                        ++ends;
                        throw std::runtime_error("gone");
                      }});
  TurnUntilDone();
  EXPECT_EQ(lines, 3) << "two findings, and what the reload changes";
  EXPECT_EQ(ends, 1);
  Reload(second.Asker());
  EXPECT_THAT(second.ends, ElementsAre(true));
}

// What an asker throws is its own affair; a lack of memory is the process's.
TEST(LackOfMemory, OfAnAskerIsPassedOn) {
  Heard heard;
  apply::Askers askers;
  askers.Add(apply::Asker{[](const std::string&) { throw std::bad_alloc(); }, {}});
  askers.Add(heard.Asker());
  EXPECT_THROW(askers.Tell("line"), std::bad_alloc);
  const auto outcome = std::make_shared<apply::Outcome>();
  outcome->hasPassed = true;
  askers.End(outcome);
  EXPECT_THAT(heard.ends, ElementsAre(true));
  apply::Askers others;
  others.Add(apply::Asker{{}, [](bool) { throw std::bad_alloc(); }});
  EXPECT_THROW(others.End(outcome), std::bad_alloc);
}

TEST_F(Askers, GetTheOutcomeBeforeTheEnd) {
  apply::SharedOutcome outcome;
  bool hasEnded = false;
  apply::Asker asker{{}, [&](bool) { hasEnded = true; }};
  asker.take = [&](const apply::SharedOutcome& taken) {
    EXPECT_FALSE(hasEnded);
    outcome = taken;
  };
  m_files.Write("vlans.json", R"({"VLAN_CONFIGURATIONS": {"office": {"vid": "ten"}}})");
  m_reloader->Reload(asker);
  TurnUntilDone();
  EXPECT_TRUE(hasEnded);
  ASSERT_TRUE(outcome);
  EXPECT_FALSE(outcome->hasPassed);
  EXPECT_EQ(outcome->findings.CountErrors(), 1u);
  EXPECT_EQ(outcome->refusal, "");
  EXPECT_FALSE(outcome->revision);
}

TEST_F(Askers, MayAskAgainFromTheEnd) {
  m_reloader->Reload({{}, [this](bool) { m_reloader->Reload(second.Asker()); }});
  TurnUntilDone();
  EXPECT_THAT(second.ends, ElementsAre(true));
  EXPECT_EQ(m_overs, 2u);
}

TEST_F(Askers, NeedNotHear) {
  WriteFar();
  m_reloader->Reload({{}, first.Asker().end});
  TurnUntilDone();
  EXPECT_THAT(first.ends, ElementsAre(true));
  EXPECT_EQ(traces.CountOf("-:" + COMPLAINT), 1U);
}

class Check : public Askers {
 protected:
  bool Passes(bool isStrict) {
    Heard heard;
    m_reloader->Check(heard.Asker(), isStrict);
    TurnUntilDone();
    lines = heard.lines;
    EXPECT_EQ(heard.ends.size(), 1u);
    return heard.ends.at(0);
  }

  std::vector<std::string> lines;
};

TEST_F(Check, SaysNothingOfWhatIsRight) {
  EXPECT_TRUE(Passes(false));
  EXPECT_TRUE(Passes(true));
  EXPECT_THAT(lines, IsEmpty());
}

TEST_F(Check, MindsWarningsIfItIsStrict) {
  WriteFar();
  EXPECT_TRUE(Passes(false));
  EXPECT_THAT(lines, ElementsAre(HasSubstr("remote/far.json:")));
  EXPECT_FALSE(Passes(true));
  EXPECT_THAT(lines, ElementsAre(HasSubstr("remote/far.json:")));
}

TEST_F(Check, TellsOfMistakesAndChangesNothing) {
  WriteVlans(R"("b": {"vid": 20}, "c": {})");
  const intent::Intent* before = &m_reloader->GetIntent();
  traces.Take();
  EXPECT_FALSE(Passes(false));
  EXPECT_THAT(lines, ElementsAre(HasSubstr("vlans.json:")));
  EXPECT_FALSE(Passes(true));
  ASSERT_TRUE(SettleAll());
  EXPECT_THAT(TakeCalls(), IsEmpty());
  EXPECT_EQ(&m_reloader->GetIntent(), before);
  EXPECT_THAT(reported.lines, IsEmpty()) << "the log gets nothing";
  EXPECT_EQ(m_begins, 0u) << "it is not a reload";
  EXPECT_EQ(m_overs, 0u);
}

TEST_F(Check, ChangesNothingOfWhatItPasses) {
  WriteVlans(R"("b": {"vid": 20})");
  EXPECT_TRUE(Passes(true));
  EXPECT_THAT(Vlans(), ElementsAre(10));
  Reload();
  ASSERT_TRUE(SettleAll());
  EXPECT_THAT(Vlans(), ElementsAre(20));
}

TEST_F(Check, TakesItsTurn) {
  WriteVlans(R"("b": {"vid": 20})");
  m_reloader->Reload();
  TurnUntilItIsApplied();
  std::vector<std::string> ends;
  const auto note = [&ends](const char* what) {
    return apply::Asker{{}, [&ends, what](bool) { ends.push_back(what); }};
  };
  m_reloader->Check(note("check"), false);
  m_reloader->Reload(note("reload"));
  m_reloader->Check(note("strict"), true);
  m_reloader->Reload(note("last"));
  EXPECT_THAT(ends, IsEmpty());
  TurnUntilDone();
  EXPECT_THAT(ends, ElementsAre("check", "reload", "strict", "last"));
  EXPECT_EQ(m_overs, 3u) << "a check between two reloads keeps them apart";
}

// Who asks at the end of a reload, while others wait, does not take their turn from them.
TEST_F(Check, IsNotLostWhenAReloadIsAskedForAtTheEndOfAnother) {
  std::vector<std::string> ends;
  const auto note = [&ends](const char* what) {
    return apply::Asker{{}, [&ends, what](bool) { ends.push_back(what); }};
  };
  m_whenOver = [&] { m_reloader->Reload(note("last")); };
  m_reloader->Reload(note("first"));
  m_reloader->Check(note("check"), false);
  TurnUntilDone();
  EXPECT_THAT(ends, ElementsAre("first", "check", "last"));
}

}  // namespace
