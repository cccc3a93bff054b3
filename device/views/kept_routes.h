// How views tell of old routes that are in force until others can take their place.
#ifndef DEVICE_VIEWS_KEPT_ROUTES_H
#define DEVICE_VIEWS_KEPT_ROUTES_H

#include <cstddef>
#include <cstdint>
#include <string>

#include "json.h"

namespace views {

/// "2 old routes until others can replace them, for 34 s at most".
std::string DescribeKept(std::size_t count, std::uint64_t seconds);
/// The members `kept` and `kept_seconds`, which is null if there are none.
void AddKept(Json& json, std::size_t count, std::uint64_t seconds);

}  // namespace views

#endif
