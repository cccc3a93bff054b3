// Why a route is not installed, and what is to become of it, in words.
#ifndef DEVICE_VIEWS_ROUTE_REASONS_H
#define DEVICE_VIEWS_ROUTE_REASONS_H

#include <cstdint>
#include <string>
#include <string_view>

#include "device/keepers/interfaces.h"
#include "route_item.h"

namespace views {

/// The names of interfaces by their indexes. It remembers the one that it was asked for last. To be
/// used within one turn of the loop.
class InterfaceNames {
 public:
  explicit InterfaceNames(const keepers::Interfaces& interfaces) : m_interfaces(interfaces) {}
  /// "eth0", or the index if no interface has it; empty for 0.
  std::string_view Get(unsigned short vlan, std::uint32_t ifIndex);
  /// Of the row's interface. A name that only a document says may be any text: it is made safe, and
  /// ends no line.
  std::string_view Of(const RouteItem& item);
  /// A later turn begins.
  void Forget() { m_key = {0, 0}; }

 private:
  const keepers::Interfaces& m_interfaces;
  documents::InterfaceKey m_key{0, 0};
  std::string m_name;
  std::string m_said;  // by a document
};

/// "beaten by connected [0/0]"; empty without a reason.
std::string DescribeReason(const RouteItem& item, InterfaceNames& names);
/// "its removal waits for the stack's answer"; empty without a note.
std::string DescribeNote(const RouteItem& item);

/// Both as machines read them: "beaten", "leaves".
const char* WordOf(Reason reason);
const char* WordOf(Note note);

}  // namespace views

#endif
