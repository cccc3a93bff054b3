// Rows of `route` and `route6` for people.
#ifndef DEVICE_VIEWS_ROUTE_TEXT_H
#define DEVICE_VIEWS_ROUTE_TEXT_H

#include <string>

#include "route_item.h"
#include "route_reasons.h"

namespace views {

/// Appends rows. One that does not fit into 80 columns bends after its prefix, and a second time
/// before its interface's name if that is a long one; what is bent, and the reason, begin in the
/// fifth column.
class RouteText {
 public:
  explicit RouteText(const keepers::Interfaces& interfaces) : m_names(interfaces) {}

  void Append(const RouteItem& item, std::string& text);
  /// A later turn of the loop begins.
  void Forget() { m_names.Forget(); }

 private:
  InterfaceNames m_names;
};

}  // namespace views

#endif
