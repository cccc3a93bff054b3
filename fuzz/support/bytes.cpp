#include "bytes.h"

#include <algorithm>
#include <cstring>

namespace fuzz {

namespace {

const std::uint32_t LANDMARKS[] = {
    0,       1,       2,       4,          5,          6,         7,      10,      16,
    31,      32,      33,      40,         41,         127,       128,    129,     130,
    255,     256,     4094,    0x7FFF,     0x8000,     0x800A,    0xFFFF, 0x10000, 0x30000,
    0x80000, 0xD0000, 0xE0000, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF};

}  // namespace

std::uint8_t Bytes::Byte() {
  if (m_left == 0) return 0;
  --m_left;
  return *m_data++;
}

std::uint16_t Bytes::Word() {
  const unsigned int low = Byte();
  return static_cast<std::uint16_t>(low | static_cast<unsigned int>(Byte()) << 8);
}

std::uint32_t Bytes::Long() {
  const std::uint32_t low = Word();
  return low | static_cast<std::uint32_t>(Word()) << 16;
}

std::uint32_t Bytes::Number() {
  const unsigned int choice = Byte();
  constexpr unsigned int COUNT = sizeof LANDMARKS / sizeof LANDMARKS[0];
  return choice < 128 ? LANDMARKS[choice % COUNT] : choice < 192 ? Byte() : Long();
}

std::string Bytes::Text(unsigned int most) {
  const std::size_t length = std::min<std::size_t>(Byte() % (most + 1), m_left);
  std::string text(reinterpret_cast<const char*>(m_data), length);
  m_data += length;
  m_left -= length;
  return text;
}

std::string Bytes::Rest() {
  std::string text(reinterpret_cast<const char*>(m_data), m_left);
  m_data += m_left;
  m_left = 0;
  return text;
}

void Bytes::Fill(void* out, std::size_t size) {
  const std::size_t taken = std::min(size, m_left);
  std::memset(out, 0, size);
  if (taken > 0) std::memcpy(out, m_data, taken);
  m_data += taken;
  m_left -= taken;
}

std::vector<std::string> Split(const std::string& text, char separator) {
  std::vector<std::string> pieces(1);
  for (const char c : text) {
    if (c == separator) {
      pieces.emplace_back();
    } else {
      pieces.back() += c;
    }
  }
  return pieces;
}

}  // namespace fuzz
