// An input as a stream of decisions.
#ifndef FUZZ_SUPPORT_BYTES_H
#define FUZZ_SUPPORT_BYTES_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace fuzz {

/// Reads an input from its beginning. Behind its end everything is zero, so that every input has a
/// meaning and a longer one with the same beginning goes on where the shorter ended.
class Bytes {
 public:
  /// The bytes are borrowed.
  Bytes(const std::uint8_t* data, std::size_t size) : m_data(data), m_left(size) {}

  bool IsEmpty() const { return m_left == 0; }
  std::uint8_t Byte();
  /// In any of the machine's byte orders the same number.
  std::uint16_t Word();
  std::uint32_t Long();
  /// 0 to `below` - 1; `below` is 1 to 256.
  unsigned int Choice(unsigned int below) { return Byte() % below; }
  bool Flag() { return (Byte() & 1) != 0; }
  /// A number that is often one of those where behaviour changes.
  std::uint32_t Number();
  /// At most `most` bytes (up to 255), as many as the next byte says.
  std::string Text(unsigned int most);
  /// All the rest.
  std::string Rest();
  void Fill(void* out, std::size_t size);

 private:
  const std::uint8_t* m_data;
  std::size_t m_left;
};

/// The pieces between `separator` bytes; one more piece than there are separators.
std::vector<std::string> Split(const std::string& text, char separator);

}  // namespace fuzz

#endif
