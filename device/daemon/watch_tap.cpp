#include "watch_tap.h"

#include <optional>
#include <utility>
#include <variant>

#include "device/ports/stack_rows.h"
#include "vantacore/dc_router_mgr.h"

namespace vantacored {

using routing_stack::ForwardingChange;
using routing_stack::RowType;
using views::Cause;
using views::InterfaceEvent;
using views::RouteEvent;
using Kind = views::WatchQuery::Kind;
using How = InterfaceEvent::How;

namespace {

constexpr int ROW_STATUS_DESTROY = 6;

RouteEvent::How HowOf(ForwardingChange change) {
  switch (change) {
    case ForwardingChange::kCame:
      return RouteEvent::How::CAME;
    case ForwardingChange::kReplaced:
      return RouteEvent::How::REPLACED;
    case ForwardingChange::kGone:
      break;
  }
  return RouteEvent::How::GONE;
}

// The numbers of stack/rows.h; a rule has them in its upper half.
views::Protocol ProtocolOf(std::uint32_t code) {
  switch (code) {
    case 2:
      return views::Protocol::CONNECTED;
    case 3:
      return views::Protocol::STATIC;
    case 8:
      return views::Protocol::RIP;
    case 13:
      return views::Protocol::OSPF;
    default:
      return views::Protocol::BGP;
  }
}

std::string TextOf(const documents::Ip4Network& network) {
  return std::string(network.address.ToString().c_str()) + '/' +
         std::to_string(Tarsel::DcRouterMgr::bitcount(network.mask));
}

std::string TextOf(const Tarsel::Ip6Prefix& prefix) {
  return std::string(prefix.GetAddress().ToString().c_str()) + '/' +
         std::to_string(prefix.GetLength());
}

/// What an action means to somebody who watches; nothing for what only repeats another one: the
/// registry and the routers are told apart of a status and of an address.
struct EventOf {
  using Event = std::optional<InterfaceEvent>;

  const keepers::InterfaceChange& change;

