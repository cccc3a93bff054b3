// Where a virtual operation stands in its class's table.
#ifndef TESTS_SUPPORT_VTABLE_SLOT_H
#define TESTS_SUPPORT_VTABLE_SLOT_H

#include <cstddef>
#include <cstring>

namespace test_support {

/// A virtual destructor has two entries, the plain and the deleting one.
constexpr int FIRST_SLOT_AFTER_DESTRUCTOR = 2;

/// The index of a virtual member function in the table of its class, 0 being the first; -1 when the
/// function is not virtual. It reads the representation of member pointers that the C++ ABI of all
/// our targets fixes: the table offset, marked as such in the lowest bit of the first word, or, on
/// ARM, of the second.
template <class Member>
int VtableSlot(Member member) {
  std::ptrdiff_t words[2];
  static_assert(sizeof words == sizeof member);
  std::memcpy(words, &member, sizeof words);
#if defined(__arm__) || defined(__aarch64__)
  const bool isVirtual = (words[1] & 1) != 0;
  const std::ptrdiff_t offset = words[0];
#else
  const bool isVirtual = (words[0] & 1) != 0;
  const std::ptrdiff_t offset = words[0] - 1;
#endif
  return isVirtual ? static_cast<int>(offset / static_cast<std::ptrdiff_t>(sizeof(void*))) : -1;
}

}  // namespace test_support

#endif
