#include "route_reasons.h"

#include "device/program/printable.h"
#include "device/rows/row.h"
#include "names.h"

namespace views {

namespace {

std::string DescribeRefusal(const RouteItem& item) {
  std::string text = "refused";
  if (item.status != 0) {
    text += ": " + rows::DescribeStatus(item.status);
  }
  if (item.nextTry) {
    text += *item.nextTry == 0 ? ", next try now"
                               : ", next try in " + std::to_string(*item.nextTry) + " s";
  }
  return text;
}

std::string DescribeRival(const RouteItem& item) {
  std::string text = std::string("beaten by ") + NameOf(item.rival.protocol) + " [" +
                     std::to_string(item.rival.distance) + '/' + std::to_string(item.rival.metric) +
                     ']';
  if (item.isRivalTold) {
    text += " via ";
    AppendAddress(item.target.ip6, item.rival.gateway, text);
  }
  return text;
}

}  // namespace

std::string_view InterfaceNames::Get(unsigned short vlan, std::uint32_t ifIndex) {
  if (ifIndex == 0) {
    return {};
  }
  const documents::InterfaceKey key{vlan, ifIndex};
  if (m_key != key) {
    m_key = key;
    const auto found = m_interfaces.Get().find(key);
    m_name = found == m_interfaces.Get().end() ? std::to_string(ifIndex) : found->second.name;
  }
  return m_name;
}

std::string_view InterfaceNames::Of(const RouteItem& item) {
  if (item.interface == nullptr) {
    return Get(item.target.vlan, item.ifIndex);
  }
  m_said = program::Printable(*item.interface, item.interface->size());
  return m_said;
}

std::string DescribeReason(const RouteItem& item, InterfaceNames& names) {
  switch (item.reason) {
    case Reason::NONE:
      return {};
    case Reason::BEATEN:
      return DescribeRival(item);
    case Reason::NOT_REACHED:
      return "next hop not reached";
    case Reason::INTERFACE_DOWN:
      return "interface " + std::string(names.Of(item)) + " down";
    case Reason::SWITCHED_OFF:
      return "switched off";
    case Reason::CHOOSING:
      return "the stack is choosing";
    case Reason::ACCEPTED:
      return "accepted by the stack, which tells no more";
    case Reason::TO_ASK:
      return "is to be asked for";
    case Reason::ANSWER:
      return "waits for the stack's answer";
    case Reason::INSTANCE:
      return "waits for the routing table of VLAN " + std::to_string(item.target.vlan);
    case Reason::INTERFACE:
      return "waits for interface " + std::string(names.Of(item));
    case Reason::VLAN:
      return "waits for VLAN " + std::to_string(item.target.vlan);
    case Reason::MISSING:
      return item.nextTry
                 ? "missing in the stack, next try in " + std::to_string(*item.nextTry) + " s"
                 : "missing in the stack";
    default:
      return DescribeRefusal(item);
  }
}

std::string DescribeNote(const RouteItem& item) {
  switch (item.note) {
    case Note::NONE:
      return {};
    case Note::CHANGES:
      return "metric " + std::to_string(item.wantedMetric) + " waits for the stack";
    case Note::CHANGE_REFUSED:
      return "metric " + std::to_string(item.wantedMetric) + " " + DescribeRefusal(item);
    case Note::LEAVES:
      return "leaves, removal waits for the stack";
    case Note::REMOVAL_REFUSED:
      return "leaves, removal " + DescribeRefusal(item);
    case Note::KEPT:
      return std::string("leaves when another route can take its place") +
             (item.leavesIn ? ", at the latest in " + std::to_string(*item.leavesIn) + " s" : "");
    default:
      return "not configured";
  }
}

const char* WordOf(Reason reason) {
  constexpr const char* WORDS[] = {"none",
                                   "beaten",
                                   "next_hop_not_reached",
                                   "interface_down",
                                   "disabled",
                                   "choosing",
                                   "accepted",
                                   "to_be_asked_for",
                                   "answer",
                                   "routing_table",
                                   "interface_missing",
                                   "vlan_missing",
                                   "missing_in_stack",
                                   "refused"};
  return WORDS[static_cast<std::size_t>(reason)];
}

const char* WordOf(Note note) {
  constexpr const char* WORDS[] = {
      "none", "changes", "change_refused", "leaves", "removal_refused", "kept", "not_configured"};
  return WORDS[static_cast<std::size_t>(note)];
}

}  // namespace views
