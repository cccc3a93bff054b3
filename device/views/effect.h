// What has come of a change of what is in force.
#ifndef DEVICE_VIEWS_EFFECT_H
#define DEVICE_VIEWS_EFFECT_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace views {

struct Effect {
  bool hasSettled = false;               // or else nothing of the following is known
  std::vector<std::string> differences;  // the first rows that are not as wanted, in words
  std::size_t count = 0;                 // of all such rows
  std::size_t kept = 0;                  // old routes that stay until others can replace them
  std::uint64_t keptSeconds = 0;         // for how long at most
};

/// Lines without their ends: the differences and their number, and the old routes; none if there is
/// nothing of it.
std::vector<std::string> DescribeEffect(const Effect& effect);

}  // namespace views

#endif
