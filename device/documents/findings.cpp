#include "findings.h"

#include <algorithm>
#include <utility>

namespace documents {

std::string Finding::Line() const {
  Place where = place;
  where.path.clear();
  std::string line = where.Text() + ": ";
  line += severity == Severity::WARNING ? "warning: " : "";
  return line + (place.path.empty() ? "" : place.path + ": ") + problem;
}

void Findings::Add(Finding finding) {
  Kept& kept = finding.severity == Severity::ERROR ? m_errors : m_warnings;
  ++kept.count;
  if (kept.findings.size() < KEPT) {
    kept.findings.push_back(std::move(finding));
  }
}

void Findings::AddUntold(Severity severity, std::size_t count) {
  (severity == Severity::ERROR ? m_errors : m_warnings).count += count;
}

void Findings::Add(const Findings& others) {
  for (const Severity severity : {Severity::ERROR, Severity::WARNING}) {
    for (const Finding& finding : others.Get(severity)) {
      Add(finding);
    }
    AddUntold(severity, (severity == Severity::ERROR ? others.m_errors : others.m_warnings).count -
                            others.Get(severity).size());
  }
}

void Findings::Sort(bool (*comesFirst)(const Place& a, const Place& b)) {
  for (Kept* const kept : {&m_errors, &m_warnings}) {
    std::stable_sort(
        kept->findings.begin(), kept->findings.end(),
        [comesFirst](const Finding& a, const Finding& b) { return comesFirst(a.place, b.place); });
  }
}

const std::vector<Finding>& Findings::Get(Severity severity) const {
  return (severity == Severity::ERROR ? m_errors : m_warnings).findings;
}

std::vector<std::string> Findings::Lines(const std::string& folder) const {
  std::vector<std::string> lines;
  std::size_t untold[] = {m_errors.count, m_warnings.count};
  const Kept* const all[] = {&m_errors, &m_warnings};
  for (std::size_t i = 0; i < 2; ++i) {
    for (const Finding& finding : all[i]->findings) {
      if (lines.size() < KEPT) {
        lines.push_back((folder.empty() ? "" : folder + "/") + finding.Line());
        --untold[i];
      }
    }
  }
  if (untold[0] + untold[1] != 0) {
    lines.push_back((folder.empty() ? "" : folder + ": ") + "and " + std::to_string(untold[0]) +
                    " more errors, " + std::to_string(untold[1]) + " more warnings");
  }
  return lines;
}

}  // namespace documents
