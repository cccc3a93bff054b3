// What `explain` tells, for people.

#include <algorithm>

#include "device/apply/history.h"
#include "device/program/counted.h"
#include "device/rows/row.h"
#include "explain_model.h"
#include "moments.h"
#include "names.h"
#include "route_reasons.h"

namespace views {

namespace {

// One screen.
constexpr std::size_t MOST_ROUTES = 2;
constexpr std::size_t MOST_CANDIDATES = 6;
constexpr std::size_t MOST_ORIGINS = 2;
constexpr std::size_t LABEL = 13;
// Of what belongs to a candidate, under it.
constexpr std::size_t DEEPER = 4;

/// Appends lines, each with a label in front or under the one before.
class Lines {
 public:
  /// What does not fit goes on `deeper` columns further right.
  void Add(const std::string& label, const std::string& words, std::size_t deeper = 0) {
    std::string bent;
    AppendBent(words, LABEL, LABEL + deeper, bent);
    bent.replace(0, std::min(label.size(), LABEL), label, 0, LABEL);
    text += bent;
  }
  void AddMore(std::size_t count, std::size_t shown, const char* what) {
    if (count > shown) {
      Add("", "and " + std::to_string(count - shown) + " more " + what);
    }
  }

  std::string text;
};

std::string DescribeGateway(const documents::RouteTarget& target) {
  std::string text;
  if (!IsZero(target.gateway)) {
    text = " via ";
    AppendAddress(target.ip6, target.gateway, text);
  }
  return text;
}

void AppendLife(const ExplainedRoute& route, Lines& lines) {
  if (route.count == 0) {
    lines.Add("Asked", "never");
    return;
  }
  lines.Add("Asked",
            program::Times(route.count) + ", " + (route.count == 1 ? "" : "the last time ") +
                apply::DescribeTime(route.askedAt) + ", " + DescribeSpan(route.askedAgo) + " ago");
  lines.Add("Answered", route.status == 0 ? "not yet"
                                          : rows::DescribeStatus(route.status) + ", " +
                                                apply::DescribeTime(route.answeredAt) + ", " +
                                                DescribeSpan(route.answeredAgo) + " ago");
}

// "revision 7's ", if places are those of its copy.
std::string DescribeOwner(const Explanation& explanation) {
  return explanation.placesOf == 0 ? ""
                                   : "revision " + std::to_string(explanation.placesOf) + "'s ";
}

void AppendRoute(const ExplainedRoute& route, const std::string& owner, Lines& lines) {
  std::string wanted = route.isWanted ? "static" : "not any more: static";
  wanted += DescribeGateway(route.item.target);
  wanted += route.interface.empty() ? "" : " on " + route.interface;
  lines.Add("Wanted", wanted + ", metric " + std::to_string(route.metric));
  for (std::size_t i = 0; i < std::min(route.origins.size(), MOST_ORIGINS); ++i) {
    lines.Add("", (i == 0 ? "" : "also, and does not count: ") + owner + route.origins[i].Text());
  }
  lines.AddMore(route.origins.size(), MOST_ORIGINS, "that do not count");
  if (route.revision != 0) {
    lines.Add("", "since revision " + std::to_string(route.revision) +
                      (route.change.empty() ? "" : " (" + route.change + ")"));
  }
  AppendLife(route, lines);
  const std::string note = DescribeNote(route.item);
  if (!note.empty()) {
    lines.Add("", note);
  } else if (!route.item.isInStack) {
    lines.Add("State", route.reason);
  }
}

void AppendCandidates(const Explanation& explanation, Lines& lines) {
  const std::size_t count = std::min(explanation.candidates.size(), MOST_CANDIDATES);
  for (std::size_t i = 0; i < count; ++i) {
    const ExplainedCandidate& candidate = explanation.candidates[i];
    const RouteItem& item = candidate.item;
    std::string words = std::string(1, item.GetMark()) + ' ' + NameOf(item.protocol) + " [" +
                        std::to_string(item.distance) + '/' + std::to_string(item.metric) + ']' +
                        DescribeGateway(item.target);
    words += candidate.interface.empty() ? "" : " over " + candidate.interface;
    lines.Add(i == 0 ? "Candidates" : "", words + ", " + DescribeSpan(item.ageSeconds), DEEPER);
    AppendBent(candidate.verdict, LABEL + DEEPER, lines.text);
  }
  lines.AddMore(explanation.candidateCount, count, "candidates");
}

std::string DescribeSubject(const Explanation& explanation) {
  std::string text;
  if (explanation.address) {
    text = Describe(*explanation.address);
    if (!explanation.prefix) {
      return "No route to " + text + " in VLAN " + std::to_string(explanation.vlan) + '\n';
    }
    text += ':';
  }
  std::string match;
  if (explanation.address) {
    match = explanation.forwards ? "the longest match is "
                                 : "nothing forwards it, the longest match is ";
  }
  match += Describe(*explanation.prefix) + " in VLAN " + std::to_string(explanation.vlan);
  if (text.size() + 1 + match.size() > WIDTH) {
    text += '\n';
    AppendBent(match, DEEPER, text);
  } else {
    text += (text.empty() ? "" : " ") + match + '\n';
  }
  if (explanation.longer) {
    text += Describe(*explanation.longer) + " is longer and not in use\n";
  }
  return text;
}

std::string JoinNames(const std::vector<std::string>& names) {
  std::string text;
  for (const std::string& name : names) {
    text += (text.empty() ? "" : ", ") + name;
  }
  return text.empty() ? "nobody" : text;
}

}  // namespace

std::string DescribeAsText(const Explanation& explanation) {
  Lines lines;
  lines.text = DescribeSubject(explanation);
  if (!explanation.prefix) {
    return lines.text;
  }
  const std::size_t count = std::min(explanation.routes.size(), MOST_ROUTES);
  for (std::size_t i = 0; i < count; ++i) {
    AppendRoute(explanation.routes[i], DescribeOwner(explanation), lines);
  }
  lines.AddMore(explanation.routeCount, count, "static routes");
  for (const ExplainedAddress& address : explanation.addresses) {
    lines.Add("Connected", "interface " + address.interface);
    lines.Add("", address.origin.file.empty() ? "no document says so"
                                              : DescribeOwner(explanation) + address.origin.Text());
    if (!address.trouble.empty()) {
      lines.Add("", address.trouble);
    }
  }
  if (explanation.candidates.empty()) {
    lines.Add("Candidates", "none");
    if (explanation.forwards) {
      lines.Add("", Describe(*explanation.forwards) + " forwards what it holds");
    }
  } else {
    AppendCandidates(explanation, lines);
    lines.Add("Handed on", "to " + JoinNames(explanation.handedOn));
  }
  if (explanation.kernel) {
    lines.Add("Kernel", Describe(*explanation.kernel));
  }
  return lines.text;
}

}  // namespace views
