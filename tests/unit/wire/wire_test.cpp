#include "device/wire/wire.h"

#include <gtest/gtest.h>

namespace {

using wire::Code;
using wire::Decoder;
using wire::Message;

std::optional<Message> Decode(const std::string& bytes) {
  Decoder decoder;
  decoder.Feed(bytes.data(), bytes.size());
  return decoder.Next();
}

// What a reader sees of output that went over the wire.
std::string Shown(const std::string& bytes) {
  Decoder decoder;
  decoder.Feed(bytes.data(), bytes.size());
  std::string text;
  while (const auto message = decoder.Next()) {
    EXPECT_EQ(message->kind, Message::OUTPUT);
    text += message->text;
  }
  EXPECT_FALSE(decoder.IsBroken());
  EXPECT_EQ(decoder.CountWaiting(), 0u);
  return text;
}

TEST(Wire, IsLinesThatAPersonCanRead) {
  EXPECT_EQ(wire::EncodeGreeting(), "V 3\n");
  EXPECT_EQ(wire::EncodeCommand("vrf 20"), "C vrf 20\n");
  EXPECT_EQ(wire::EncodeCompletion("ip pro"), "W ip pro\n");
  EXPECT_EQ(wire::EncodeHelp("ip pro"), "H ip pro\n");
  EXPECT_EQ(wire::EncodeInterrupt(), "I\n");
  EXPECT_EQ(wire::EncodeLive(), "L\n");
  EXPECT_EQ(wire::EncodeNoWait(), "N\n");
  EXPECT_EQ(wire::EncodeSingle(), "S\n");
  EXPECT_EQ(wire::EncodeProgress(7, 4294967295), "G 7 4294967295\n");
  EXPECT_EQ(wire::EncodeOutput("one\n\ntwo"), "O one\nO \nP two\n");
  EXPECT_EQ(wire::EncodeReply(Code::USAGE, 4094), "R 2 4094\n");
  EXPECT_EQ(wire::EncodeReply(Code::DONE, 10, true), "Q 0 10\n");
}

TEST(Wire, KeepsACommandInItsLine) {
  EXPECT_EQ(wire::EncodeCommand("a\nI\n"), "C a I \n");
  EXPECT_EQ(wire::EncodeCommand(std::string(wire::MAX_TEXT + 1, 'x')).size(), wire::MAX_TEXT + 3);
}

TEST(Wire, ReadsWhatItWrites) {
  for (const unsigned short version : {0, 1, 2, 65535}) {
    const auto greeting = Decode(wire::EncodeGreeting(version));
    ASSERT_TRUE(greeting);
    EXPECT_EQ(greeting->kind, Message::GREETING);
    EXPECT_EQ(greeting->version, version);
  }
  const auto command = Decode(wire::EncodeCommand("ip bgp"));
  ASSERT_TRUE(command);
  EXPECT_EQ(command->kind, Message::COMMAND);
  EXPECT_EQ(command->text, "ip bgp");
  const auto interrupt = Decode(wire::EncodeInterrupt());
  ASSERT_TRUE(interrupt);
  EXPECT_EQ(interrupt->kind, Message::INTERRUPT);
  EXPECT_EQ(Decode(wire::EncodeNoWait())->kind, Message::NO_WAIT);
  const auto help = Decode(wire::EncodeHelp("ip b"));
  ASSERT_TRUE(help);
  EXPECT_EQ(help->kind, Message::HELP);
  EXPECT_EQ(help->text, "ip b");
  EXPECT_EQ(Decode(wire::EncodeLive())->kind, Message::LIVE);
  EXPECT_EQ(Decode(wire::EncodeSingle())->kind, Message::SINGLE);
  const auto progress = Decode(wire::EncodeProgress(4294967295, 12));
  ASSERT_TRUE(progress);
  EXPECT_EQ(progress->kind, Message::PROGRESS);
  EXPECT_EQ(progress->done, 4294967295u);
  EXPECT_EQ(progress->total, 12u);
  const auto reply = Decode(wire::EncodeReply(Code::TIMED_OUT, 65535));
  ASSERT_TRUE(reply);
  EXPECT_EQ(reply->kind, Message::REPLY);
  EXPECT_EQ(reply->code, Code::TIMED_OUT);
  EXPECT_EQ(reply->vlan, 65535);
  EXPECT_FALSE(reply->isLast);
  const auto last = Decode(wire::EncodeReply(Code::REFUSED, 0, true));
  ASSERT_TRUE(last);
  EXPECT_EQ(last->code, Code::REFUSED);
  EXPECT_TRUE(last->isLast);
}

TEST(Wire, DeliversOutputAsItWas) {
  const std::string longest(wire::MAX_TEXT, 'a');
  for (const std::string& text :
       {std::string(), std::string("\n"), std::string("a"), std::string("R 0 1\nQ 0 1"),
        std::string("a\0b\n", 4), longest, longest + "\n", longest + "b", longest + "b\n",
        longest + longest + "\nc\n"}) {
    EXPECT_EQ(Shown(wire::EncodeOutput(text)), text);
  }
}

TEST(Wire, PutsMessagesTogetherFromPieces) {
  const std::string bytes = "O one\nP tw";
  Decoder decoder;
  std::string seen;
  for (const char byte : bytes) {
    decoder.Feed(&byte, 1);
    while (const auto message = decoder.Next()) {
      seen += message->text;
    }
  }
  EXPECT_EQ(seen, "one\n");
  EXPECT_EQ(decoder.CountWaiting(), 4u);
  decoder.Feed("o\nI\n", 4);
  EXPECT_EQ(decoder.Next()->text, "two");
  EXPECT_EQ(decoder.Next()->kind, Message::INTERRUPT);
  EXPECT_FALSE(decoder.Next());
}

TEST(Wire, TakesNothingBehindWhatIsNoMessage) {
  for (const char* line : {"",          "C",
                           "Cx",        "X a",
                           "i",         "I ",
                           "R",         "R 0",
                           "R 0 ",      "R  1",
                           "R 6 1",     "N ",
                           "SS",        "H",
                           "L ",        "G 1",
                           "G 1 ",      "G 1 4294967296",
                           "G -1 1",    "R -1 1",
                           "R 0 65536", "R 0 1 ",
                           "R 0x 1",    "Q 0",
                           "V",         "V ",
                           "V x",       "V 1 ",
                           "V -1",      "V 65536",
                           "V 1 2",     "R 999999999999 1"}) {
    Decoder decoder;
    const std::string bytes = std::string(line) + "\nC help\n";
    decoder.Feed(bytes.data(), bytes.size());
    EXPECT_FALSE(decoder.Next()) << line;
    EXPECT_TRUE(decoder.IsBroken()) << line;
    EXPECT_FALSE(decoder.Next()) << line;
  }
}

TEST(Wire, WaitsForNoLineThatIsTooLong) {
  Decoder decoder;
  const std::string bytes = "C " + std::string(wire::MAX_TEXT, 'x');
  decoder.Feed(bytes.data(), bytes.size());
  EXPECT_FALSE(decoder.Next());
  EXPECT_FALSE(decoder.IsBroken());
  decoder.Feed("x", 1);
  EXPECT_FALSE(decoder.Next());
  EXPECT_TRUE(decoder.IsBroken());
}

}  // namespace
