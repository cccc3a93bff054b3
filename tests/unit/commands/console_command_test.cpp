// The base of the console commands: its console, its output and its life.
#include "vantacore/dc_console_command.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <tuple>

#include "tests/support/recording_console.h"
#include "tests/unit/commands/plain_command.h"

namespace Tarsel {
namespace {

using console_test::CommandWithLog;
using console_test::PlainCommand;
using test_support::NewConsoleLog;
using test_support::RecordingConsole;

// --- construction and ownership ---

TEST(ConsoleCommand, TakesTheDefaultVlanWhenNoneIsGiven) {
  EXPECT_EQ(0, DcConsoleCommand::m_default_vlan);
  DcConsoleCommand::m_default_vlan = 77;
  const PlainCommand command(new RecordingConsole(NewConsoleLog()), "usage", "description");
  DcConsoleCommand::m_default_vlan = 0;
  EXPECT_EQ(77, command.GetVlan());
  EXPECT_STREQ("usage", command.GetUsage());
  EXPECT_STREQ("description", command.GetDescription());
  EXPECT_EQ(0, command.GetMark());
}

TEST(ConsoleCommand, TakesTheVlanThatIsGiven) {
  const PlainCommand command(new RecordingConsole(NewConsoleLog()), 65535, nullptr, nullptr);
  EXPECT_EQ(65535, command.GetVlan());
  EXPECT_EQ(nullptr, command.GetUsage());
  EXPECT_EQ(nullptr, command.GetDescription());
  EXPECT_EQ(0, command.GetMark());
}

TEST(ConsoleCommand, DeletesItsConsole) {
  CommandWithLog with;
  EXPECT_FALSE(with.log->destroyed);
  with.command.reset();
  EXPECT_TRUE(with.log->destroyed);
  EXPECT_EQ(0, with.log->ends);  // the end of the object is no end of the output
}

TEST(ConsoleCommand, MayHaveNoConsole) {
  const PlainCommand command(nullptr, 1, nullptr, nullptr);
  EXPECT_EQ(nullptr, command.GetConsole());
  EXPECT_FALSE(DcConsoleCommand::Owns(nullptr));
}

TEST(ConsoleCommand, OwnsItsConsoleWhileItLives) {
  CommandWithLog first;
  CommandWithLog second;
  const DcConsole* const console = first.command->GetConsole();
  const DcConsole* const other = second.command->GetConsole();
  const RecordingConsole stranger(NewConsoleLog());
  EXPECT_TRUE(DcConsoleCommand::Owns(console));
  EXPECT_TRUE(DcConsoleCommand::Owns(other));
  EXPECT_FALSE(DcConsoleCommand::Owns(&stranger));
  first.command.reset();
  EXPECT_FALSE(DcConsoleCommand::Owns(console));
  EXPECT_TRUE(DcConsoleCommand::Owns(other));
}

// A command made from within another one may be given the same console; the inner one goes first,
// and must not take it along.
TEST(ConsoleCommand, AConsoleIsOwnedUntilItsLastHolderGoes) {
  struct InnerCommand : PlainCommand {
    using PlainCommand::PlainCommand;
    bool Parse(int, char**) override {
      m_console = nullptr;
      return true;
    }
  };
  CommandWithLog outer;
  DcConsole* const console = outer.command->GetConsole();
  {
    const PlainCommand another(new RecordingConsole(NewConsoleLog()), 1, nullptr, nullptr);
    EXPECT_TRUE(DcConsoleCommand::Owns(another.GetConsole()));
  }
  {
    InnerCommand inner(console, 1, nullptr, nullptr);
    inner.Parse(0, nullptr);
  }
  EXPECT_TRUE(DcConsoleCommand::Owns(console));
  EXPECT_FALSE(outer.log->destroyed);
  outer.command.reset();
  EXPECT_TRUE(outer.log->destroyed);
  EXPECT_FALSE(DcConsoleCommand::Owns(console));
}

// --- output ---

// Tells the two ways of formatted output apart.
class CountingConsole : public RecordingConsole {
 public:
  using RecordingConsole::RecordingConsole;
  void Print(const char* format, ...) override __attribute__((format(printf, 2, 3))) {
    ++prints;
    std::va_list arguments;
    va_start(arguments, format);
    RecordingConsole::VPrint(format, arguments);
    va_end(arguments);
  }
  void VPrint(const char* format, std::va_list arguments) override {
    ++vprints;
    RecordingConsole::VPrint(format, arguments);
  }

