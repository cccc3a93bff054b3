#include "rip_row.h"

#include <tuple>

namespace routers {

using Tarsel::string;

void RipRow::Read(GroupReader& reader) {
  reader.ReadNumber(RIP_COST, cost);
  reader.ReadFlag(RIP_PASSIVE, passive);
  reader.ReadFlag(documents::ENABLED, enabled);
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
