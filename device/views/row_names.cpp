#include "row_names.h"

#include "device/program/printable.h"
#include "names.h"

namespace views {

std::string DescribeWithName(const rows::Row& row, const keepers::Interfaces& interfaces) {
  const documents::Interfaces& all = interfaces.Get();
  const auto found = all.find({rows::VlanOf(row), rows::InterfaceOf(row)});
  return rows::DescribeWithoutVlan(
      row, found == all.end() ? "" : program::Printable(found->second.name, MOST_OF_AN_INTERFACE));
}

}  // namespace views
