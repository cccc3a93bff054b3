// The answer to `route` and `route6`.
#ifndef DEVICE_VIEWS_ROUTE_VIEW_H
#define DEVICE_VIEWS_ROUTE_VIEW_H

#include <array>
#include <cstddef>
#include <string>

#include "questions.h"
#include "route_json.h"
#include "route_text.h"
#include "route_walk.h"

namespace views {

class RouteView : public View {
 public:
  /// The sources outlive it.
  RouteView(const Sources& sources, const RouteQuery& query, Format format);

  Rest Next(std::string& text) override;
  bool IsRefused() const override { return m_isRefused; }

 private:
  void Begin(std::string& text);
  void AppendRows(std::string& text);
  void End(std::string& text);
  std::string DescribeNothing() const;

  const Sources m_sources;
  const RouteQuery m_query;
  const Format m_format;
  RouteWalk m_walk;
  RouteItems m_items;
  RouteText m_text;
  RouteJson m_json;
  bool m_isBegun = false;
  bool m_hasRows = false;
  bool m_isRefused = false;
  unsigned int m_vlan = 0;  // of the last row
};

/// Numbers instead of rows: of each protocol and of all.
class RouteSummary : public View {
 public:
  RouteSummary(const Sources& sources, const RouteQuery& query, Format format);

  Rest Next(std::string& text) override;
  bool IsRefused() const override { return m_isRefused; }

 private:
  struct Numbers {
    std::size_t routes = 0;
    std::size_t installed = 0;
    std::size_t waiting = 0;
    std::size_t refused = 0;
  };

  void Count(const RouteItem& item, Numbers& numbers) const;
  void AppendTable(std::string& text) const;
  void AppendDocument(std::string& text) const;

  const Sources m_sources;
  const RouteQuery m_query;
  const Format m_format;
  RouteWalk m_walk;
  RouteItems m_items;
  bool m_isRefused = false;
  std::array<Numbers, PROTOCOLS> m_protocols;
  Numbers m_all;
};

}  // namespace views

#endif
