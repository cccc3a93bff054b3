// A descriptor that its object closes.
#ifndef DEVICE_PROGRAM_OWNED_DESCRIPTOR_H
#define DEVICE_PROGRAM_OWNED_DESCRIPTOR_H

#include <unistd.h>

namespace program {

class OwnedDescriptor {
 public:
  /// Owns `fd`; negative for none.
  explicit OwnedDescriptor(int fd) : m_fd(fd) {}
  OwnedDescriptor(const OwnedDescriptor&) = delete;
  OwnedDescriptor& operator=(const OwnedDescriptor&) = delete;
  ~OwnedDescriptor() {
    if (m_fd >= 0) {
      close(m_fd);
    }
  }
  int Get() const { return m_fd; }

 private:
  const int m_fd;
};

}  // namespace program

#endif
