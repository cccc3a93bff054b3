// Rows in the words of an operator.
#ifndef DEVICE_VIEWS_ROW_NAMES_H
#define DEVICE_VIEWS_ROW_NAMES_H

#include <string>

#include "device/keepers/interfaces.h"
#include "device/rows/row.h"

namespace views {

/// "route 10.9.0.0/16 via 10.1.2.1 on eth0": rows::DescribeWithoutVlan with the interface's present
/// name. Of an interface that has gone only the number is known.
std::string DescribeWithName(const rows::Row& row, const keepers::Interfaces& interfaces);

}  // namespace views

#endif
