// Those who ask for a reload or a check.
#ifndef DEVICE_APPLY_ASKER_H
#define DEVICE_APPLY_ASKER_H

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "device/program/report.h"
#include "outcome.h"

namespace apply {

/// Somebody who waits for the end of what was asked for. What these functions throw is caught and
/// forgotten, except std::bad_alloc.
struct Asker {
  /// Gets each line, with its end, about what cannot be used: the findings, and what the library
  /// logs without a level while documents are applied. Empty for one who sees the log.
  program::Report report;
  /// Called once, after the findings, when the folder has been judged: whether it has passed. A
  /// reload that has passed is applied after that, and may still have something to report.
  std::function<void(bool hasPassed)> end;
  /// Who it is, for the log and the revisions, for example "alice at the socket" or "terminal".
  std::string name = {};
  /// Gets what has come of it, once, before `end`. May be empty: most are told in lines only.
  std::function<void(const SharedOutcome& outcome)> take = {};
};

class Askers {
 public:
  void Add(Asker asker) { m_askers.push_back(std::move(asker)); }
  void Add(Askers others);
  /// Hands a line, with its end, to all that want to hear.
  void Tell(const std::string& line) const;
  /// Calls `take` and `end` of those that have not been told yet.
  void End(const SharedOutcome& outcome);
  /// The reports of those that want to hear.
  std::vector<program::Report> GetReports() const;
  /// The names of all, "alice at the socket, SIGHUP", each once.
  std::string GetNames() const;

 private:
  std::vector<Asker> m_askers;
};

}  // namespace apply

#endif
