#include "count.h"
#include "walk.h"

namespace plan {

namespace {

char SignOf(How how) { return how == How::ADDED ? '+' : how == How::REMOVED ? '-' : '~'; }

class Lister : public Visitor {
 public:
  /// `report` is borrowed.
  explicit Lister(const std::function<bool(Change)>& report) : m_report(report) {}

  void BeginVlan(unsigned short vlan, bool) override { m_vlan = vlan; }
  bool Take(Thing thing, How how, const Words& words) override {
    AddTo(m_totals, thing, how);
    return m_report({m_vlan, thing, how, words()});
  }
  void AddRequests(std::size_t count) override { m_totals.requests += count; }
  void TakePrefix(const Prefix&, bool) override {}
  void TakeRows(const std::string&, std::size_t, std::size_t) override {}

  const Totals& GetTotals() const { return m_totals; }

 private:
  const std::function<bool(Change)>& m_report;
  std::optional<unsigned short> m_vlan;
  Totals m_totals;
};

}  // namespace

bool ChangeLines::Add(const Change& change, const Report& report) {
  if (!m_hasBegun || m_group != change.vlan) {
    m_hasBegun = true;
    m_group = change.vlan;
    if (!report(change.vlan ? "VLAN " + std::to_string(*change.vlan) : "device")) {
      return false;
    }
  }
  return report(std::string("  ") + SignOf(change.how) + ' ' + change.words);
}

Totals TellChanges(const intent::Intent& from, const intent::Intent& to,
                   const std::function<bool(Change)>& report) {
  Lister lister(report);
  Walk(from, to, lister);
  return lister.GetTotals();
}

Totals ListChanges(const intent::Intent& from, const intent::Intent& to,
                   const ChangeLines::Report& report) {
  ChangeLines lines;
  bool isOver = false;
  const Totals totals = TellChanges(from, to, [&](const Change& change) {
    isOver = !lines.Add(change, report);
    return !isOver;
  });
  if (!isOver) {
    report(DescribeTotals(totals));
  }
  return totals;
}

}  // namespace plan