  int prints = 0;
  int vprints = 0;
};

TEST(ConsoleCommand, PrintHandsFormatAndArgumentsOn) {
  auto log = NewConsoleLog();
  auto* const console = new CountingConsole(log);
  const PlainCommand command(console, 1, nullptr, nullptr);
  command.Print("%s %u%%\n", "load", 5U);
  EXPECT_EQ("load 5%\n", log->output);
  EXPECT_EQ(1, console->vprints);
  EXPECT_EQ(0, console->prints);
}

TEST(ConsoleCommand, CommandEndIsPassedOn) {
  CommandWithLog with;
  with.command->CommandEnd();
  EXPECT_EQ(1, with.log->ends);
  EXPECT_EQ("", with.log->all);
}

TEST(ConsoleCommand, TableEndPrintsAndEnds) {
  auto log = NewConsoleLog();
  auto* const console = new CountingConsole(log);
  PlainCommand command(console, 1, nullptr, nullptr);
  command.TableEnd();
  EXPECT_EQ("End of Table\n", log->output);
  EXPECT_EQ("", log->errors);
  EXPECT_EQ(1, console->prints);
  EXPECT_EQ(1, log->ends);
}

class ResponseCode : public testing::TestWithParam<std::tuple<unsigned int, const char*>> {};

TEST_P(ResponseCode, HasItsMessageAndEndsTheOutput) {
  CommandWithLog with;
  with.command->ParseError(std::get<0>(GetParam()));
  EXPECT_EQ(std::get<1>(GetParam()), with.log->errors);
  EXPECT_EQ("", with.log->output);
  EXPECT_EQ(1, with.log->ends);
}

INSTANTIATE_TEST_SUITE_P(
    All, ResponseCode,
    testing::Values(
        std::make_tuple(0U, ""), std::make_tuple(1U, ""), std::make_tuple(2U, "Gen Error\n"),
        std::make_tuple(3U, "Wrong Value\n"), std::make_tuple(4U, "Inconsistent Value\n"),
        std::make_tuple(5U, "Resource Failure\n"), std::make_tuple(6U, "Family is not found\n"),
        std::make_tuple(7U, "End of table\n"), std::make_tuple(8U, "Agent Error\n"),
        std::make_tuple(9U, "Incomplete\n"), std::make_tuple(10U, "Partial Family ok\n"),
        std::make_tuple(11U, ""), std::make_tuple(0xFFFFFFFFU, "")));

// Notes what had been printed when the end was signalled: a host shows nothing that comes later.
class EndingConsole : public RecordingConsole {
 public:
  explicit EndingConsole(std::shared_ptr<test_support::ConsoleLog> log)
      : RecordingConsole(log), m_log(std::move(log)) {}
  void CommandEnd() override { printed = m_log->all; }

  std::string printed;

