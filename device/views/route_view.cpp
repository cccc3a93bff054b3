#include "route_view.h"

#include <algorithm>
#include <cstdio>
#include <utility>

#include "device/program/printable.h"
#include "folder_json.h"

#include "elsewhere.h"
#include "names.h"

namespace views {

namespace {

// A piece ends when it is as long as this, or after so many slices.
constexpr std::size_t PIECE = 32768;
constexpr unsigned int SLICES_A_PIECE = 4;

// Room for another row.
constexpr std::size_t ROW = 512;

// Of a query about an interface that none of its VLANs has. Routes may wait for one, so it is asked
// when there are none.
bool LacksInterface(const keepers::Interfaces& interfaces, const RouteQuery& query) {
  const auto& all = interfaces.Get();
  return !query.interface.empty() &&
         std::none_of(all.begin(), all.end(), [&query](const auto& interface) {
           return interface.second.name == query.interface &&
                  (!query.vlan || interface.first.first == *query.vlan);
         });
}

void AppendLack(const RouteQuery& query, Format format, std::string& text) {
  const std::string reason =
      "Interface " + program::Printable(query.interface, MOST_OF_AN_INTERFACE) + " is not present" +
      (query.vlan ? " in VLAN " + std::to_string(*query.vlan) : "") + "\n";
  if (format == Format::JSON) {
    ShowRefusal("route", reason)->Next(text);
  } else {
    text += reason;
  }
}

}  // namespace

RouteView::RouteView(const Sources& sources, const RouteQuery& query, Format format)
    : m_sources(sources),
      m_query(query),
      m_format(format),
      m_walk(sources, query),
      m_text(sources.interfaces),
      m_json(sources.interfaces) {}

// Interfaces may have other names in the next piece.
View::Rest RouteView::Next(std::string& text) {
  const std::size_t begin = text.size();
  text.reserve(begin + PIECE + RouteWalk::ROWS_A_SLICE * ROW);
  m_text.Forget();
  m_json.Forget();
  for (unsigned int i = 0; i < SLICES_A_PIECE && text.size() - begin < PIECE; ++i) {
    if (!m_walk.Next(m_items)) {
      End(text);
      return Rest::NONE;
    }
    AppendRows(text);
  }
  return Rest::MORE;
}

void RouteView::Begin(std::string& text) {
  if (!std::exchange(m_isBegun, true) && m_format == Format::JSON) {
    text.append("{\"view\":\"route\",\"family\":\"").append(NameOfFamily(m_query.ip6));
    text += "\",\"routes\":[";
  }
}

void RouteView::AppendRows(std::string& text) {
  for (const RouteItem& item : m_items) {
    Begin(text);
    if (m_format == Format::JSON) {
      text += m_hasRows ? ",\n" : "\n";
      m_json.Append(item, text);
    } else {
      if (!m_query.vlan && (!m_hasRows || m_vlan != item.target.vlan)) {
        text.append(m_hasRows ? "\n" : "").append("VLAN ");
        AppendNumber(item.target.vlan, text);
        text += '\n';
      }
      m_text.Append(item, text);
    }
    m_vlan = item.target.vlan;
    m_hasRows = true;
  }
}

void RouteView::End(std::string& text) {
  m_isRefused = !m_hasRows && LacksInterface(m_sources.interfaces, m_query);
  if (m_isRefused) {
    AppendLack(m_query, m_format, text);
    return;
  }
  Begin(text);
  if (m_format == Format::JSON) {
    text += "]}\n";
    return;
  }
  text += m_hasRows ? "" : DescribeNothing();
  if (m_query.vlan && m_query.state && *m_query.state != RouteQuery::State::INSTALLED) {
    text += DescribeRoutesElsewhere(m_sources, *m_query.vlan, *m_query.state);
  }
}

std::string RouteView::DescribeNothing() const {
  const bool isFiltered =
      m_query.protocol || m_query.via || !m_query.interface.empty() || m_query.state;
  std::string text = "No ";
  text += m_query.ip6 ? "IPv6 route" : "IPv4 route";
  if (m_query.address) {
    text += " to " + Describe(*m_query.address);
  } else if (m_query.prefix) {
    text += (m_query.isLonger ? " within " : " ") + Describe(*m_query.prefix);
  }
  if (m_query.vlan) {
    text += " in VLAN " + std::to_string(*m_query.vlan);
  }
  return text + (isFiltered ? " matches\n" : "\n");
}

RouteSummary::RouteSummary(const Sources& sources, const RouteQuery& query, Format format)
    : m_sources(sources), m_query(query), m_format(format), m_walk(sources, query) {}

View::Rest RouteSummary::Next(std::string& text) {
  for (unsigned int i = 0; i < SLICES_A_PIECE; ++i) {
    if (!m_walk.Next(m_items)) {
      m_isRefused = m_all.routes == 0 && LacksInterface(m_sources.interfaces, m_query);
      if (m_isRefused) {
        AppendLack(m_query, m_format, text);
        return Rest::NONE;
      }
      m_format == Format::JSON ? AppendDocument(text) : AppendTable(text);
      return Rest::NONE;
    }
    for (const RouteItem& item : m_items) {
      Count(item, m_protocols[static_cast<std::size_t>(item.protocol)]);
      Count(item, m_all);
    }
  }
  return Rest::MORE;
}

void RouteSummary::Count(const RouteItem& item, Numbers& numbers) const {
  numbers.routes += 1;
  numbers.installed += item.isInstalled ? 1 : 0;
  numbers.waiting += item.IsWaiting() ? 1 : 0;
  numbers.refused += item.IsRefused() ? 1 : 0;
}

void RouteSummary::AppendTable(std::string& text) const {
  const auto append = [&text](const char* name, const Numbers& numbers) {
    char line[96];
    std::snprintf(line, sizeof line, "%-10s %10zu %10zu %10zu %10zu\n", name, numbers.routes,
                  numbers.installed, numbers.waiting, numbers.refused);
    text += line;
  };
  text += "protocol       routes  installed    waiting    refused\n";
  for (std::size_t i = 0; i < PROTOCOLS; ++i) {
    append(NameOf(static_cast<Protocol>(i)), m_protocols[i]);
  }
  append("all", m_all);
}

void RouteSummary::AppendDocument(std::string& text) const {
  Json json;
  const auto append = [&json](const Numbers& numbers) {
    json.Key("routes").Number(std::uint64_t{numbers.routes});
    json.Key("installed").Number(std::uint64_t{numbers.installed});
    json.Key("waiting").Number(std::uint64_t{numbers.waiting});
    json.Key("refused").Number(std::uint64_t{numbers.refused}).EndObject();
  };
  json.BeginObject().Key("view").Text("route").Key("family").Text(NameOfFamily(m_query.ip6));
  json.Key("protocols").BeginArray();
  for (std::size_t i = 0; i < PROTOCOLS; ++i) {
    json.BeginObject().Key("protocol").Text(NameOf(static_cast<Protocol>(i)));
    append(m_protocols[i]);
  }
  json.EndArray().Key("all").BeginObject();
  append(m_all);
  json.EndObject().EndDocument();
  json.Take(text);
}

}  // namespace views
