// What is wrong with a configuration, all of it, in an order that a reader can follow.
#ifndef DEVICE_DOCUMENTS_FINDINGS_H
#define DEVICE_DOCUMENTS_FINDINGS_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "place.h"

namespace documents {

/// An error keeps a folder from being applied; a warning does not.
enum class Severity { ERROR, WARNING };

struct Finding {
  Severity severity = Severity::ERROR;
  Place place;
  /// "what is wrong, expected ..., found ...": printable.
  std::string problem;

  /// One line without its end: "FILE:LINE:COLUMN: MEMBER PATH: PROBLEM"; a warning has "warning: "
  /// after the position. Parts of the place that are not known are left out.
  std::string Line() const;
};

/// Findings with their number. Of each severity the first hundred are kept, the others counted:
/// a folder can have millions of mistakes.
class Findings {
 public:
  static constexpr std::size_t KEPT = 100;

  void Add(Finding finding);
  /// Counts findings that nobody has kept.
  void AddUntold(Severity severity, std::size_t count);
  /// Adds all of the others after these.
  void Add(const Findings& others);
  /// Sorts those that are kept. `comesFirst` is an order of places; findings of one place stay as
  /// they are.
  void Sort(bool (*comesFirst)(const Place& a, const Place& b));

  std::size_t CountErrors() const { return m_errors.count; }
  std::size_t CountWarnings() const { return m_warnings.count; }
  bool HasErrors() const { return m_errors.count != 0; }

  /// The lines for an operator: at most a hundred, the errors before the warnings, and a last one
  /// that tells how many more there are. Where findings of several folders are shown, `folder` says
  /// whose they are: it stands before the names of files.
  std::vector<std::string> Lines(const std::string& folder = {}) const;
  /// The findings of one severity that are kept.
  const std::vector<Finding>& Get(Severity severity) const;

 private:
  struct Kept {
    std::vector<Finding> findings;
    std::size_t count = 0;
  };

  Kept m_errors;
  Kept m_warnings;
};

}  // namespace documents

#endif
