// Conversations as both ends lead them, damaged or not, in pieces of any size.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "device/wire/wire.h"
#include "tests/models/random_run.h"

namespace {

using wire::Code;
using wire::Decoder;
using wire::Message;

std::string Line(const Message& message) {
  switch (message.kind) {
    case Message::GREETING:
      return wire::EncodeGreeting(message.version);
    case Message::COMMAND:
      return wire::EncodeCommand(message.text);
    case Message::COMPLETION:
      return wire::EncodeCompletion(message.text);
    case Message::HELP:
      return wire::EncodeHelp(message.text);
    case Message::INTERRUPT:
      return wire::EncodeInterrupt();
    case Message::LIVE:
      return wire::EncodeLive();
    case Message::NO_WAIT:
      return wire::EncodeNoWait();
    case Message::SINGLE:
      return wire::EncodeSingle();
    case Message::PROGRESS:
      return wire::EncodeProgress(message.done, message.total);
    case Message::OUTPUT:
      return wire::EncodeOutput(message.text);
    case Message::REPLY:
      return wire::EncodeReply(message.code, message.vlan, message.isLast);
  }
  return {};
}

class DecoderAtRandom : public testing::Test {
 protected:
  std::string SomeText() {
    static const std::string LETTERS("ab \t\0\x1b\xc3\xa9VR1\n", 13);
    std::string text;
    for (unsigned int left = m_random.Below(20); left > 0; --left) {
      text += LETTERS[m_random.Below(static_cast<unsigned int>(LETTERS.size()))];
    }
    return m_random.Percent(2) ? text + std::string(wire::MAX_TEXT, 'x') : text;
  }

  std::string SomeLine() {
    switch (m_random.Below(11)) {
      case 0:
        return wire::EncodeGreeting(static_cast<unsigned short>(m_random.Below(65536)));
      case 1:
        return wire::EncodeCommand(SomeText());
      case 2:
        return wire::EncodeCompletion(SomeText());
      case 3:
        return wire::EncodeInterrupt();
      case 9:
        return wire::EncodeHelp(SomeText());
      case 10:
        return wire::EncodeLive();
      case 4:
        return wire::EncodeOutput(SomeText());
      case 5:
        return wire::EncodeNoWait();
      case 6:
        return wire::EncodeSingle();
      case 7:
        return wire::EncodeProgress(m_random.Below(1000000), UINT32_MAX);
      default:
        return wire::EncodeReply(static_cast<Code>(m_random.Below(6)),
                                 static_cast<unsigned short>(m_random.Below(65536)),
                                 m_random.Percent(50));
    }
  }

  // What is read of these bytes, each message as it would be sent again.
  std::string Read(const std::string& bytes, unsigned int mostAtOnce, bool& isBroken) {
    Decoder decoder;
    std::string read;
    for (std::size_t at = 0; at < bytes.size();) {
      const std::size_t size =
          std::min<std::size_t>(1 + m_random.Below(mostAtOnce), bytes.size() - at);
      decoder.Feed(bytes.data() + at, size);
      at += size;
      while (const auto message = decoder.Next()) {
        read += Line(*message);
      }
    }
    isBroken = decoder.IsBroken();
    return read;
  }

  test_models::Random m_random;
};

TEST_F(DecoderAtRandom, ReadsTheSameInAnyPieces) {
  for (unsigned int run = 0; run < test_models::Scaled(2000); ++run) {
    SCOPED_TRACE("run " + std::to_string(run) + " of seed " + std::to_string(m_random.GetSeed()));
    std::string bytes;
    for (unsigned int left = m_random.Below(20); left > 0; --left) {
      bytes += SomeLine();
    }
    bool isBroken = false;
    const std::string whole = Read(bytes, 1000000, isBroken);
    EXPECT_FALSE(isBroken);
    ASSERT_EQ(whole, bytes);
    ASSERT_EQ(Read(bytes, 7, isBroken), bytes);

    // A damage is found in any pieces alike, and what comes before it is read.
    const std::size_t at =
        bytes.empty() ? 0 : m_random.Below(static_cast<unsigned int>(bytes.size()));
    bytes.insert(at, std::string(1, static_cast<char>(m_random.Below(256))));
    bool isBrokenInPieces = false;
    const std::string damaged = Read(bytes, 1000000, isBroken);
    ASSERT_EQ(Read(bytes, 7, isBrokenInPieces), damaged);
    ASSERT_EQ(isBrokenInPieces, isBroken);
    const std::size_t line = at == 0 ? 0 : bytes.rfind('\n', at - 1) + 1;  // 0 if it is the first
    ASSERT_EQ(damaged.compare(0, line, bytes, 0, line), 0);
  }
}

}  // namespace
