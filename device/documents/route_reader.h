// Static routes out of configuration documents.
#ifndef DEVICE_DOCUMENTS_ROUTE_READER_H
#define DEVICE_DOCUMENTS_ROUTE_READER_H

#include <string>

#include "device/program/report.h"
#include "route.h"
#include "tarsel/options.h"

namespace documents {

/// Adds the routes of a document to `routes`: each VLAN entry's members "STATIC_ROUTES" and
/// "STATIC_ROUTES6", whose members are the routes. The VLANs need not exist, and a VLAN may stand in
/// several entries. A route that cannot be read is reported and left out. Of one route with several
/// metrics the first stays.
void ReadRoutes(const Tarsel::Options& document, const std::string& file, RouteSet& routes,
                const program::Report& report);

/// Adds the routes of another document; of one route with several metrics the one in `routes` stays.
void MergeRoutes(const RouteSet& added, RouteSet& routes, const program::Report& report);

}  // namespace documents

#endif
