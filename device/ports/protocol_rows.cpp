#include "protocol_rows.h"

#include "device/routers/row_upkeep.h"
#include "device/rows/standings.h"

namespace ports {

using routers::RowStanding;
using rows::ProtocolRow;
using rows::Standing;

namespace {

routers::RowName NameOf(const ProtocolRow& row) { return {row.table, row.instance, row.key}; }

ProtocolRow RowOf(const routers::RowName& name) { return {name.instance, name.table, name.key}; }

Standing::Kind KindOf(RowStanding::Contents contents) {
  switch (contents) {
    case RowStanding::Contents::MISSING:
      return Standing::Kind::MISSING;
    case RowStanding::Contents::OTHER:
      return Standing::Kind::OTHER;
    case RowStanding::Contents::UNWANTED:
      return Standing::Kind::UNWANTED;
    case RowStanding::Contents::AS_WANTED:
      break;
  }
  return Standing::Kind::EQUAL;
}

}  // namespace

std::size_t ProtocolRows::Count() const { return routers::CountWantedRows(); }

bool ProtocolRows::IsWanted(const ProtocolRow& row) const {
  return routers::IsRowWanted(NameOf(row));
}

std::optional<ProtocolRow> ProtocolRows::Next(const ProtocolRow* last) const {
  const std::optional<routers::RowName> name =
      last != nullptr ? std::optional(NameOf(*last)) : std::nullopt;
  const std::optional<routers::RowName> next = routers::NextRow(name ? &*name : nullptr);
  return next ? std::optional(RowOf(*next)) : std::nullopt;
}

Standing ProtocolRows::Look(const ProtocolRow& row) const {
  const RowStanding now = routers::LookAtRow(NameOf(row));
  if (now.request == RowStanding::Request::DUE) {
    Standing standing;
    standing.kind = Standing::Kind::UNDER_WAY;
    return standing;
  }
  Standing standing = rows::StandingOf(m_port, row, KindOf(now.contents));
  if (standing.IsDifference() && now.status != 0) {
    standing.status = now.status;
  }
  return standing;
}

void ProtocolRows::AskAgain(const ProtocolRow& row) { routers::AskForRowAgain(NameOf(row)); }

std::size_t ProtocolRows::CountUnderWay(
    const std::function<bool(const ProtocolRow& row)>& counts) const {
  return routers::CountRowsUnderWay(
      [&](const routers::RowName& name, RowStanding::Request request) {
        const ProtocolRow row = RowOf(name);
        return (request == RowStanding::Request::DUE || m_port.IsUnfinished(row)) && counts(row);
      });
}

}  // namespace ports
