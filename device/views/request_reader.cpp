#include "request_reader.h"

#include <algorithm>

#include "device/program/counted.h"
#include "device/program/printable.h"
#include "device/routes/route_judge.h"
#include "device/routes/rule_rows.h"
#include "names.h"
#include "row_names.h"
#include "vlans.h"

namespace views {

namespace {

using State = RequestItem::State;
using program::Counted;
using rows::Row;
using rows::Standing;

constexpr const char* IS_TO_GO = "is to go, ";

const char* HowItDiffers(Standing::Kind kind) {
  switch (kind) {
    case Standing::Kind::OTHER:
      return "has other values in the stack";
    case Standing::Kind::UNWANTED:
      return "is still in the stack";
    default:
      return "is missing in the stack";
  }
}

std::string ReasonOfRetry(unsigned int status) {
  return "answered " + rows::DescribeStatus(status) + ", is asked for again";
}

std::string VlanText(unsigned short vlan) { return "VLAN " + std::to_string(vlan) + ": "; }

}  // namespace

std::string RequestReader::NameOf(const Row& row) const {
  return VlanText(rows::VlanOf(row)) + DescribeWithName(row, m_sources.interfaces);
}

std::uint64_t RequestReader::SecondsSince(std::uint64_t moment) const {
  const std::uint64_t now = m_sources.stack.Now();
  return (now - std::min(moment, now)) / 1000;
}

bool RequestReader::Continue(const Tell& tell) {
  bool isMore = false;
  switch (m_stage) {
    case Stage::DIFFERENCES:
      isMore = TellDifferences(tell);
      break;
    case Stage::ROUTES:
      isMore = TellRoutes(tell);
      break;
    case Stage::RULES:
      TellRules(tell);
      break;
    case Stage::VLANS:
      isMore = TellVlans(tell);
      break;
    case Stage::LEAVING:
      isMore = TellLeaving(tell);
      break;
    case Stage::PROTOCOL_ROWS:
      isMore = TellProtocolRows(tell);
      break;
    case Stage::DOCUMENTS:
      isMore = ReadDocuments();
      break;
    case Stage::LACKING:
      TellLacking(tell);
      break;
    case Stage::END:
      return false;
  }
  if (!isMore) {
    m_stage = static_cast<Stage>(static_cast<int>(m_stage) + 1);
  }
  if (m_reach == Reach::REQUESTS && m_stage == Stage::DOCUMENTS) {
    m_stage = Stage::END;
  }
  return m_stage != Stage::END;
}

bool RequestReader::TellDifferences(const Tell& tell) {
  const std::uint64_t now = m_sources.stack.Now();
  const auto& all = m_sources.GetDifferences().GetAll();
  auto next = m_lastDifference ? all.upper_bound(*m_lastDifference) : all.begin();
  for (std::size_t i = 0; i < ROWS_A_SLICE && next != all.end(); ++i, ++next) {
    const auto& [row, difference] = *next;
    m_lastDifference = row;
    if (!IsAsked(rows::VlanOf(row))) {
      continue;
    }
    RequestItem item;
    item.status = difference.standing.status;
    item.state = item.status != 0 ? State::REFUSED : State::DIFFERS;
    item.vlan = rows::VlanOf(row);
    item.what = NameOf(row);
    item.reason = HowItDiffers(difference.standing.kind);
    item.reason += item.status != 0 ? ": " + rows::DescribeStatus(item.status) : "";
    item.sinceSeconds = SecondsSince(difference.since);
    item.repeats = difference.repeats;
    if (difference.isAsked) {
      item.reason += ", under way";
    } else if (difference.next > now) {
      item.nextSeconds = (difference.next - now + 999) / 1000;
    } else {
      item.reason += ", next after others of its VLAN";
    }
    tell(item);
  }
  return next != all.end();
}

// Why a request that has been made has no answer.
std::string RequestReader::ReasonOfSilence(const Row& row) const {
  if (m_sources.stack.IsHeld()) {
    return "no answer: the stack is held";
  }
  if (!m_sources.stack.IsReady()) {
    return "no answer: the stack is not ready";
  }
  const auto* const route = std::get_if<rows::RouteRow>(&row);
  const auto* const rule = std::get_if<rows::RuleRow>(&row);
  if ((route != nullptr && !routes::IsInstanceReady(route->target.vlan, route->target.ip6)) ||
      (rule != nullptr && !routes::HasInstance(rule->destination))) {
    return "waits for the VLAN's routing table";
  }
  return "no answer yet";
}

template <class Request>
void RequestReader::TellRequest(const Row& row, const Request& request, bool isRemoval,
                                const Tell& tell) const {
  if (!IsAsked(rows::VlanOf(row)) || IsToldAlready(row)) {
    return;
  }
  RequestItem item;
  item.vlan = rows::VlanOf(row);
  item.what = NameOf(row);
  item.reason = isRemoval ? IS_TO_GO : "";
  item.reason += request.isRetried ? ReasonOfRetry(request.status) : ReasonOfSilence(row);
  item.status = request.isRetried ? request.status : 0;
  item.sinceSeconds = SecondsSince(request.since);
  tell(item);
}

bool RequestReader::TellRoutes(const Tell& tell) {
  if (!m_routes) {
    m_routes = m_sources.GetRoutes().ReadUnderWay();
  }
  const std::size_t end = std::min(m_routes->size(), m_nextRoute + ROWS_A_SLICE);
  for (; m_nextRoute < end; ++m_nextRoute) {
    const routes::RouteKeeper::UnderWay& request = (*m_routes)[m_nextRoute];
    TellRequest(request.row, request, request.isRemoval, tell);
  }
  return m_nextRoute < m_routes->size();
}

// There are a few for each VLAN at most.
void RequestReader::TellRules(const Tell& tell) {
  const routes::RuleKeeper& rules = m_sources.reloader.GetKnowledge().GetRules();
  for (const auto& [row, request] : rules.GetRequests()) {
    if (!request.isGivenUp) {
      TellRequest(row, request, request.isWithdrawal, tell);
    }
  }
  for (const intent::Destination& destination : rules.GetWaiting()) {
    if (IsAsked(destination.vlan)) {
      RequestItem item;
      item.state = State::LACKING;
      item.vlan = destination.vlan;
      item.what = VlanText(destination.vlan) + "redistribution to " + intent::NameOf(destination);
      item.reason = "waits until the protocol is ready";
      tell(item);
    }
  }
}

bool RequestReader::TellVlans(const Tell& tell) {
  for (std::size_t i = 0; i < VLANS_A_SLICE; ++i) {
    const std::optional<unsigned short> next = FindNextVlan(m_sources.interfaces, m_lastVlan);
    if (!next) {
      return false;
    }
    m_lastVlan = next;
    if (IsAsked(*next)) {
      TellRows(*next, tell);
      TellToAsk(*next, tell);
    }
  }
  return true;
}

void RequestReader::TellRows(unsigned short vlan, const Tell& tell) const {
  if (!m_sources.stack.HasUnfinished()) {
    return;
  }
  if (IsVlanThere(vlan)) {
    TellIfUnfinished(rows::InstanceRow{vlan, false}, tell);
    TellIfUnfinished(rows::InstanceRow{vlan, true}, tell);
  }
  const auto& all = m_sources.interfaces.Get();
  for (auto i = all.lower_bound({vlan, 0}); i != all.end() && i->first.first == vlan; ++i) {
    const auto& [key, interface] = *i;
    TellIfUnfinished(rows::InterfaceRow{key.first, key.second}, tell);
    rows::AddressRow address{key.first, key.second, false, {}};
    for (const documents::Ip4Network& network : interface.ip4) {
      std::copy_n(network.address.GetBytes(), 4, address.address.begin());
      TellIfUnfinished(address, tell);
    }
    address.ip6 = true;
    for (const Tarsel::Ip6Prefix& prefix : interface.ip6) {
      std::copy_n(prefix.GetAddress().GetBytes(), 16, address.address.begin());
      TellIfUnfinished(address, tell);
    }
  }
}

bool RequestReader::TellLeaving(const Tell& tell) {
  return m_sources.stack.HasUnfinished() && m_leaving.Continue(ROWS_A_SLICE, [&](const Row& row) {
    if (IsAsked(rows::VlanOf(row))) {
      TellIfUnfinished(row, tell, IS_TO_GO);
    }
  });
}

void RequestReader::TellIfUnfinished(const Row& row, const Tell& tell, const char* what) const {
  if (m_sources.stack.IsUnfinished(row) && !IsToldAlready(row)) {
    RequestItem item;
    item.vlan = rows::VlanOf(row);
    item.what = NameOf(row);
    item.reason = what + ReasonOfSilence(row);
    if (const std::uint64_t since = m_sources.stack.UnfinishedSince(row)) {
      item.sinceSeconds = SecondsSince(since);
    }
    tell(item);
  }
}

// There may be a million of these, which wait for the same.
void RequestReader::TellToAsk(unsigned short vlan, const Tell& tell) const {
  const routes::RouteKeeper::Waiting waiting = m_sources.GetRoutes().FindWaiting(vlan);
  RequestItem item;
  item.state = State::TO_ASK;
  item.vlan = vlan;
  const std::string turn = waiting.hasRoom ? "their turn comes"
                                           : "after the answers to " +
                                                 Counted(waiting.underWay, "request", "requests") +
                                                 " of the VLAN and those of others";
  if (waiting.additions != 0) {
    item.count = waiting.additions;
    item.what = VlanText(vlan) + Counted(waiting.additions, "route", "routes") + " to be added";
    item.reason = turn;
    tell(item);
  }
  if (waiting.removals != 0) {
    item.count = waiting.removals;
    item.what = VlanText(vlan) + Counted(waiting.removals, "route", "routes") + " to be removed";
    item.reason = waiting.hasRoom ? "after what is to be added" : turn;
    tell(item);
  }
  if (waiting.awaiting != 0) {
    item.count = waiting.awaiting;
    item.what = VlanText(vlan) + Counted(waiting.awaiting, "old route", "old routes");
    item.reason = "in force until others of the prefix have been answered";
    tell(item);
  }
}

bool RequestReader::TellProtocolRows(const Tell& tell) {
  const rows::ProtocolRowsPort& port = m_sources.reloader.GetKnowledge().GetProtocolRows();
  for (std::size_t i = 0; i < ROWS_A_SLICE; ++i) {
    std::optional<rows::ProtocolRow> row = port.Next(m_lastRow ? &*m_lastRow : nullptr);
    if (!row) {
      return false;
    }
    if (IsAsked(rows::VlanOf(*row)) && !IsToldAlready(*row)) {
      const Standing standing = port.Look(*row);
      if (standing.kind == Standing::Kind::UNDER_WAY) {
        RequestItem item;
        item.vlan = rows::VlanOf(*row);
        item.what = NameOf(*row);
        item.reason = (port.IsWanted(*row) ? "" : IS_TO_GO) + ReasonOfSilence(*row);
        item.sinceSeconds =
            standing.since != 0 ? std::optional(SecondsSince(standing.since)) : std::nullopt;
        tell(item);
      }
    }
    m_lastRow = std::move(row);
  }
  return true;
}

// The routes that intent::ResolveRoutes leaves out.
bool RequestReader::ReadDocuments() {
  if (!m_files) {
    m_files = m_sources.reloader.GetIntent().GetDocuments();
  }
  std::size_t left = ROUTES_A_SLICE;
  while (left > 0 && m_nextFile < m_files->size()) {
    const documents::Routes& routes = (*m_files)[m_nextFile]->routes;
    for (; left > 0 && m_nextInFile < routes.Get().size(); --left, ++m_nextInFile) {
      const documents::Route& route = routes.Get()[m_nextInFile];
      const unsigned short vlan = route.target.vlan;
      if (!IsAsked(vlan)) {
        continue;
      }
      const std::string& interface = routes.InterfaceOf(route);
      if (!IsVlanThere(vlan)) {
        ++m_lacking[{vlan, ""}];
      } else if (!interface.empty() && !m_sources.interfaces.IndexOf(vlan, interface)) {
        ++m_lacking[{vlan, interface}];
      }
    }
    if (m_nextInFile == routes.Get().size()) {
      ++m_nextFile;
      m_nextInFile = 0;
      left -= left != 0 ? 1 : 0;
    }
  }
  return m_nextFile < m_files->size();
}

void RequestReader::TellLacking(const Tell& tell) const {
  for (const auto& [lack, count] : m_lacking) {
    const auto& [vlan, interface] = lack;
    RequestItem item;
    item.state = State::LACKING;
    item.vlan = vlan;
    item.count = count;
    item.what = VlanText(vlan) + Counted(count, "configured route", "configured routes");
    item.reason = interface.empty() ? "waiting for the VLAN, which is not there"
                                    : "waiting for the interface " +
                                          program::Printable(interface, MOST_OF_AN_INTERFACE) +
                                          ", which is not there";
    tell(item);
  }
}

}  // namespace views
