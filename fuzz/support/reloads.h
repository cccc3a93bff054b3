// Documents that come and go.
#ifndef FUZZ_SUPPORT_RELOADS_H
#define FUZZ_SUPPORT_RELOADS_H

#include <json/value.h>

#include <vector>

namespace fuzz {

/// One step: a document is loaded or withdrawn under one of four names, half of them as remote ones.
struct ReloadStep {
  unsigned int name = 0;  // 0 to 3
  bool isRemote = false;
  bool isWithdrawal = false;
  bool settles = false;  // time goes by afterwards until all is answered
  Json::Value document;
};

/// Reads a step from its first byte.
ReloadStep MakeStep(unsigned int choice);

/// Carries the steps out twice on an empty device, which they leave empty: no VLAN, no row. Both
/// runs must look the same from the stack's side and in the log.
void RunReloads(const std::vector<ReloadStep>& steps);

}  // namespace fuzz

#endif
