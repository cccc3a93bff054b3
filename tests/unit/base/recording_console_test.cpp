#include "tests/support/recording_console.h"

#include <gtest/gtest.h>

#include <string>

using test_support::ConsoleLog;
using test_support::NewConsoleLog;
using test_support::RecordingConsole;

TEST(RecordingConsole, WritesOutputAndErrorsDownInOrder) {
  const std::shared_ptr<ConsoleLog> log = NewConsoleLog();
  RecordingConsole console(log);
  console.Print("%-4s|%d\n", "ab", 5);
  console.PrintError("100%s of it\n");
  console.Print("%s", "");
  console.Print("%s", std::string(2000, 'x').c_str());
  EXPECT_EQ(log->output, "ab  |5\n" + std::string(2000, 'x'));
  EXPECT_EQ(log->errors, "100%s of it\n");
  EXPECT_EQ(log->all, "ab  |5\n100%s of it\n" + std::string(2000, 'x'));
}

TEST(RecordingConsole, AnswersTheVlanAndCountsTheEnds) {
  const std::shared_ptr<ConsoleLog> log = NewConsoleLog(20);
  RecordingConsole console(log);
  EXPECT_EQ(console.GetVlan(0, nullptr), 20);
  EXPECT_EQ(log->vlanQueries, 1);
  EXPECT_EQ(log->ends, 0);
  console.CommandEnd();
  console.CommandEnd();
  EXPECT_EQ(log->ends, 2);
}

TEST(RecordingConsole, TheLogTellsThatTheConsoleIsGone) {
  const std::shared_ptr<ConsoleLog> log = NewConsoleLog();
  Tarsel::DcConsole* console = new RecordingConsole(log);
  console->Print("x");
  EXPECT_FALSE(log->destroyed);
  delete console;
  EXPECT_TRUE(log->destroyed);
  EXPECT_EQ(log->output, "x");
}
