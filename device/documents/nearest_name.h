// The known name that a misspelt one was probably meant to be.
#ifndef DEVICE_DOCUMENTS_NEAREST_NAME_H
#define DEVICE_DOCUMENTS_NEAREST_NAME_H

#include <string>
#include <string_view>
#include <vector>

namespace documents {

/// Returns the one of `known` that takes the fewest changes of single letters to become `name`, the
/// first of several; upper and lower case are the same letter. Empty if nothing is known.
std::string NearestName(std::string_view name, const std::vector<std::string>& known);

}  // namespace documents

#endif
