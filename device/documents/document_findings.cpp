#include "document_findings.h"

#include <iterator>
#include <utility>

#include "text_positions.h"

namespace documents {

bool DocumentFindings::IsKept(Severity severity, std::size_t offset) const {
  const auto& kept = Of(severity).byOffset;
  return kept.size() < Findings::KEPT || offset < kept.rbegin()->first;
}

bool DocumentFindings::Wants(Severity severity, std::size_t offset) {
  const bool isKept = IsKept(severity, offset);
  Of(severity).count += isKept ? 0 : 1;
  return isKept;
}

void DocumentFindings::Add(Severity severity, std::size_t offset, std::string path,
                           std::string problem) {
  ++Of(severity).count;
  if (!IsKept(severity, offset)) {
    return;
  }
  auto& kept = Of(severity).byOffset;
  kept.emplace(offset, Problem{std::move(path), std::move(problem)});
  if (kept.size() > Findings::KEPT) {
    kept.erase(std::prev(kept.end()));
  }
}

Findings DocumentFindings::Finish(std::string_view text, const std::string& file) const {
  Findings findings;
  for (const Severity severity : {Severity::ERROR, Severity::WARNING}) {
    TextPositions positions(text);
    for (const auto& [offset, problem] : Of(severity).byOffset) {
      findings.Add({severity, {file, positions.Find(offset), problem.path}, problem.text});
    }
    findings.AddUntold(severity, Of(severity).count - Of(severity).byOffset.size());
  }
  return findings;
}

}  // namespace documents
