#include "device/console/running_command.h"

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>

#include "device/console/host_console.h"
#include "tests/support/trace_capture.h"

namespace {

using console::HostConsole;
using console::Result;

class RunningCommand : public testing::Test {
 protected:
  std::string output;
  int overs = 0;
  std::shared_ptr<console::RunningCommand> command = std::make_shared<console::RunningCommand>(
      10, console::Operator{}, [this](std::string_view text) { output += text; },
      [this] { ++overs; });
};

TEST_F(RunningCommand, EndsOnce) {
  EXPECT_FALSE(command->IsOver());
  command->End();
  EXPECT_TRUE(command->IsOver());
  EXPECT_EQ(overs, 1);
  command->End();
  EXPECT_EQ(overs, 1);
}

TEST_F(RunningCommand, EndsWithItsConsole) {
  auto* console = new HostConsole(command);
  EXPECT_EQ(console->GetVlan(0, nullptr), 10);
  console->Print("%s %d, ", "row", 1);
  console->PrintError("row 2");
  EXPECT_EQ(output, "row 1, row 2");
  EXPECT_FALSE(command->IsOver());
  EXPECT_FALSE(command->HasLostConsole());
  delete console;
  EXPECT_TRUE(command->HasLostConsole());
  EXPECT_TRUE(command->IsOver());
  EXPECT_EQ(overs, 1);
}

TEST_F(RunningCommand, EndsBeforeItsConsoleWhenThatIsToldSo) {
  auto* console = new HostConsole(command);
  console->CommandEnd();
  EXPECT_TRUE(command->IsOver());
  EXPECT_FALSE(command->HasLostConsole());
  delete console;
  EXPECT_TRUE(command->HasLostConsole());
  EXPECT_EQ(overs, 1);
}

// The library knows nothing of exceptions.
TEST_F(RunningCommand, SaysInTheLogThatItsOutputIsLost) {
  const test_support::TraceCapture traces;
  const auto lost = std::make_shared<console::RunningCommand>(
      10, console::Operator{},
      [](std::string_view) { throw std::runtime_error("there is no room"); }, [] {});
  const auto console = std::make_unique<HostConsole>(lost);
  console->Print("%s", "row 1");
  console->PrintError("row 2");
  EXPECT_EQ(traces.CountOf("0:Console output is lost: there is no room\n"), 2u);
  EXPECT_EQ(traces.Lines().size(), 2u);
}

TEST_F(RunningCommand, RunsOnUnheardWhenItsSessionHasDetached) {
  command->Write("row 1");
  command->Detach();
  command->Write("row 2");
  EXPECT_FALSE(command->IsOver());
  command->End();
  EXPECT_TRUE(command->IsOver());
  EXPECT_EQ(output, "row 1");
  EXPECT_EQ(overs, 0);
}

TEST_F(RunningCommand, LetsItsSessionDetachFromInside) {
  console::RunningCommand* running = nullptr;
  int taken = 0;
  const auto count = std::make_shared<int>(0);
  console::RunningCommand own(
      10, console::Operator{},
      [&taken, &running, count](std::string_view) {
        running->Detach();
        taken += 1 + *count;  // what the function holds is there until it returns
      },
      {});
  running = &own;
  own.Write("row 1");
  own.Write("row 2");
  EXPECT_EQ(taken, 1);
  own.End();
  EXPECT_TRUE(own.IsOver());
}

TEST_F(RunningCommand, IsFaultyOnlyWhenItsFolderIs) {
  command->Tell("vlans.json: warning: odd\n");
  EXPECT_EQ(command->GetResult(), Result::DONE);
  command->Fail();
  EXPECT_EQ(command->GetResult(), Result::REFUSED);
  command->Refuse();
  EXPECT_EQ(command->GetResult(), Result::REFUSED);
  command->Misunderstand();
  EXPECT_EQ(command->GetResult(), Result::USAGE);
}

TEST_F(RunningCommand, TellsWhatComesLate) {
  command->End();
  command->Tell("vlans.json: broken\n");
  EXPECT_EQ(command->GetResult(), Result::DONE);
  EXPECT_EQ(output, "vlans.json: broken\n");
}

TEST_F(RunningCommand, IsFaultyAlsoWhenNobodyReads) {
  command->Detach();
  command->Tell("vlans.json: broken\n");
  command->Fail();
  EXPECT_EQ(command->GetResult(), Result::REFUSED);
  EXPECT_EQ(output, "");
}

TEST_F(RunningCommand, IsUsageWhenTheLibrarySaysSo) {
  command->ListenToLibrary();
  auto* console = new HostConsole(command);
  for (const char* piece : {"", "Us", "age:", " ips [on|off]", "\nmore\n"}) {
    EXPECT_EQ(command->GetResult(), Result::DONE);
    console->Print("%s", piece);
    if (output.size() >= 7) {
      break;
    }
  }
  EXPECT_EQ(command->GetResult(), Result::USAGE);
  command->Refuse();
  EXPECT_EQ(command->GetResult(), Result::USAGE);
  delete console;
}

TEST_F(RunningCommand, TakesItsResultFromTheLibrarysFirstLines) {
  const struct {
    const char* text;
    Result result;
  } texts[] = {
      {"Usage: \n ip protocol", Result::USAGE},
      {"Invalid VLAN ID ten\nUsage: rtm rib\n", Result::USAGE},
      {"Fail to parse mcast-database sub command.\n", Result::USAGE},
      {"VLAN 99 is not present\n", Result::REFUSED},
      {"VLAN 99 is not present\nFail to parse mcast-database sub command.\n", Result::REFUSED},
      {"VLAN 99: disabled\n", Result::DONE},
      {"Invalid VLAN ID ten\nrow\nUsage: rtm rib\n", Result::DONE},
      {"Invalid\nUsage: rtm rib\n", Result::DONE},
      {"Usage:\n ip protocol", Result::DONE},
      {"usage: ips", Result::DONE},
      {" Usage: ips", Result::DONE},
      {"row 1\nUsage: ips\n", Result::DONE},
      {"row 1\nVLAN 99 is not present\n", Result::DONE},
      {"", Result::DONE},
  };
  for (const auto& one : texts) {
    for (const std::size_t piece : {std::size_t{1}, std::size_t{7}, std::string::npos}) {
      console::RunningCommand own(10, console::Operator{}, {}, {});
      own.ListenToLibrary();
      const std::string text = one.text;
      for (std::size_t at = 0; at < text.size();) {
        own.Write(text.substr(at, piece));
        at = piece == std::string::npos ? text.size() : at + piece;
      }
      EXPECT_EQ(own.GetResult(), one.result) << text;
    }
  }
  command->Write("Usage: ips\n");
  EXPECT_EQ(command->GetResult(), Result::DONE) << "the host says itself how it went";
}

TEST_F(RunningCommand, IsUsageWhenItMisunderstoodAWord) {
  command->Refuse();
  EXPECT_EQ(command->GetResult(), Result::REFUSED);
  command->Misunderstand();
  EXPECT_EQ(command->GetResult(), Result::USAGE);
}

TEST_F(RunningCommand, ShowsNothingThatATerminalWouldObey) {
  auto* console = new HostConsole(command);
  console->Print("Invalid VLAN ID %s\n", "\x1b[2J\xc2\x9b\xff\u202e");
  console->PrintError("\r\x07\n");
  command->Tell("\x1b]0;title\x07.json: broken\n");
  EXPECT_EQ(output,
            "Invalid VLAN ID \\x1b[2J\\xc2\\x9b\\xff\\xe2\\x80\\xae\n"
            "\\x0d\\x07\n"
            "\\x1b]0;title\\x07.json: broken\n");
  delete console;
}

// A document may be named like this.
TEST_F(RunningCommand, IsNotUsageByAFindingThatLooksLikeIt) {
  command->ListenToLibrary();
  command->Tell("Usage: .json: broken\n");
  EXPECT_EQ(command->GetResult(), Result::DONE);
  command->Fail();
  EXPECT_EQ(command->GetResult(), Result::REFUSED);
}

}  // namespace
