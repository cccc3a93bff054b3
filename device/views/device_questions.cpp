#include "device_questions.h"

#include "completion.h"
#include "explain_model.h"
#include "folder_json.h"
#include "metrics.h"
#include "plain_view.h"
#include "requests_view.h"
#include "retry.h"
#include "route_view.h"
#include "status_view.h"
#include "summary_view.h"
#include "version_view.h"
#include "vlans.h"
#include "watch_view.h"

namespace views {

namespace {

AnyView NotPresent(const char* view, unsigned short vlan, Format format) {
  const std::string reason = "VLAN " + std::to_string(vlan) + " is not present\n";
  return format == Format::JSON ? ShowRefusal(view, reason)
                                : std::make_unique<PlainView>(reason, true);
}

}  // namespace

AnyView DeviceQuestions::Routes(const RouteQuery& query, Format format) {
  if (query.vlan && !IsVlanThere(*query.vlan)) {
    return NotPresent("route", *query.vlan, format);
  }
  if (query.isSummary) {
    return std::make_unique<RouteSummary>(m_sources, query, format);
  }
  return std::make_unique<RouteView>(m_sources, query, format);
}

AnyView DeviceQuestions::Explain(const ExplainQuery& query, Format format) {
  if (!IsVlanThere(query.vlan)) {
    return NotPresent("explain", query.vlan, format);
  }
  const Explanation explanation = views::Explain(m_sources, query);
  return std::make_unique<PlainView>(format == Format::JSON ? DescribeAsJson(explanation)
                                                            : DescribeAsText(explanation));
}

AnyView DeviceQuestions::Summary(std::optional<unsigned short> vlan, Format format) {
  if (vlan && !IsVlanThere(*vlan)) {
    return NotPresent("summary", *vlan, format);
  }
  return std::make_unique<SummaryView>(m_sources, vlan, format);
}

AnyView DeviceQuestions::Requests(std::optional<unsigned short> vlan, Format format) {
  // What waits for a VLAN that is not there is told as well.
  if (vlan && !IsVlanThere(*vlan) &&
      m_sources.reloader.GetIntent().GetNamedVlans().count(*vlan) == 0) {
    return NotPresent("requests", *vlan, format);
  }
  return std::make_unique<RequestsView>(m_sources, vlan, format);
}

AnyView DeviceQuestions::Status(Format format) {
  return std::make_unique<StatusView>(m_sources, format);
}

AnyView DeviceQuestions::Version(Format format) { return ShowVersion(m_sources.host, format); }

AnyView DeviceQuestions::Metrics() { return std::make_unique<PlainView>(WriteMetrics(m_sources)); }

AnyView DeviceQuestions::Watch(const WatchQuery& query, Format format) {
  return std::make_unique<WatchView>(m_sources.feed, m_sources.interfaces, query, format);
}

Retried DeviceQuestions::Retry(const std::optional<Prefix>& prefix) {
  return RetryNow(m_sources, prefix);
}

std::vector<std::string> DeviceQuestions::CompleteVlan(const std::string& begun, std::size_t most) {
  return FindVlans(begun, most);
}

std::vector<std::string> DeviceQuestions::CompleteInterface(unsigned short vlan,
                                                            const std::string& begun,
                                                            std::size_t most) {
  return FindInterfaces(m_sources.interfaces, vlan, begun, most);
}

std::vector<std::string> DeviceQuestions::CompletePrefix(unsigned short vlan, bool ip6,
                                                         const std::string& begun,
                                                         std::size_t most) {
  return FindPrefixes(m_sources.GetRoutes(), vlan, ip6, begun, most);
}

}  // namespace views
