#include "diff_lines.h"

namespace apply {

std::vector<std::string> DescribeChanges(const intent::Intent& from, const intent::Intent& to,
                                         const plan::Plan& plan) {
  std::vector<std::string> lines;
  plan::ListChanges(from, to, [&lines](const std::string& line) {
    lines.push_back(line);
    return lines.size() < MOST_DIFF_LINES;
  });
  if (lines.size() == MOST_DIFF_LINES) {
    lines.push_back("and more");
    lines.push_back(plan::DescribeTotals(plan.totals));
  }
  return lines;
}

std::vector<std::string> DescribeEffect(const plan::Plan& plan, std::uint64_t requestsASecond,
                                        const Guard::Verdict& verdict, std::size_t kept) {
  std::vector<std::string> lines;
  const std::uint64_t requests = plan.totals.requests;
  if (requests != 0 && requestsASecond != 0) {
    const std::uint64_t seconds = requests / requestsASecond;
    lines.push_back("At the present pace the requests take " +
                    (seconds == 0 ? "less than 1 s" : "about " + std::to_string(seconds) + " s"));
  }
  if (verdict.lost != 0) {
    lines.push_back(DescribePrefixes(verdict.lost) + " will be without an installed route");
  }
  for (const std::string& reason : verdict.reasons) {
    lines.push_back("The guard refuses: " + reason);
  }
  if (kept != 0) {
    lines.push_back(std::to_string(kept) + (kept == 1 ? " old route is" : " old routes are") +
                    " kept until a new one can take its place, or a reload");
  }
  return lines;
}

}  // namespace apply
