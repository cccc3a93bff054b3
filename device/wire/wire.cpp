#include "device/wire/wire.h"

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <utility>

#include "device/program/decimal.h"

namespace wire {

namespace {

constexpr std::size_t TAG_SIZE = 2;

std::string Line(char tag, const std::string& text) {
  return std::string(1, tag) + ' ' + text + '\n';
}

std::string LineOfWords(char tag, std::string words) {
  words.resize(std::min(words.size(), MAX_TEXT));
  std::replace(words.begin(), words.end(), '\n', ' ');
  return Line(tag, words);
}

bool ReadGreeting(const std::string& text, Message& message) {
  const auto version = program::ReadDecimal(text, 0, 65535);
  if (!version) {
    return false;
  }
  message.kind = Message::GREETING;
  message.version = static_cast<unsigned short>(*version);
  return true;
}

struct Numbers {
  std::uint32_t first;
  std::uint32_t second;
};

std::optional<Numbers> ReadNumbers(const std::string& text, std::uint32_t mostFirst,
                                   std::uint32_t mostSecond) {
  const std::size_t space = text.find(' ');
  if (space == std::string::npos) {
    return std::nullopt;
  }
  const auto first = program::ReadDecimal(text.substr(0, space), 0, mostFirst);
  const auto second = program::ReadDecimal(text.substr(space + 1), 0, mostSecond);
  return first && second ? std::optional<Numbers>({*first, *second}) : std::nullopt;
}

bool ReadReply(const std::string& text, Message& message) {
  const auto numbers = ReadNumbers(text, std::size(CODES) - 1, 65535);
  if (numbers) {
    message.kind = Message::REPLY;
    message.code = static_cast<Code>(numbers->first);
    message.vlan = static_cast<unsigned short>(numbers->second);
  }
  return numbers.has_value();
}

bool ReadProgress(const std::string& text, Message& message) {
  const auto numbers = ReadNumbers(text, UINT32_MAX, UINT32_MAX);
  if (numbers) {
    message.kind = Message::PROGRESS;
    message.done = numbers->first;
    message.total = numbers->second;
  }
  return numbers.has_value();
}

// Those that are a letter alone.
bool ReadLetter(char letter, Message& message) {
  switch (letter) {
    case 'I':
      message.kind = Message::INTERRUPT;
      return true;
    case 'L':
      message.kind = Message::LIVE;
      return true;
    case 'N':
      message.kind = Message::NO_WAIT;
      return true;
    case 'S':
      message.kind = Message::SINGLE;
      return true;
    default:
      return false;
  }
}

bool Read(std::string_view line, Message& message) {
  if (line.size() == 1) {
    return ReadLetter(line[0], message);
  }
  if (line.size() < TAG_SIZE || line[1] != ' ') {
    return false;
  }
  message.text.reserve(line.size());  // room for the end of a line
  message.text = line.substr(TAG_SIZE);
  switch (line[0]) {
    case 'C':
      message.kind = Message::COMMAND;
      return true;
    case 'G':
      return ReadProgress(message.text, message);
    case 'H':
      message.kind = Message::HELP;
      return true;
    case 'O':
      message.text += '\n';
      message.kind = Message::OUTPUT;
      return true;
    case 'P':
      message.kind = Message::OUTPUT;
      return true;
    case 'Q':
      message.isLast = true;
      return ReadReply(message.text, message);
    case 'R':
      return ReadReply(message.text, message);
    case 'V':
      return ReadGreeting(message.text, message);
    case 'W':
      message.kind = Message::COMPLETION;
      return true;
    default:
      return false;
  }
}

}  // namespace

std::string EncodeGreeting(unsigned short version) { return Line('V', std::to_string(version)); }

std::string EncodeCommand(std::string words) { return LineOfWords('C', std::move(words)); }

std::string EncodeCompletion(std::string begun) { return LineOfWords('W', std::move(begun)); }

std::string EncodeHelp(std::string begun) { return LineOfWords('H', std::move(begun)); }

std::string EncodeInterrupt() { return "I\n"; }

std::string EncodeNoWait() { return "N\n"; }

std::string EncodeSingle() { return "S\n"; }

std::string EncodeProgress(std::uint32_t done, std::uint32_t total) {
  return Line('G', std::to_string(done) + ' ' + std::to_string(total));
}

std::string EncodeLive() { return "L\n"; }

std::string EncodeOutput(std::string_view text) {
  std::string lines;
  AppendOutput(lines, text);
  return lines;
}

void AppendOutput(std::string& lines, std::string_view text) {
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t end = std::min(text.find('\n', at), text.size());
    const std::size_t size = std::min(end - at, MAX_TEXT);
    const bool isEnded = at + size < text.size() && text[at + size] == '\n';
    lines.append(isEnded ? "O " : "P ", TAG_SIZE);
    lines.append(text, at, size);
    lines += '\n';
    at += size + (isEnded ? 1 : 0);
  }
}

std::string EncodeReply(Code code, unsigned short vlan, bool isLast) {
  return Line(isLast ? 'Q' : 'R',
              std::to_string(static_cast<int>(code)) + ' ' + std::to_string(vlan));
}

void Decoder::Feed(const char* bytes, std::size_t size) {
  m_bytes.erase(0, m_taken);
  m_taken = 0;
  m_bytes.append(bytes, size);
}

std::optional<Message> Decoder::Next() {
  if (m_isBroken) {
    return std::nullopt;
  }
  const std::size_t end = m_bytes.find('\n', m_taken);
  if (std::min(end, m_bytes.size()) - m_taken > TAG_SIZE + MAX_TEXT) {
    m_isBroken = true;
    return std::nullopt;
  }
  if (end == std::string::npos) {
    return std::nullopt;
  }
  Message message;
  m_isBroken = !Read(std::string_view(m_bytes).substr(m_taken, end - m_taken), message);
  m_taken = end + 1;
  if (m_isBroken) {
    return std::nullopt;
  }
  return message;
}

}  // namespace wire
