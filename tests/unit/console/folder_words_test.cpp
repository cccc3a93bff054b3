// What becomes of the words about the configuration folder, from the line to the host's function,
// and what the operator is told.
#include "device/console/folder_words.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "device/console/dispatcher.h"
#include "tests/support/device_fixture.h"

namespace {

using console::Reply;
using console::Result;
using console::RunningCommand;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class FolderWords : public test_support::DeviceFixture {
 protected:
  FolderWords() { Start(10); }

  console::FolderCommands Commands() {
    const auto note = [this](const std::string& call, apply::Asker by) {
      calls.push_back(call);
      asker = std::move(by);
    };
    console::FolderCommands commands;
    commands.reload = [note](apply::Asker by, const apply::ReloadRequest& request) {
      note(std::string("reload") + (request.isForced ? " force" : "") +
               (request.isBySignal ? " by signal" : "") + " " +
               std::to_string(request.confirmSeconds),
           std::move(by));
    };
    commands.check = [note](apply::Asker by, bool isStrict) {
      note(isStrict ? "check strict" : "check", std::move(by));
    };
    commands.diff = [note](apply::Asker by, std::optional<unsigned int> revision) {
      note("diff " + (revision ? std::to_string(*revision) : "folder"), std::move(by));
    };
    commands.confirm = [note](apply::Asker by, unsigned int revision) {
      note("confirm " + std::to_string(revision), std::move(by));
    };
    commands.undo = [note](apply::Asker by, unsigned int back) {
      note("undo " + std::to_string(back), std::move(by));
    };
    commands.history = [note](apply::Asker by) { note("history", std::move(by)); };
    commands.revision = [note](apply::Asker by, unsigned int revision) {
      note("revision " + std::to_string(revision), std::move(by));
    };
    return commands;
  }

  Reply Execute(const console::Dispatcher& by, const std::string& line) {
    output.clear();
    calls.clear();
    asker = {};
    overs = 0;
    command = std::make_shared<RunningCommand>(
        10, giver, [this](std::string_view text) { output += text; }, [this] { ++overs; });
    return by.Execute(line, command);
  }
  Reply Execute(const std::string& line) { return Execute(dispatcher, line); }

  std::vector<std::string> calls;  // of the host's functions, by the last line
  apply::Asker asker;              // of the last of these
  console::Operator giver{"alice at the socket", false};
  keepers::Interfaces state;
  console::Lab lab{Control(), state, [](auto) {}};
  console::Dispatcher dispatcher{Commands(), &lab};
  console::Dispatcher bare{
      {[](const apply::Asker&, const apply::ReloadRequest&) {}, [](const apply::Asker&, bool) {}},
      &lab};
  std::shared_ptr<RunningCommand> command;
  std::string output;
  int overs = 0;
};

TEST_F(FolderWords, CallTheHost) {
  const struct {
    const char* line;
    const char* call;
    bool hasChanged;
  } lines[] = {
      {"reload", "reload 0", true},
      {"reload force", "reload force 0", true},
      {"reload confirm 1", "reload 1", true},
      {"reload confirm 86400", "reload 86400", true},
      {"reload force confirm 0060", "reload force 60", true},
      {"reload confirm 60 force", "reload force 60", true},
      {"check", "check", false},
      {"check strict", "check strict", false},
      {"diff", "diff folder", false},
      {"diff 1", "diff 1", false},
      {"diff 4294967295", "diff 4294967295", false},
      {"confirm 18", "confirm 18", false},
      {"undo", "undo 1", true},
      {"undo 1", "undo 1", true},
      {"undo 7", "undo 7", true},
      {"history", "history", false},
      {"revision 17", "revision 17", false},
  };
  for (const auto& one : lines) {
    const Reply reply = Execute(one.line);
    EXPECT_THAT(calls, ElementsAre(one.call)) << one.line;
    EXPECT_EQ(asker.name, "alice at the socket") << one.line;
    EXPECT_EQ(reply.hasChanged, one.hasChanged) << one.line;
    EXPECT_EQ(reply.isReload, one.hasChanged) << one.line;
    EXPECT_EQ(reply.vlan, 10);
    EXPECT_EQ(overs, 0) << one.line << ": the asker ends it";
    asker.end(true);
    asker = {};
    EXPECT_EQ(overs, 1) << one.line;
    EXPECT_EQ(command.use_count(), 1) << one.line;
    EXPECT_EQ(command->GetResult(), Result::DONE) << one.line;
  }
}

TEST_F(FolderWords, TellWhatTheHostTells) {
  for (const char* line :
       {"reload force", "check", "diff", "confirm 2", "undo", "history", "revision 2"}) {
    for (const bool hasPassed : {true, false}) {
      Execute(line);
      ASSERT_TRUE(asker.report) << line;
      asker.report("the first\n");
      asker.report("the second\n");
      EXPECT_FALSE(command->IsOver()) << line;
      asker.end(hasPassed);
      EXPECT_THAT(output, testing::StartsWith("the first\nthe second\n")) << line;
      EXPECT_EQ(command->GetResult(), hasPassed ? Result::DONE : Result::REFUSED) << line;
    }
  }
}

// What changes the device is logged. What only looks at it is not.
TEST_F(FolderWords, SayNothingTwiceToOneWhoSeesTheLog) {
  giver = {"terminal", true};
  for (const char* line : {"reload", "reload confirm 5", "confirm 2", "undo"}) {
    Execute(line);
    EXPECT_FALSE(asker.report) << line;
    EXPECT_EQ(asker.name, "terminal");
    asker.end(false);
    EXPECT_EQ(command->GetResult(), Result::REFUSED) << line;
  }
  for (const char* line : {"check", "diff", "history", "revision 2"}) {
    Execute(line);
    EXPECT_TRUE(asker.report) << line;
    EXPECT_EQ(asker.name, "terminal");
    asker.end(true);
  }
}

TEST_F(FolderWords, TakeNumbersOnly) {
  const struct {
    const char* before;
    const char* expected;
    std::vector<const char*> words;
    const char* possible = "Expected: ";
  } lines[] = {
      {"reload confirm",
       "seconds, from 1 to 86400",
       {"0", "86401", "-1", "+1", "1s", "x", "4294967297", "1.5", "force"}},
      {"reload force confirm", "seconds, from 1 to 86400", {"0", "confirm"}},
      {"diff",
       "the number of a revision, from 1 on",
       {"0", "-1", "folder", "4294967296"},
       "Possible: json, or "},
      {"confirm", "the number of a revision, from 1 on", {"0", "x", "1x"}},
      {"undo",
       "how many changes back, from 1 on",
       {"0", "-1", "all", "4294967296"},
       "Possible: json, or "},
      {"revision", "the number of a revision, from 1 on", {"0", "last"}},
  };
  for (const auto& one : lines) {
    for (const char* word : one.words) {
      const Reply reply = Execute(std::string(one.before) + " " + word);
      EXPECT_EQ(output, "\"" + std::string(one.before) + "\" is understood, \"" + word +
                            "\" after it is not. " + one.possible + one.expected + "\n");
      EXPECT_EQ(command->GetResult(), Result::USAGE) << output;
      EXPECT_THAT(calls, IsEmpty()) << output;
      EXPECT_FALSE(reply.hasChanged || reply.isReload) << output;
      EXPECT_EQ(overs, 1) << output;
    }
  }
}

TEST_F(FolderWords, TellTheirUseWhereANumberIsMissing) {
  const struct {
    const char* line;
    const char* usage;
  } lines[] = {
      {"reload confirm", "Usage: reload [force] [confirm <seconds>] [json]\n"},
      {"reload force confirm", "Usage: reload [force] [confirm <seconds>] [json]\n"},
      {"confirm", "Usage: confirm <revision> [json]\n"},
      {"revision", "Usage: revision <revision> [json]\n"},
  };
  for (const auto& one : lines) {
    Execute(one.line);
    EXPECT_EQ(output, one.usage);
    EXPECT_EQ(command->GetResult(), Result::USAGE) << one.line;
    EXPECT_THAT(calls, IsEmpty());
  }
  Execute("reload now");
  EXPECT_EQ(output,
            "\"reload\" is understood, \"now\" after it is not. Possible: force confirm json\n");
  Execute("reload confirm 5 force 5");
  EXPECT_THAT(output, HasSubstr("\"5\" after it is not. Possible: json"));
  EXPECT_THAT(calls, IsEmpty());
}

TEST_F(FolderWords, AreRefusedWhereTheHostHasNothingForThem) {
  const struct {
    const char* line;
    const char* why;
  } lines[] = {
      {"verify", "This device cannot compare what is wanted with what its stack has\n"},
      {"diff", "This device cannot tell what a reload would change\n"},
      {"diff 3", "This device cannot tell what a reload would change\n"},
      {"confirm 3", "This device keeps no revisions\n"},
      {"undo", "This device keeps no revisions\n"},
      {"undo 2", "This device keeps no revisions\n"},
      {"history", "This device keeps no revisions\n"},
      {"revision 3", "This device keeps no revisions\n"},
  };
  for (const auto& one : lines) {
    const Reply reply = Execute(bare, one.line);
    EXPECT_EQ(output, one.why) << one.line;
    EXPECT_EQ(command->GetResult(), Result::REFUSED) << one.line;
    EXPECT_FALSE(reply.hasChanged || reply.isReload) << one.line;
    EXPECT_EQ(overs, 1) << one.line;
  }
}

TEST_F(FolderWords, AreCompleted) {
  const auto complete = [this](const std::string& line) { return dispatcher.Complete(line, 10); };
  EXPECT_THAT(complete("rel"), ElementsAre("reload"));
  EXPECT_THAT(complete("reload "), ElementsAre("force", "confirm", "json"));
  EXPECT_THAT(complete("reload confirm 5 "), ElementsAre("force", "json"));
  EXPECT_THAT(complete("d"), ElementsAre("diff"));
  EXPECT_THAT(complete("co"), ElementsAre("confirm"));
  EXPECT_THAT(complete("un"), ElementsAre("undo"));
  EXPECT_THAT(complete("hi"), ElementsAre("history"));
  for (const char* line : {"diff ", "confirm 3 ", "undo ", "undo 3 ", "revision 3 "}) {
    EXPECT_THAT(complete(line), ElementsAre("json")) << line;
  }
  EXPECT_THAT(complete("show rev"), ElementsAre("revision"));
  for (const char* line : {"reload confirm ", "reload force confirm 5 json ", "diff 3 json ",
                           "confirm ", "confirm 3 json ", "undo json ", "undo 3 json ",
                           "history json ", "revision ", "revision 3 json ", "show re "}) {
    EXPECT_THAT(complete(line), IsEmpty()) << line;
  }
}

}  // namespace
