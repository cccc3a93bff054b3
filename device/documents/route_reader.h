// Reads static routes from configuration documents.
#ifndef DEVICE_DOCUMENTS_ROUTE_READER_H
#define DEVICE_DOCUMENTS_ROUTE_READER_H

#include <string>

#include "device/program/report.h"
#include "route.h"
#include "tarsel/options.h"

namespace documents {

/// Adds the routes of a document to `routes`: each VLAN entry's members "STATIC_ROUTES" and
/// "STATIC_ROUTES6", whose members are the routes. The VLANs need not exist, and a VLAN may have
/// several entries. A route that cannot be read is reported and left out. If a route has several
/// metrics, the first is kept; the others are reported.
void ReadRoutes(const Tarsel::Options& document, const std::string& file, RouteSet& routes,
                const program::Report& report);

/// Adds the routes of another document. If a route has another metric in `routes`, that one is kept
/// and the other is reported.
void MergeRoutes(const RouteSet& added, RouteSet& routes, const program::Report& report);

}  // namespace documents

#endif
