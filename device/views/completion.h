// What a half-typed value may become.
#ifndef DEVICE_VIEWS_COMPLETION_H
#define DEVICE_VIEWS_COMPLETION_H

#include <cstddef>
#include <string>
#include <vector>

#include "sources.h"

namespace views {

/// At most `most` of each, in their order.
std::vector<std::string> FindVlans(const std::string& begun, std::size_t most);
std::vector<std::string> FindInterfaces(const keepers::Interfaces& interfaces, unsigned short vlan,
                                        const std::string& begun, std::size_t most);
/// Prefixes of wanted routes. Not more than LOOKS routes are looked at, so where many begin alike
/// some may be left out. Where there are more than `most`, the last of those that are returned
/// begins as little like the first as any, so that what all begin with is what these begin with.
constexpr std::size_t LOOKS = 10000;
std::vector<std::string> FindPrefixes(const routes::RouteKeeper& keeper, unsigned short vlan,
                                      bool ip6, const std::string& begun, std::size_t most);

}  // namespace views

#endif