  Event Make(How how, std::string address = {}) const {
    return InterfaceEvent{how, change.name, std::move(address)};
  }
  Event operator()(const intent::Register&) const {
    return Make(change.isNew ? How::ADDED : How::CHANGED);
  }
  Event operator()(const intent::Unregister&) const { return Make(How::REMOVED); }
  Event operator()(const intent::SetStatus&) const { return {}; }
  Event operator()(const intent::AddIp4& add) const {
    return Make(How::ADDRESS_ADDED, TextOf(add.network));
  }
  Event operator()(const intent::ChangeIp4& change4) const {
    return Make(How::ADDRESS_CHANGED, TextOf(change4.network));
  }
  Event operator()(const intent::DeleteIp4& remove) const {
    return Make(How::ADDRESS_REMOVED, TextOf(remove.network));
  }
  Event operator()(const intent::AddIp6& add) const {
    return Make(How::ADDRESS_ADDED, TextOf(add.prefix));
  }
  Event operator()(const intent::DeleteIp6& remove) const {
    return Make(How::ADDRESS_REMOVED, TextOf(remove.prefix));
  }
  Event operator()(const intent::TellStatus& status) const {
    return Make(status.up ? How::UP : How::DOWN);
  }
  Event operator()(const intent::TellIp4&) const { return {}; }
  Event operator()(const intent::TellJoined& told) const {
    return Make(told.joined ? How::JOINED : How::LEFT);
  }
};

}  // namespace

WatchTap::WatchTap(views::Feed& feed, ports::SoftwareStackPort& port,
                   keepers::Interfaces& interfaces, const apply::Reloader& reloader)
    : m_feed(feed), m_port(port), m_interfaces(interfaces), m_reloader(reloader) {
  m_feed.CallWhenWatchedChanges([this] { WatchedChanges(); });
}

WatchTap::~WatchTap() {
  m_feed.CallWhenWatchedChanges({});
  m_port.RemoveTap(*this);
  m_interfaces.SetListener({});
}

// The restart is told whatever is watched, and an interface's event may be the cause of another
// kind's. The stack is told only of a difference: a listener that is set again does not hear of the
// end of routes that are just leaving with their instance.
void WatchTap::WatchedChanges() {
  const bool isWatched = m_feed.IsWatched();
  const bool isBeginOrEnd = std::exchange(m_isWatching, isWatched) != isWatched;
  const bool areRoutes = m_feed.IsWatched(Kind::ROUTE);
  if (std::exchange(m_areRoutesWatched, areRoutes) != areRoutes || isBeginOrEnd) {
    m_port.RemoveTap(*this);
    if (isWatched) {
      m_port.AddTap(*this);
    }
  }
  if (isBeginOrEnd) {
    isWatched ? Begin() : m_interfaces.SetListener({});
  }
}

void WatchTap::Begin() {
  m_interfaces.SetListener([this](const keepers::InterfaceChange& change) { Happens(change); });
  m_feed.GetCauses().Settled();
  if (!m_reloader.IsSettled()) {
    m_feed.GetCauses().Sending(Cause::DOCUMENT);
  }
  LookAtCauses();
}

void WatchTap::LookAtCauses() {
  views::Causes& causes = m_feed.GetCauses();
  if (m_reloader.IsBringingBack()) {
    causes.Sending(Cause::STACK);
  } else if (m_reloader.IsApplying()) {
    causes.Sending(Cause::DOCUMENT);
  } else if (causes.AreOpen() && m_reloader.IsSettled()) {
    causes.Settled();
  }
}

Cause WatchTap::CauseOf(keepers::InterfaceChange::By by) {
  switch (by) {
    case keepers::InterfaceChange::By::DOCUMENT:
      return Cause::DOCUMENT;
    case keepers::InterfaceChange::By::EVENT:
      return Cause::CONSOLE;
    default:
      return Cause::INTERFACE;
  }
}

// While a job is under way its lines are about documents: what it has found, what it has become.
void WatchTap::PublishLine(const std::string& line) {
  const Cause cause = m_reloader.HasJob()
                          ? Cause::DOCUMENT
                          : m_feed.GetCauses().OfRequest(GetDifferences().IsReportingHastened());
  m_feed.Publish(0, cause, views::ReloadEvent{line});
}

void WatchTap::Happens(const keepers::InterfaceChange& change) {
  const unsigned short vlan = change.key.first;
  m_feed.GetCauses().InterfaceChanged(vlan, change.by == keepers::InterfaceChange::By::DOCUMENT);
  if (!m_feed.IsWatched(Kind::INTERFACE)) {
    return;
  }
  if (std::optional<InterfaceEvent> event = std::visit(EventOf{change}, change.action)) {
    m_feed.Publish(vlan, CauseOf(change.by), std::move(*event));
  }
}

Cause WatchTap::CauseOf(RowType type, unsigned short vlan, bool isHastened) const {
  switch (type) {
    case RowType::kInterface:
    case RowType::kAddress:
      return m_feed.GetCauses().OfInterface(vlan);
    default:
      return m_feed.GetCauses().OfRequest(isHastened);
  }
}

void WatchTap::Answered(const routing_stack::RowName& row, int rowStatus, unsigned int status) {
  if (!m_feed.IsWatched(Kind::REQUEST)) {
    return;
  }
  views::RequestEvent event{ports::RowOf(row), ports::IsIp6(row.instance),
                            rowStatus == ROW_STATUS_DESTROY, status};
  const unsigned short vlan = rows::VlanOf(event.row);
  const bool isHastened = GetDifferences().IsHastened(event.row);
  m_feed.Publish(vlan, CauseOf(row.type, vlan, isHastened), std::move(event));
}

void WatchTap::Restarted() {
  m_feed.GetCauses().Restarted();
  m_feed.Publish(0, Cause::STACK, views::RestartEvent{});
}

bool WatchTap::WantsForwarding() const { return m_areRoutesWatched; }

// A protocol's candidate comes and goes without a request.
void WatchTap::ForwardingChanged(ForwardingChange change, const amb_cipr_rtm_route& route,
                                 const std::vector<routing_stack::NextHopBeside>&, RowType cause) {
  RouteEvent event{HowOf(change), ports::ToTarget(route)};
  if (change == ForwardingChange::kGone) {
    event.target.gateway = {};
  } else {
    event.protocol = ProtocolOf(route.route_proto);
    event.ifIndex = route.if_index;
    event.metric = route.metric1;
  }
  const unsigned short vlan = event.target.vlan;
  const bool isHastened = GetDifferences().IsHastened(event.target);
  m_feed.Publish(
      vlan, cause == RowType::kProtocol ? Cause::STACK : CauseOf(cause, vlan, isHastened), event);
}

}  // namespace vantacored
