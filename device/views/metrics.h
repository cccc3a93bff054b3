// The answer to `metrics`.
#ifndef DEVICE_VIEWS_METRICS_H
#define DEVICE_VIEWS_METRICS_H

#include <string>

#include "sources.h"

namespace views {

/// Counters of the whole device in Prometheus' text format. All of them are kept where things
/// happen, so the answer takes a fraction of a millisecond however much is configured. There is no
/// series for each VLAN: thousands of VLANs times protocols and states would be more than a scraper
/// wants to keep of one device. `summary` tells them.
std::string WriteMetrics(const Sources& sources);

}  // namespace views

#endif
