// The words of a command's grammar.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "tests/support/argument_vector.h"
#include "tests/support/trace_capture.h"
#include "tests/unit/commands/plain_command.h"
#include "vantacore/dc_console_command.h"

namespace Tarsel {
namespace {

using console_test::CommandWithLog;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

typedef DcConsoleCommand::ConsoleCommandFlagOption FlagOption;
typedef DcConsoleCommand::ConsoleCommandValueOption ValueOption;

std::vector<std::string> g_values;  // what the handlers below were given

void NoteFlag(DcConsoleCommand&) { g_values.push_back("flag"); }

bool NoteValue(DcConsoleCommand&, const char* value) {
  g_values.push_back(value);
  return true;
}

bool RefuseValue(DcConsoleCommand&, const char* value) {
  g_values.push_back(value);
  return false;
}

// What one option made of some words.
struct Outcome {
  bool result;
  int left;                 // words not consumed
  std::string next;         // the first of them
  unsigned short vlan = 0;  // the command's afterwards
  std::string output;
};

Outcome Parse(const DcConsoleCommand::ConsoleCommandOption& option,
              std::vector<std::string> words) {
  test_support::ArgumentVector arguments(std::move(words));
  CommandWithLog with(1);
  int argc = arguments.GetCount();
  char** argv = arguments.GetPointers();
  g_values.clear();
  Outcome outcome;
  outcome.result = option.Parse(*with.command, argc, argv);
  outcome.left = argc;
  outcome.next = *argv != nullptr ? *argv : "";
  outcome.vlan = with.command->GetVlan();
  outcome.output = with.log->all;
  return outcome;
}

void ExpectOutcome(const Outcome& outcome, bool result, int left) {
  EXPECT_EQ(result, outcome.result);
  EXPECT_EQ(left, outcome.left);
}

TEST(FlagOptionTest, AnyAbbreviationInAnyCaseMatches) {
  const FlagOption option("detail", NoteFlag);
  for (const char* word : {"detail", "d", "de", "DETAI", "Det", ""}) {
    ExpectOutcome(Parse(option, {word, "x"}), true, 1);
    EXPECT_THAT(g_values, ElementsAre("flag")) << word;
  }
}

TEST(FlagOptionTest, OtherWordsAreLeft) {
  const FlagOption option("detail", NoteFlag);
  for (const char* word : {"details", "dx", "etail", " detail"}) {
    ExpectOutcome(Parse(option, {word, "x"}), true, 2);
    EXPECT_THAT(g_values, IsEmpty()) << word;
  }
  ExpectOutcome(Parse(option, {}), true, 0);
  EXPECT_THAT(g_values, IsEmpty());
}

TEST(FlagOptionTest, NeedsNoHandler) {
  ExpectOutcome(Parse(FlagOption("detail", nullptr), {"detail"}), true, 0);
}

TEST(ValueOptionTest, AMatchTakesTheKeywordAndItsValue) {
  const ValueOption option("dest", false, NoteValue);
  for (const char* word : {"dest", "d", "DES", ""}) {
    ExpectOutcome(Parse(option, {word, "10.0.0.0", "x"}), true, 1);
    EXPECT_THAT(g_values, ElementsAre("10.0.0.0")) << word;
  }
}

TEST(ValueOptionTest, AMissingKeywordFailsOnlyAMandatoryOption) {
  for (const std::vector<std::string>& words :
       {std::vector<std::string>(), std::vector<std::string>{"destination", "x"}}) {
    const int left = static_cast<int>(words.size());
    ExpectOutcome(Parse(ValueOption("dest", false, NoteValue), words), true, left);
    ExpectOutcome(Parse(ValueOption("dest", true, NoteValue), words), false, left);
    EXPECT_THAT(g_values, IsEmpty());
  }
}

TEST(ValueOptionTest, WithoutAHandlerNoValueIsTaken) {
  for (const bool mandatory : {false, true}) {
    ExpectOutcome(Parse(ValueOption("dest", mandatory, nullptr), {"dest", "x"}), true, 1);
    ExpectOutcome(Parse(ValueOption("dest", mandatory, nullptr), {"dest"}), true, 0);
  }
}

TEST(ValueOptionTest, AMissingValueFails) {
  for (const bool mandatory : {false, true}) {
    ExpectOutcome(Parse(ValueOption("dest", mandatory, NoteValue), {"dest"}), false, 0);
    EXPECT_THAT(g_values, IsEmpty());
  }
}

TEST(ValueOptionTest, ARefusedValueIsLeftWhereItIs) {
  const Outcome outcome = Parse(ValueOption("dest", false, RefuseValue), {"dest", "value", "x"});
  ExpectOutcome(outcome, false, 2);
  EXPECT_EQ("value", outcome.next);
  EXPECT_THAT(g_values, ElementsAre("value"));
}

TEST(Options, ANegativeNumberOfWordsIsReportedAndTakenAsNone) {
  test_support::TraceCapture traces;
  CommandWithLog with;
  g_values.clear();
  int argc = -1;
  char** argv = nullptr;
  EXPECT_TRUE(FlagOption("detail", NoteFlag).Parse(*with.command, argc, argv));
  EXPECT_TRUE(ValueOption("dest", false, NoteValue).Parse(*with.command, argc, argv));
  EXPECT_FALSE(ValueOption("dest", true, NoteValue).Parse(*with.command, argc, argv));
  EXPECT_EQ(-1, argc);
  EXPECT_THAT(g_values, IsEmpty());
  EXPECT_THAT(traces.Assertions(),
              ElementsAre(StartsWith("argc >= 0|dcconsole|"), StartsWith("argc >= 0|dcconsole|"),
                          StartsWith("argc >= 0|dcconsole|")));
}

TEST(VlanOption, SelectsTheVlan) {
  for (const char* keyword : {"vrf", "VRF", "v", ""}) {
    const Outcome outcome = Parse(DcConsoleCommand::vlan_option, {keyword, "12"});
    ExpectOutcome(outcome, true, 0);
    EXPECT_EQ(12, outcome.vlan) << keyword;
  }
  EXPECT_EQ(4464, Parse(DcConsoleCommand::vlan_option, {"vrf", "70000"}).vlan);
}

TEST(VlanOption, IsNotMandatory) {
  ExpectOutcome(Parse(DcConsoleCommand::vlan_option, {}), true, 0);
  ExpectOutcome(Parse(DcConsoleCommand::vlan_option, {"vlan", "12"}), true, 2);
}

TEST(VlanOption, FailsWithoutAUsableValue) {
  ExpectOutcome(Parse(DcConsoleCommand::vlan_option, {"vrf"}), false, 0);
  const Outcome outcome = Parse(DcConsoleCommand::vlan_option, {"vrf", "x12"});
  ExpectOutcome(outcome, false, 1);
  EXPECT_EQ(1, outcome.vlan);
  EXPECT_EQ("Invalid VLAN ID x12\n", outcome.output);
}

}  // namespace
}  // namespace Tarsel
