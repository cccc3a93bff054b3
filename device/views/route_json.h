// Rows of `route` and `route6` for machines.
#ifndef DEVICE_VIEWS_ROUTE_JSON_H
#define DEVICE_VIEWS_ROUTE_JSON_H

#include <string>
#include <string_view>

#include "json.h"
#include "route_item.h"
#include "route_reasons.h"

namespace views {

/// Appends rows as objects. A million of them are asked for at once, so what every row has is
/// written without the writer; texts of any origin and what is rare go through it.
class RouteJson {
 public:
  explicit RouteJson(const keepers::Interfaces& interfaces) : m_names(interfaces) {}

  void Append(const RouteItem& item, std::string& text);
  /// A later turn of the loop begins.
  void Forget() { m_names.Forget(); }

 private:
  void AppendText(std::string_view value, std::string& text);
  void AppendInterface(const RouteItem& item, std::string& text);
  void AppendReason(const RouteItem& item, std::string& text);

  InterfaceNames m_names;
  Json m_json;
  std::string m_name;    // of an interface
  std::string m_quoted;  // it as JSON
};

}  // namespace views

#endif
