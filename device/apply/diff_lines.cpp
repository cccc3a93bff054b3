#include "diff_lines.h"

#include <utility>

#include "device/program/counted.h"

namespace apply {

void CollectChanges(const intent::Intent& from, const intent::Intent& to, Outcome& outcome) {
  plan::TellChanges(from, to, [&outcome](plan::Change change) {
    outcome.isCut = outcome.changes.size() == MOST_DIFF_LINES;
    if (!outcome.isCut) {
      outcome.changes.push_back(std::move(change));
    }
    return !outcome.isCut;
  });
}

std::vector<std::string> DescribeChanges(const Outcome& outcome) {
  std::vector<std::string> lines;
  plan::ChangeLines changes;
  for (const plan::Change& change : outcome.changes) {
    changes.Add(change, [&lines](const std::string& line) {
      lines.push_back(line);
      return true;
    });
  }
  if (outcome.isCut) {
    lines.push_back("and more");
  }
  lines.push_back(plan::DescribeTotals(outcome.totals));
  return lines;
}

std::string DescribeKept(std::size_t count) {
  return std::to_string(count) + (count == 1 ? " old route is" : " old routes are") +
         " kept until a new one can take its place, or a reload";
}

std::string DescribeWarnings(std::size_t count, unsigned int revision) {
  const std::string word = revision == 0 ? "check" : "diff " + std::to_string(revision) + " json";
  return program::Counted(count, "warning", "warnings") + "; `" + word + "` shows " +
         (count == 1 ? "it" : "them");
}

std::vector<std::string> DescribeEffect(const Outcome& outcome) {
  std::vector<std::string> lines;
  if (outcome.seconds) {
    lines.push_back("At the present pace the requests take " +
                    (*outcome.seconds == 0 ? "less than 1 s"
                                           : "about " + std::to_string(*outcome.seconds) + " s"));
  }
  if (outcome.verdict.lost != 0) {
    lines.push_back(DescribePrefixes(outcome.verdict.lost) + " will be without an installed route");
  }
  for (const std::string& reason : outcome.verdict.reasons) {
    lines.push_back("The guard refuses: " + reason);
  }
  if (outcome.kept != 0) {
    lines.push_back(DescribeKept(outcome.kept));
  }
  return lines;
}

}  // namespace apply
