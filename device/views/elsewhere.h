// What an answer about one VLAN leaves out.
#ifndef DEVICE_VIEWS_ELSEWHERE_H
#define DEVICE_VIEWS_ELSEWHERE_H

#include <cstddef>
#include <optional>
#include <string>

#include "questions.h"
#include "sources.h"

namespace views {

// From numbers that are kept: none of these takes longer because there are many rows.

/// How many static routes of the VLAN, of both families, wait for a VLAN or an interface that is
/// not there.
std::size_t CountLacking(const routes::RouteKeeper& routes, unsigned short vlan);
/// The next VLAN at or after `from` that has such routes.
std::optional<unsigned int> NextLackingVlan(const routes::RouteKeeper& routes, unsigned int from);

/// "2 rows in other VLANs (`requests vrf all` lists them)", with its end: rows of VLANs other than
/// this one that differ, and static routes of them that wait. Empty if there are none.
std::string DescribeRowsElsewhere(const Sources& sources, unsigned short vlan);

/// The same for static routes, of both families, in one state: "1 static route is refused in other
/// VLANs (`requests vrf all` lists it)".
std::string DescribeRoutesElsewhere(const Sources& sources, unsigned short vlan,
                                    RouteQuery::State state);

}  // namespace views

#endif
