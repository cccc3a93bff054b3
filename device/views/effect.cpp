#include "effect.h"

#include "device/rows/verify.h"
#include "kept_routes.h"

namespace views {

std::vector<std::string> DescribeEffect(const Effect& effect) {
  std::vector<std::string> lines = effect.differences;
  if (effect.count != 0) {
    lines.push_back(rows::DescribeCount(effect.count));
  }
  if (effect.kept != 0) {
    lines.push_back("Kept: " + DescribeKept(effect.kept, effect.keptSeconds));
  }
  return lines;
}

}  // namespace views
