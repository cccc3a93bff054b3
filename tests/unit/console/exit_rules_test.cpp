// The table of results, and every word of the host through it.
#include "device/console/exit_rules.h"

#include <gtest/gtest.h>

#include <set>

#include "device/console/dispatcher.h"
#include "device/program/exit_status.h"
#include "tests/support/device_fixture.h"
#include "tests/support/questions_double.h"

namespace {

using console::EXIT_RULES;
using console::Result;
using console::RunningCommand;

TEST(ExitRules, LetTheFirstSignCount) {
  EXPECT_EQ(console::ResultOf(0), Result::DONE);
  unsigned int later = 0;
  for (auto rule = std::rbegin(EXIT_RULES); rule != std::rend(EXIT_RULES); ++rule) {
    EXPECT_EQ(later & rule->sign, 0u) << rule->when << ": a sign has one rule";
    later |= rule->sign;
    EXPECT_EQ(console::ResultOf(later), rule->result) << rule->when;
  }
  EXPECT_EQ(static_cast<int>(Result::REFUSED), program::EXIT_FAILED);
  EXPECT_EQ(static_cast<int>(Result::USAGE), program::EXIT_USAGE);
  EXPECT_EQ(static_cast<int>(Result::DIFFERS), program::EXIT_DIFFERS);
}

class Words : public test_support::DeviceFixture {
 protected:
  void SetUp() override {
    Start(10);
    Reload(R"({"VLAN_CONFIGURATIONS": {"a": {"vid": 10, "RIPV2": {"enabled": true}}}})",
           "vlans.json");
    ASSERT_TRUE(Settle());
  }

  // What the line's status is when whatever it asks for answers `hasPassed`.
  Result ResultOf(const std::string& line, bool hasPassed) {
    return ResultOf(dispatcher, line, hasPassed);
  }
  Result ResultOf(const console::Dispatcher& by, const std::string& line, bool hasPassed) {
    passes = hasPassed;
    questions.script->isRefused = !hasPassed;
    auto command = std::make_shared<RunningCommand>(
        10, console::Operator{"alice", false}, [](std::string_view) {}, [] {});
    const console::Reply reply = by.Execute(line, command);
    if (reply.view) {
      std::string text;
      while (reply.view->Next(text) == views::View::Rest::MORE) {
      }
      if (reply.view->IsRefused()) {
        command->Refuse();
      }
    }
    EXPECT_TRUE(Settle());
    return command->GetResult();
  }

  console::FolderCommands Commands() {
    console::FolderCommands commands;
    const auto end = [this](const apply::Asker& asker) {
      if (asker.take) {
        auto outcome = std::make_shared<apply::Outcome>();
        outcome->hasPassed = passes;
        asker.take(outcome);
      }
      asker.end(passes);
    };
    commands.reload = [end](const apply::Asker& by, const apply::ReloadRequest&) { end(by); };
    commands.check = [end](const apply::Asker& by, bool) { end(by); };
    commands.verify = [this](rows::Scope, std::size_t, const auto& done) {
      rows::Verdict verdict;
      verdict.kind = "routes";
      verdict.fails = passes ? 0 : 1;
      done({verdict});
    };
    commands.diff = [end](const apply::Asker& by, std::optional<unsigned int>) { end(by); };
    commands.confirm = [end](const apply::Asker& by, unsigned int) { end(by); };
    commands.undo = [end](const apply::Asker& by, unsigned int) { end(by); };
    commands.history = [end](const apply::Asker& by) { end(by); };
    commands.revision = [end](const apply::Asker& by, unsigned int) { end(by); };
    return commands;
  }

  bool passes = true;
  test_support::QuestionsDouble questions;
  keepers::Interfaces state;
  console::Lab lab{Control(), state, [](auto) {}};
  console::Answers Answers() {
    return {&questions, [this](unsigned int, const std::string&) { return passes; }};
  }
  console::Dispatcher dispatcher{Commands(), &lab, Answers()};
  console::Dispatcher viewer{Commands(), &lab, Answers(), console::Scope::VIEWS};
};

// For each word of the grammar a line that is carried out, one that is refused although it is
// understood, and one that is not understood. A word without such a line has a null pointer there.
TEST_F(Words, HaveTheStatusOfTheTable) {
  const struct {
    const char* word;
    const char* done;
    const char* refused;
    const char* usage;
  } words[] = {
      {"route", "route 10.0.0.0/8 longer", "route", "route vrf"},
      {"route6", "route6 json", "route6 json", "route6 10.0.0.1"},
      {"explain", "explain 10.0.0.1", "explain 10.0.0.1", "explain"},
      {"summary", "summary", "summary", "summary x"},
      {"requests", "requests", "requests", "requests x"},
      {"status", "status", "status", "status x"},
      {"version", "version", "version", "version x"},
      {"watch", "watch", "watch", "watch x"},
      {"metrics", "metrics", "metrics", "metrics json"},
      {"interface", "interface", "interface vrf 99", "interface vrf"},
      {"interface6", "interface6", "interface6 vrf 99", "interface6 x"},
      {"ip", "ip protocol summary", "ip bgp vrf 99", "ip protocol"},
      {"ip6", "ip6 protocol summary", "ip6 protocol database vrf 99", "ip6 rip x"},
      {"rtm", "rtm rib", "rtm rib vrf 99", "rtm rib detail vrf 10"},
      {"show", "show interface", "show interface vrf 99", "show lab"},
      {"vrf", "vrf 10", "vrf 99", "vrf"},
      {"check", "check", "check", "check x"},
      {"diff", "diff", "diff json", "diff x"},
      {"reload", "reload force", "reload", "reload confirm"},
      {"confirm", "confirm 1", "confirm 1", "confirm"},
      {"undo", "undo", "undo", "undo 0"},
      {"history", "history", "history", "history x"},
      {"revision", "revision 1", "revision 1", "revision"},
      {"verify", "verify json", "verify", "verify x"},
      {"retry", "retry", nullptr, "retry x"},
      {"log", "log level 3", "log level 3 host", "log"},
      {"lab", "lab tick normal", "lab join eth7", "lab stack"},
      {"help", "help", nullptr, "help x"},
      {"?", "?", nullptr, "? x"},
      {"quit", "quit", nullptr, "quit x"},
      {"exit", "exit", nullptr, "exit x"},
  };
  const console::Words inViews = viewer.Complete("", 10);
  std::set<std::string> walked;
  for (const auto& one : words) {
    walked.insert(one.word);
    if (console::Has(inViews, one.word)) {
      EXPECT_EQ(ResultOf(viewer, one.done, true), Result::DONE) << one.done;
      EXPECT_EQ(ResultOf(viewer, one.usage, true), Result::USAGE) << one.usage;
    } else {
      EXPECT_EQ(ResultOf(viewer, one.done, true), Result::REFUSED) << one.done;
      EXPECT_EQ(ResultOf(viewer, one.usage, true), Result::REFUSED) << one.usage;
    }
    EXPECT_EQ(ResultOf(one.done, true), Result::DONE) << one.done;
    if (one.refused) {
      EXPECT_EQ(ResultOf(one.refused, false), Result::REFUSED) << one.refused;
    }
    for (const bool hasPassed : {true, false}) {
      EXPECT_EQ(ResultOf(one.usage, hasPassed), Result::USAGE) << one.usage;
    }
  }
  const console::Words all = dispatcher.Complete("", 10);
  EXPECT_EQ(walked, std::set<std::string>(all.begin(), all.end()));
}

}  // namespace
