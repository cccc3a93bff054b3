// Documents through Reload, made of decisions: members of all kinds where they belong and where they
// do not, in sequences of documents that differ a little (documents.h, reloads.h).
#include "fuzz/support/bytes.h"
#include "fuzz/support/documents.h"
#include "fuzz/support/reloads.h"

namespace {

constexpr std::size_t MAX_STEPS = 6;

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::Bytes bytes(data, size);
  std::vector<fuzz::ReloadStep> steps;
  while (!bytes.IsEmpty() && steps.size() < MAX_STEPS) {
    const unsigned int choice = bytes.Byte();
    fuzz::ReloadStep step = fuzz::MakeStep(choice);
    if ((choice & 32) != 0 && !steps.empty()) {
      step.document = steps.back().document;  // the same once more, mostly under another name
    } else if (!step.isWithdrawal) {
      step.document = fuzz::MakeDocument(bytes);
    }
    steps.push_back(step);
  }
  if (!steps.empty()) fuzz::RunReloads(steps);
  return 0;
}
