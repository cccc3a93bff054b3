// Makes allocations of the library fail.
#ifndef TESTS_SUPPORT_FAILING_NEW_H
#define TESTS_SUPPORT_FAILING_NEW_H

namespace test_support {

/// While it lives, one allocation by `new (std::nothrow)` yields null: the n-th of those that come
/// after its construction, 1 being the first. It works on every library of the process, in tests
/// that link `failing_new`. One at a time.
class FailingNew {
 public:
  explicit FailingNew(unsigned int n);
  FailingNew(const FailingNew&) = delete;
  FailingNew& operator=(const FailingNew&) = delete;
  ~FailingNew();

  /// Whether the allocation came and was refused.
  bool HasFailed() const;
};

}  // namespace test_support

#endif
