// The findings of one document while it is read.
#ifndef DEVICE_DOCUMENTS_DOCUMENT_FINDINGS_H
#define DEVICE_DOCUMENTS_DOCUMENT_FINDINGS_H

#include <cstddef>
#include <map>
#include <string>
#include <string_view>

#include "findings.h"

namespace documents {

/// Findings come in any order of their offsets. Of each severity the first hundred by offset are
/// kept, so a document with millions of mistakes costs no memory.
class DocumentFindings {
 public:
  /// Whether a finding there would be kept. If not, it is counted, and need not be made.
  bool Wants(Severity severity, std::size_t offset);
  void Add(Severity severity, std::size_t offset, std::string path, std::string problem);

  /// The findings in the order of their offsets, with their positions in `text`.
  Findings Finish(std::string_view text, const std::string& file) const;

 private:
  struct Problem {
    std::string path;
    std::string text;
  };
  struct Kept {
    std::multimap<std::size_t, Problem> byOffset;
    std::size_t count = 0;
  };

  bool IsKept(Severity severity, std::size_t offset) const;
  Kept& Of(Severity severity) { return severity == Severity::ERROR ? m_errors : m_warnings; }
  const Kept& Of(Severity severity) const {
    return severity == Severity::ERROR ? m_errors : m_warnings;
  }

  Kept m_errors;
  Kept m_warnings;
};

}  // namespace documents

#endif
