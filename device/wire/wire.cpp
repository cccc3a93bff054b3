#include "device/wire/wire.h"

#include <algorithm>
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

bool ReadReply(const std::string& text, Message& message) {
  const std::size_t space = text.find(' ');
  if (space == std::string::npos) {
    return false;
  }
  const auto code = program::ReadDecimal(text.substr(0, space), 0, std::size(CODES) - 1);
  const auto vlan = program::ReadDecimal(text.substr(space + 1), 0, 65535);
  if (!code || !vlan) {
    return false;
  }
  message.kind = Message::REPLY;
  message.code = static_cast<Code>(*code);
  message.vlan = static_cast<unsigned short>(*vlan);
  return true;
}

bool Read(const std::string& line, Message& message) {
  if (line == "I") {
    message.kind = Message::INTERRUPT;
    return true;
  }
  if (line.size() < TAG_SIZE || line[1] != ' ') {
    return false;
  }
  message.text = line.substr(TAG_SIZE);
  switch (line[0]) {
    case 'C':
      message.kind = Message::COMMAND;
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

std::string EncodeInterrupt() { return "I\n"; }

std::string EncodeOutput(const std::string& text) {
  std::string lines;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t end = std::min(text.find('\n', at), text.size());
    const std::size_t size = std::min(end - at, MAX_TEXT);
    const bool isEnded = at + size < text.size() && text[at + size] == '\n';
    lines += Line(isEnded ? 'O' : 'P', text.substr(at, size));
    at += size + (isEnded ? 1 : 0);
  }
  return lines;
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
  m_isBroken = !Read(m_bytes.substr(m_taken, end - m_taken), message);
  m_taken = end + 1;
  if (m_isBroken) {
    return std::nullopt;
  }
  return message;
}

}  // namespace wire
