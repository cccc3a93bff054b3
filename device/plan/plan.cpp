#include "plan.h"

#include <utility>

#include "count.h"
#include "walk.h"

namespace plan {

namespace {

class Planner : public Visitor {
 public:
  void BeginVlan(unsigned short vlan, bool isLeaving) override {
    EndVlan();
    m_loss = VlanLoss();
    m_loss.vlan = vlan;
    m_loss.isLeaving = isLeaving;
  }
  bool Take(Thing thing, How how, const Words&) override {
    AddTo(m_plan.totals, thing, how);
    return true;
  }
  void AddRequests(std::size_t count) override { m_plan.totals.requests += count; }
  void TakePrefix(const Prefix& prefix, bool isKept) override {
    ++m_loss.prefixes;
    if (!isKept) {
      m_loss.lost.push_back(prefix);
    }
  }
  void TakeRows(const std::string& protocol, std::size_t now, std::size_t then) override {
    if (now > 1 && then == 0) {
      m_loss.allRowsOf.push_back(protocol);
    }
  }

  Plan Finish() {
    EndVlan();
    return std::move(m_plan);
  }

 private:
  void EndVlan() {
    if (m_loss.isLeaving || !m_loss.lost.empty() || !m_loss.allRowsOf.empty()) {
      m_plan.losses.push_back(std::move(m_loss));
    }
  }

  Plan m_plan;
  VlanLoss m_loss;
};

}  // namespace

Plan MakePlan(const intent::Intent& from, const intent::Intent& to) {
  Planner planner;
  Walk(from, to, planner);
  return planner.Finish();
}

}  // namespace plan
