// A kernel's rules, for tests: it understands the messages of kernel::RuleBatch.
#ifndef TESTS_UNIT_KERNEL_FAKE_RULES_H
#define TESTS_UNIT_KERNEL_FAKE_RULES_H

#include <functional>
#include <string>
#include <vector>

#include "device/kernel/messages.h"
#include "device/kernel/rule_ledger.h"

namespace test_kernel {

/// "r2" and 20: "iif r2 lookup 20"; without a table the end of its lookup.
kernel::Rule RuleFor(const std::string& interface, std::uint32_t table = 0, bool isIp6 = false);
/// One under our number that no rule of ours is like.
kernel::Rule OddRule(std::uint32_t priority, bool isIp6 = false);

/// What is public may be touched while nothing is under way.
class FakeRules {
 public:
  /// Works a batch off; the answers are those that the kernel would send, in their order.
  std::vector<kernel::Answer> Work(const std::vector<char>& bytes);
  /// What a dump tells of those that are ours.
  std::vector<kernel::FoundRule> Dump(bool isIp6) const;

  kernel::Rules ours;
  /// Asked about each request before it is carried out: an errno refuses it.
  std::function<int(const kernel::Rule&, bool isDeletion)> refuse;
  std::vector<std::string> requests;  // "+ iif r2 unreachable"
};

}  // namespace test_kernel

#endif
