// What the reloader tells its askers: in lines, and as an outcome.
#include "reloader.h"

#include <algorithm>
#include <utility>

#include "device/program/counted.h"
#include "diff_lines.h"

namespace apply {

namespace {

// Lines that are handed to an asker in one turn of the loop.
constexpr std::size_t LINES_A_TURN = 1000;

}  // namespace

void Reloader::Tell(const std::string& line) { m_job->askers.Tell(line + "\n"); }

// A session that sees the log has no report, so both are told.
void Reloader::Announce(const std::string& line) {
  m_hooks.log(line);
  Tell(line);
}

void Reloader::Complain(documents::Severity severity, const std::string& line) const {
  if (m_hooks.complain) {
    m_hooks.complain(severity, line);
  } else {
    m_hooks.log(line);
  }
}

void Reloader::EndAskers(bool hasPassed) {
  m_job->outcome->hasPassed = hasPassed;
  m_job->askers.End(m_job->outcome);
}

void Reloader::TellRefusal(const std::string& reason) {
  if (m_job->ChangesWhatIsInForce() || m_job->kind == Job::CONFIRM) {
    Complain(documents::Severity::WARNING,
             "Refused to " + m_job->askers.GetNames() + ": " + reason);
  }
  Tell("Refused: " + reason);
}

void Reloader::Refuse(const std::string& reason, const SharedResult& result) {
  TellRefusal(reason);
  m_job->outcome->refusal = reason;
  EndAskers(false);
  if (result) {
    m_disposal.Free(std::make_shared<const Result>(std::move(*result)));
  }
  EndJob(false);
}

void Reloader::TellFindings(const documents::Findings& findings) {
  m_job->outcome->findings.Add(findings);
  // The errors come first.
  std::size_t errors = std::min(findings.CountErrors(), documents::Findings::KEPT);
  for (const std::string& line : findings.Lines()) {
    if (m_job->ChangesWhatIsInForce()) {
      Complain(errors != 0 ? documents::Severity::ERROR : documents::Severity::WARNING, line);
    }
    errors -= errors != 0 ? 1 : 0;
    Tell(line);
  }
}

void Reloader::TellDiff(const SharedResult& result) {
  Outcome& outcome = *m_job->outcome;
  const std::uint64_t pace = m_hooks.requestsASecond ? m_hooks.requestsASecond() : 0;
  if (pace != 0 && outcome.totals.requests != 0) {
    outcome.seconds = outcome.totals.requests / pace;
  }
  outcome.kept = m_knowledge.GetRoutes().CountKept();
  if (const std::size_t warnings = outcome.findings.CountWarnings(); warnings != 0) {
    result->lines.push_back(DescribeWarnings(warnings, m_job->number));
  }
  for (std::string& line : DescribeEffect(outcome)) {
    result->lines.push_back(std::move(line));
  }
  TellLines(result, 0);
}

void Reloader::TellLines(const SharedResult& result, std::size_t first) {
  const std::size_t end = std::min(result->lines.size(), first + LINES_A_TURN);
  for (std::size_t i = first; i < end; ++i) {
    Tell(result->lines[i]);
  }
  if (end < result->lines.size()) {
    m_telling.Post([this, result, end] { TellLines(result, end); });
    return;
  }
  EndAskers(true);
  Forgo(result);
}

// What is in force from now on.
void Reloader::TellRevision(const History::Next& next, bool isKept, const std::string& problem) {
  if (!problem.empty()) {
    const std::string line = "warning: not kept as a revision: " + problem;
    Complain(documents::Severity::WARNING, line);
    Tell(line);
  }
  Announce(History::Describe(next, isKept));
  Outcome& outcome = *m_job->outcome;
  outcome.revision = next.revision;
  if (!isKept) {
    outcome.revision->number = 0;
  }
  outcome.isNew = isKept && next.isNew;
  outcome.notKept = problem;
  outcome.isFolderOther = next.state.undone && next.revision.of != 0;
  if (outcome.isFolderOther) {
    Announce(FOLDER_DIFFERS);
  }
}

// The log names the old routes when they go.
void Reloader::TellWhatIsNoMore(bool isOpen) {
  m_job->outcome->released = m_knowledge.GetRoutes().CountKept();
  if (m_job->outcome->released != 0) {
    Tell(program::Counted(m_job->outcome->released, "old route is", "old routes are") +
         " kept no longer, unless wanted again");
  }
  if (m_job->request.confirmSeconds != 0 && !isOpen) {
    Announce("No revision was made, so there is nothing to confirm");
  }
}

// What was undone may have gone from the folder since.
void Reloader::LookAtFolder() {
  const auto differs = std::make_shared<bool>(true);
  m_reading.Start([look = MakeFolderCheck(), differs] { *differs = look(); },
                  [this, differs](const std::optional<std::string>&) {
                    m_job->outcome->isFolderOther = *differs;
                    TellRevisions();
                  });
}

void Reloader::TellRevisions() {
  Outcome& outcome = *m_job->outcome;
  outcome.inForce = m_history->GetInForce();
  if (m_job->kind == Job::HISTORY) {
    outcome.revisions = m_history->GetAll();
    outcome.unconfirmed = m_history->GetUnconfirmed();
  } else {
    outcome.revisions = {*m_history->Find(m_job->number)};
    outcome.folder = m_history->PathOf(m_job->number);
  }
  for (const std::string& line : m_job->kind == Job::HISTORY
                                     ? m_history->List(outcome.isFolderOther)
                                     : m_history->Show(outcome.revisions[0])) {
    Tell(line);
  }
  EndAskers(true);
  EndJob(false);
}

}  // namespace apply
