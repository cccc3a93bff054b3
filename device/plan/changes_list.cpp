#include "count.h"
#include "walk.h"

namespace plan {

namespace {

char SignOf(How how) { return how == How::ADDED ? '+' : how == How::REMOVED ? '-' : '~'; }

class Lister : public Visitor {
 public:
  /// `report` is borrowed.
  explicit Lister(const std::function<bool(const std::string&)>& report) : m_report(report) {}

  void BeginVlan(unsigned short vlan, bool) override { m_title = "VLAN " + std::to_string(vlan); }
  bool Take(Thing thing, How how, const Words& words) override {
    AddTo(m_totals, thing, how);
    if (!m_title.empty() && !m_report(m_title)) {
      return false;
    }
    m_title.clear();
    return m_report(std::string("  ") + SignOf(how) + ' ' + words());
  }
  void AddRequests(std::size_t count) override { m_totals.requests += count; }
  void TakePrefix(const Prefix&, bool) override {}
  void TakeRows(const std::string&, std::size_t, std::size_t) override {}

  const Totals& GetTotals() const { return m_totals; }

 private:
  const std::function<bool(const std::string&)>& m_report;
  std::string m_title = "device";  // that is still to be reported
  Totals m_totals;
};

}  // namespace

Totals ListChanges(const intent::Intent& from, const intent::Intent& to,
                   const std::function<bool(const std::string& line)>& report) {
  Lister lister(report);
  if (Walk(from, to, lister)) {
    report(DescribeTotals(lister.GetTotals()));
  }
  return lister.GetTotals();
}

}  // namespace plan
