// The answer to `summary`.
#ifndef DEVICE_VIEWS_SUMMARY_VIEW_H
#define DEVICE_VIEWS_SUMMARY_VIEW_H

#include <optional>
#include <string>

#include "json.h"
#include "summary_counts.h"
#include "view.h"

namespace views {

/// Totals of one VLAN, which is there; or of all, and a line for each. Nothing is shown before all
/// is collected.
class SummaryView : public View {
 public:
  SummaryView(const Sources& sources, std::optional<unsigned short> vlan, Format format);

  Rest Next(std::string& text) override;

 private:
  enum class Stage { COLLECTING, TOTALS, VLANS };

  void WriteTotals(std::string& text);
  bool WriteVlans(std::string& text);

  const std::optional<unsigned short> m_vlan;
  const Format m_format;
  SummaryCollector m_collector;
  Stage m_stage = Stage::COLLECTING;
  SummaryCounts m_totals;
  SummaryCollector::All::const_iterator m_next;  // VLAN to be written
  Json m_json;
};

}  // namespace views

#endif
