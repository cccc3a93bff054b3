#include "guard.h"

#include <cstring>
#include <utility>

#include "device/program/counted.h"

namespace apply {

using documents::RouteTarget;
using plan::Prefix;
using plan::VlanLoss;

namespace {

// Below, equal to or above 0, in the order of the stack's table.
int Compare(const Prefix& a, const RouteTarget& b) {
  if (a.ip6 != b.ip6) {
    return a.ip6 ? 1 : -1;
  }
  const int order = std::memcmp(a.destination.data(), b.destination.data(), a.destination.size());
  return order != 0 ? order : a.length - b.length;
}

// What comes before all routes of an instance.
rows::StackRoute Before(unsigned short vlan, bool ip6) {
  rows::StackRoute route;
  route.route.target.vlan = vlan;
  route.route.target.ip6 = ip6;
  return route;
}

std::string VlanText(unsigned short vlan) { return "VLAN " + std::to_string(vlan); }

}  // namespace

std::string DescribePrefixes(std::size_t count) {
  return program::Counted(count, "prefix", "prefixes");
}

void Guard::Judge(std::shared_ptr<const plan::Plan> plan,
                  std::function<void(const Verdict&)> done) {
  m_plan = std::move(plan);
  m_done = std::move(done);
  BeginAgain();
}

void Guard::BeginAgain() {
  if (m_plan) {
    m_verdict = {};
    m_at = 0;
    m_last.reset();
    m_turn.Post([this] { Turn(); });
  }
}

void Guard::Turn() {
  while (m_at < m_plan->losses.size()) {
    const VlanLoss& loss = m_plan->losses[m_at];
    if (m_port.KnowsTables() && (m_last || m_isSettled(loss.vlan))) {
      if (CountSome(loss)) {
        m_turn.Post([this] { Turn(); });
        return;
      }
      Weigh(loss, m_installed, m_lost);
    } else {
      Weigh(loss, loss.prefixes, loss.lost.size());
    }
    ++m_at;
  }
  m_plan.reset();
  std::exchange(m_done, nullptr)(m_verdict);
}

// Both have the same order within an instance. Returns whether the VLAN has more.
bool Guard::CountSome(const VlanLoss& loss) {
  if (!m_last) {
    m_last = Before(loss.vlan, false);
    m_inPlan = m_installed = m_lost = 0;
  }
  const std::vector<rows::StackRoute> routes = m_port.ReadRoutes(&*m_last, ROUTES_A_TURN);
  for (const rows::StackRoute& route : routes) {
    const RouteTarget& target = route.route.target;
    if (target.vlan != loss.vlan || target.ip6 != m_last->route.target.ip6) {
      break;
    }
    m_last = route;
    if (!route.isInstalled) {
      continue;
    }
    ++m_installed;
    while (m_inPlan < loss.lost.size() && Compare(loss.lost[m_inPlan], target) < 0) {
      ++m_inPlan;
    }
    m_lost += m_inPlan < loss.lost.size() && Compare(loss.lost[m_inPlan], target) == 0 ? 1 : 0;
  }
  if (!routes.empty() && routes.back().route.target.vlan == loss.vlan &&
      routes.back().route.target.ip6 == m_last->route.target.ip6) {
    return true;
  }
  if (!m_last->route.target.ip6) {
    m_last = Before(loss.vlan, true);
    return true;
  }
  m_last.reset();
  return false;
}

void Guard::Weigh(const VlanLoss& loss, std::size_t installed, std::size_t lost) {
  m_verdict.lost += lost;
  if (m_percent >= OFF) {
    return;
  }
  const std::string vlan = VlanText(loss.vlan);
  if (loss.isLeaving && lost != 0) {
    m_verdict.reasons.push_back(vlan + " would go, with the installed static routes of " +
                                DescribePrefixes(lost));
  } else if (lost >= FEWEST && lost * 100 > installed * m_percent) {
    m_verdict.reasons.push_back(vlan + ": " + std::to_string(lost) + " of " +
                                std::to_string(installed) +
                                " prefixes with an installed static route would have none");
  }
  for (const std::string& protocol : loss.allRowsOf) {
    m_verdict.reasons.push_back(vlan + ": all rows of " + protocol + " would go");
  }
}

}  // namespace apply
