#include "rip_row.h"

#include <tuple>

namespace routers {

using Tarsel::string;

namespace {

constexpr unsigned int MAX_COST = 15;  // 16 is unreachable

}  // namespace

void RipRow::Read(GroupReader& reader) {
  reader.ReadNumber("cost", cost, 1, MAX_COST);
  reader.ReadFlag("passive", passive);
  reader.ReadFlag("enabled", enabled);
}

string RipRow::GetContents() const {
  string text;
  text.Format("cost=%u%s", cost, passive ? " passive" : "");
  return text;
}

bool operator==(const RipRow& a, const RipRow& b) {
  return std::tie(a.cost, a.passive, a.enabled) == std::tie(b.cost, b.passive, b.enabled);
}

}  // namespace routers
