// Rules as messages to and from the kernel (rtnetlink).
#ifndef DEVICE_KERNEL_RULE_MESSAGES_H
#define DEVICE_KERNEL_RULE_MESSAGES_H

#include <cstdint>
#include <vector>

#include "message_batch.h"
#include "rule.h"

namespace kernel {

/// Requests for rules.
class RuleBatch : public MessageBatch {
 public:
  /// Asks for a rule of our form, unless one like it stands under our number.
  void Add(const Rule& rule, std::uint32_t sequence);
  /// Asks for the end of a rule under our number.
  void Delete(const Rule& rule, std::uint32_t sequence);

 private:
  void AppendOwn(unsigned short type, unsigned short flags, const Rule& rule,
                 std::uint32_t sequence);
};

/// A message that asks for all rules of a family, whosever they are: the kernel cannot choose. It is
/// sent alone.
std::vector<char> MakeRuleDump(bool isIp6, std::uint32_t sequence);

/// A rule under our number that the kernel has.
struct FoundRule {
  Rule rule;
};

}  // namespace kernel

#endif
