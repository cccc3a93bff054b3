// Messages of the kernel, as a socket hands them over, through the reader and into a ledger.
#include <cstring>
#include <vector>

#include "device/kernel/route_ledger.h"
#include "device/kernel/rule_ledger.h"
#include "fuzz/support/check.h"

namespace {

constexpr std::size_t MOST_BYTES = 32768;

/// Hands out all that the ledger asks for, and lets every request be done.
void Finish(kernel::RouteLedger& ledger) {
  while (ledger.ContinuePass(100)) {
  }
  for (int i = 0; i < 3 && ledger.HasRequests(); ++i) {
    kernel::Batch batch;
    ledger.FillBatch(batch, 1000);
    ledger.LoseAnswers();
  }
}

void Finish(kernel::RuleLedger& ledger) {
  for (int i = 0; i < 3 && ledger.HasRequests(); ++i) {
    kernel::RuleBatch batch;
    ledger.FillBatch(batch, 1000);
    ledger.LoseAnswers();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size > MOST_BYTES) {
    return 0;
  }
  std::vector<std::uint32_t> aligned((size + 3) / 4);
  if (size != 0) {
    std::memcpy(aligned.data(), data, size);
  }
  const kernel::Received received = kernel::ReadMessages(aligned.data(), size);
  kernel::RouteLedger ledger([] { return std::uint64_t{0}; });
  ledger.BeginSweep();
  ledger.BeginComparison();
  kernel::RuleLedger rules([] { return std::uint64_t{0}; });
  rules.BeginSweep();
  rules.BeginComparison();
  for (const kernel::Message& message : received.messages) {
    if (const auto* const route = std::get_if<kernel::FoundRoute>(&message)) {
      fuzz::Check(route->key.length <= (route->key.isIp6 ? 128 : 32), "a length of the family");
      if (route->nextHops) {
        fuzz::Check(
            route->nextHops->AreKnown() && route->nextHops->Count() <= kernel::NextHops::MOST,
            "as many next hops as there may be");
        for (const kernel::NextHop& hop : *route->nextHops) {
          fuzz::Check(hop.ifIndex != 0 && hop.ifIndex != UINT32_MAX, "a next hop has an interface");
        }
      }
      ledger.TakeFound(*route);
    } else if (const auto* const rule = std::get_if<kernel::FoundRule>(&message)) {
      fuzz::Check(rule->rule.interface.size() < 16, "a name of an interface");
      fuzz::Check(rule->rule.oddMessage.empty() != rule->rule.interface.empty(),
                  "a rule of our form or its message");
      rules.TakeFound(*rule);
    } else if (const auto* const link = std::get_if<kernel::FoundLink>(&message)) {
      fuzz::Check(link->link.index != 0, "a link has an index");
    } else if (const auto* const address = std::get_if<kernel::FoundAddress>(&message)) {
      fuzz::Check(address->address.length <= (address->address.isIp6 ? 128 : 32),
                  "a length of the family");
    } else if (const auto* const answer = std::get_if<kernel::Answer>(&message)) {
      fuzz::Check(answer->error >= 0, "an errno");
      ledger.TakeAnswer(*answer);
      rules.TakeAnswer(*answer);
    }
  }
  ledger.EndComparison();
  Finish(ledger);
  rules.EndComparison();
  fuzz::Check(rules.GetComparison().missing.empty(), "nobody wants what was found");
  Finish(rules);
  fuzz::Check(ledger.CountWanted() == 0, "nobody wants what was found");
  return 0;
}