 private:
  std::shared_ptr<test_support::ConsoleLog> m_log;
};

TEST(ConsoleCommand, TheEndComesAfterWhatIsPrinted) {
  auto* const console = new EndingConsole(NewConsoleLog());
  PlainCommand command(console, 1, nullptr, nullptr);
  command.TableEnd();
  EXPECT_EQ("End of Table\n", console->printed);
  command.ParseError(5);
  EXPECT_EQ("End of Table\nResource Failure\n", console->printed);
}

// --- responses of the stack ---

TEST(ConsoleCommand, ResponsesAreDisplayedWithTheirArguments) {
  CommandWithLog with;
  int row = 0;
  with.command->display = [&row](unsigned int context, unsigned int result, const void* shown) {
    EXPECT_EQ(11U, context);
    EXPECT_EQ(1U, result);
    EXPECT_EQ(&row, shown);
    return 1U;
  };
  void* const command = static_cast<DcConsoleCommand*>(with.command.get());
  EXPECT_EQ(1, DcConsoleCommand::ResponseHandler(command, 11, 1, &row));
  EXPECT_FALSE(with.log->destroyed);
}

TEST(ConsoleCommand, TheAnswerNoughtDeletesTheCommandAndItsConsole) {
  CommandWithLog with;
  bool destroyed = false;
  with.command->destroyed = &destroyed;
  with.command->display = [](unsigned int, unsigned int, const void*) { return 0U; };
  void* const command = static_cast<DcConsoleCommand*>(with.command.release());
  EXPECT_EQ(0, DcConsoleCommand::ResponseHandler(command, 0, 7, nullptr));
  EXPECT_TRUE(destroyed);
  EXPECT_TRUE(with.log->destroyed);
}

TEST(ConsoleCommand, OtherAnswersKeepTheCommandAndReturnTheirLowByte) {
  CommandWithLog with;
  bool destroyed = false;
  with.command->destroyed = &destroyed;
  void* const command = static_cast<DcConsoleCommand*>(with.command.get());
  for (const unsigned int answer : {256U, 1U, 255U, 0x102U, 0x10000U}) {
    with.command->display = [answer](unsigned int, unsigned int, const void*) { return answer; };
    EXPECT_EQ(answer & 0xFF, DcConsoleCommand::ResponseHandler(command, 0, 1, nullptr));
  }
  EXPECT_FALSE(destroyed);
}

TEST(ConsoleCommand, TheBaseDisplaysNothingAndEnds) {
  CommandWithLog with;
  void* const command = static_cast<DcConsoleCommand*>(with.command.release());
  EXPECT_EQ(0, DcConsoleCommand::ResponseHandler(command, 0, 1, nullptr));
  EXPECT_EQ("", with.log->all);
  EXPECT_TRUE(with.log->destroyed);
}

// A stack that answers from inside a call gets here again before the first answer is out.
TEST(ConsoleCommand, MayBeDeletedByANestedResponse) {
  CommandWithLog with;
  PlainCommand* const command = with.command.release();
  bool destroyed = false;
  command->destroyed = &destroyed;
  void* const context = static_cast<DcConsoleCommand*>(command);
  command->display = [context](unsigned int, unsigned int result, const void*) {
    if (result == 7) {
      return 0U;
    }
    DcConsoleCommand::ResponseHandler(context, 0, 7, nullptr);
    return 256U;
  };
  EXPECT_EQ(0, DcConsoleCommand::ResponseHandler(context, 0, 1, nullptr));
  EXPECT_TRUE(destroyed);
}

// --- VLAN ---

TEST(ConsoleCommand, ParseVlanTakesANumberCutToSixteenBits) {
  CommandWithLog with;
  EXPECT_TRUE(with.command->ParseVlan("12"));
  EXPECT_EQ(12, with.command->GetVlan());
  EXPECT_TRUE(with.command->ParseVlan("70000"));
  EXPECT_EQ(4464, with.command->GetVlan());
  EXPECT_TRUE(with.command->ParseVlan("-1"));
  EXPECT_EQ(65535, with.command->GetVlan());
  EXPECT_TRUE(with.command->ParseVlan(""));
  EXPECT_EQ(0, with.command->GetVlan());
  EXPECT_EQ("", with.log->all);
}

TEST(ConsoleCommand, ParseVlanComplainsAndKeepsTheVlan) {
  CommandWithLog with(5);
  EXPECT_FALSE(with.command->ParseVlan("12a"));
  EXPECT_EQ(5, with.command->GetVlan());
  EXPECT_EQ("Invalid VLAN ID 12a\n", with.log->output);
  EXPECT_EQ(0, with.log->ends);
}

TEST(ConsoleCommand, ParseVlanComplainsOfANullTextAsOfTheEmptyOne) {
  CommandWithLog with(5);
  EXPECT_FALSE(with.command->ParseVlan(nullptr));
  EXPECT_EQ(5, with.command->GetVlan());
  EXPECT_EQ("Invalid VLAN ID \n", with.log->output);
}

TEST(ConsoleCommand, TheOptionHandlerParsesTheCommandsVlan) {
  CommandWithLog with(5);
  DcConsoleCommand& command = *with.command;
  EXPECT_TRUE(DcConsoleCommand::ParseVlan(command, "9"));
  EXPECT_EQ(9, with.command->GetVlan());
  EXPECT_FALSE(DcConsoleCommand::ParseVlan(command, "x"));
  EXPECT_EQ("Invalid VLAN ID x\n", with.log->output);
}

// --- hex dumps ---

std::string Dump(const std::string& data, unsigned int perLine) {
  CommandWithLog with;
  with.command->HexDump(reinterpret_cast<const unsigned char*>(data.data()),
                        static_cast<unsigned int>(data.size()), perLine);
  return with.log->output;
}

TEST(HexDump, FullLinesShowTheirOwnCharacters) {
  EXPECT_EQ("61 62 63 64 abcd\n65 66 67 68 efgh\n", Dump("abcdefgh", 4));
}

TEST(HexDump, AShortLastLineShowsCharactersFromFurtherBack) {
  std::string data;
  for (char c = 'a'; c < 'a' + 20; ++c) {
    data += c;
  }
  std::string expected;
  for (unsigned int c = 0x61; c <= 0x70; ++c) {
    expected += string().Format("%02x ", c).c_str();
  }
  expected += "abcdefghijklmnop\n71 72 73 74 ";
  for (int i = 0; i < 12; ++i) {
    expected += "   ";
  }
  expected += "efgh\n";
  EXPECT_EQ(expected, Dump(data, 16));
}

TEST(HexDump, DataShorterThanALineShowsItsOwnCharacters) {
  EXPECT_EQ("61 62       ab\n", Dump("ab", 4));
}

TEST(HexDump, BytesArePrintedRaw) { EXPECT_EQ("01 ff \x01\xff\n", Dump("\x01\xff", 2)); }

TEST(HexDump, OneBytePerLine) { EXPECT_EQ("61 a\n62 b\n", Dump("ab", 1)); }

TEST(HexDump, NothingIsPrintedOfNothing) {
  EXPECT_EQ("", Dump("", 16));
  EXPECT_EQ("", Dump("abc", 0));
}

TEST(HexDump, ALineRewindsByItsWidthAndEndsShortOfItsBytes) {
  CommandWithLog with;
  const unsigned char data[] = "abcdefgh";
  const unsigned char* cursor = data + 4;
  with.command->HexDumpLine(cursor, 3, 4);
  EXPECT_EQ("65 66 67    def\n", with.log->output);
  EXPECT_EQ(data + 6, cursor);
  with.command->HexDumpLine(cursor, 2, 2);
  EXPECT_EQ("65 66 67    def\n67 68 gh\n", with.log->output);
  EXPECT_EQ(data + 8, cursor);
}

}  // namespace
}  // namespace Tarsel
