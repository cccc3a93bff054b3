// Documents through Reload, as text: what gets past a JSON parser.
//
// The input holds steps, separated by the byte 0x1E: a byte that says what is done (reloads.h) and
// the document's text. A text that is not JSON ends the input, as the host would not hand it on.
#include "fuzz/support/bytes.h"
#include "fuzz/support/documents.h"
#include "fuzz/support/reloads.h"

namespace {

constexpr std::size_t MAX_STEPS = 6;

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::vector<fuzz::ReloadStep> steps;
  for (const std::string& piece :
       fuzz::Split(std::string(reinterpret_cast<const char*>(data), size), '\x1E')) {
    if (piece.empty() || steps.size() == MAX_STEPS) break;
    fuzz::ReloadStep step = fuzz::MakeStep(static_cast<unsigned char>(piece[0]));
    if (!step.isWithdrawal && !fuzz::ReadJson(piece.substr(1), step.document)) break;
    steps.push_back(step);
  }
  if (!steps.empty()) fuzz::RunReloads(steps);
  return 0;
}
