// Makes allocations of the library fail.
#ifndef TESTS_SUPPORT_FAILING_NEW_H
#define TESTS_SUPPORT_FAILING_NEW_H

#include <string>
#include <vector>

namespace test_support {

/// While it lives, allocations by `new (std::nothrow)` yield null: the n-th of those that come
/// after its construction, 1 being the first, and with FROM_THEN_ON all that follow it; 0 refuses
/// none. It works on every library of the process, in tests that link `failing_new`. One at a time.
class FailingNew {
 public:
  enum Extent { ONCE, FROM_THEN_ON };

  explicit FailingNew(unsigned int n, Extent extent = ONCE);
  FailingNew(const FailingNew&) = delete;
  FailingNew& operator=(const FailingNew&) = delete;
  ~FailingNew();

  /// Whether the allocation came and was refused.
  bool HasFailed() const;
  /// How many allocations have been asked for, the refused ones included.
  unsigned int CountRequests() const;
  /// Where each refused one was asked for, in order: "lib/libvantacore.so.1 0x1234f", the module's
  /// file and an offset in it that lies within the calling instruction.
  std::vector<std::string> Places() const;
};

}  // namespace test_support

#endif
