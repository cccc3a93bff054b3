// The answer to `requests`.
#ifndef DEVICE_VIEWS_REQUESTS_VIEW_H
#define DEVICE_VIEWS_REQUESTS_VIEW_H

#include <array>
#include <cstddef>
#include <optional>
#include <string>

#include "json.h"
#include "request_reader.h"
#include "view.h"

namespace views {

/// What waits and for what, what was refused, and when it is asked for next: of one VLAN, which
/// need not be there, or of all. All are counted.
class RequestsView : public View {
 public:
  static constexpr std::size_t MOST_SHOWN = 1000;

  RequestsView(const Sources& sources, std::optional<unsigned short> vlan, Format format);

  Rest Next(std::string& text) override;

 private:
  void Show(const RequestItem& item, std::string& text);
  void WriteTotals(std::string& text);

  const Sources m_sources;
  const std::optional<unsigned short> m_vlan;
  const Format m_format;
  RequestReader m_reader;
  Json m_json;
  bool m_hasBegun = false;
  std::size_t m_shown = 0;
  std::size_t m_left = 0;                                   // items that were not shown
  std::array<std::size_t, RequestItem::STATES> m_totals{};  // of rows, by State
};

}  // namespace views

#endif
