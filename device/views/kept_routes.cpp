#include "kept_routes.h"

namespace views {

std::string DescribeKept(std::size_t count, std::uint64_t seconds) {
  return std::to_string(count) +
         (count == 1 ? " old route until another one can replace it"
                     : " old routes until others can replace them") +
         ", for " + std::to_string(seconds) + " s at most";
}

void AddKept(Json& json, std::size_t count, std::uint64_t seconds) {
  json.Key("kept").Number(std::uint64_t{count}).Key("kept_seconds");
  count != 0 ? json.Number(seconds) : json.Null();
}

}  // namespace views
