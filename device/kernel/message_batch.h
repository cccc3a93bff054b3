// Messages that go to the kernel together.
#ifndef DEVICE_KERNEL_MESSAGE_BATCH_H
#define DEVICE_KERNEL_MESSAGE_BATCH_H

#include <cstddef>
#include <vector>

namespace kernel {

/// Messages in one buffer. The kernel works off one after the other and tells of each that it
/// refuses; of the last one it tells in any case.
class MessageBatch {
 public:
  /// The bytes to send; the last message asks for an answer. There has to be one.
  const std::vector<char>& Finish();

  bool IsEmpty() const { return m_bytes.empty(); }
  /// Whether it is as long as one may be: a socket takes no more than some 200 KiB at once.
  bool IsFull() const { return m_bytes.size() >= FULL_BYTES; }
  void Clear() { m_bytes.clear(); }

 protected:
  MessageBatch() = default;
  ~MessageBatch() = default;

  /// `size` is a multiple of four.
  void Append(const char* message, std::size_t size);

 private:
  static constexpr std::size_t FULL_BYTES = 100000;

  std::vector<char> m_bytes;
  std::size_t m_last = 0;  // where the last message begins
};

}  // namespace kernel

#endif
