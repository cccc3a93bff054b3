#include "row_upkeep.h"

#include <algorithm>

#include "row_registry.h"

namespace routers {

std::size_t CountWantedRows() { return RowRegistry::Get().CountWanted(); }

bool IsRowWanted(const RowName& name) { return RowRegistry::Get().FindCounting(name) != nullptr; }

std::optional<RowName> NextRow(const RowName* last) {
  if (last == nullptr) {
    RowRegistry::Get().ForgetGone();
  }
  const RowName* const next = RowRegistry::Get().Next(last);
  return next != nullptr ? std::optional(*next) : std::nullopt;
}

RowStanding LookAtRow(const RowName& name) {
  const WantedRow* const row = RowRegistry::Get().Find(name);
  return row != nullptr ? row->Look() : RowRegistry::Get().LookAtLeftBehind(name);
}

void AskForRowAgain(const RowName& name) {
  if (WantedRow* const row = RowRegistry::Get().Find(name)) {
    row->AskAgain();
  } else {
    RowRegistry::Get().AskToRemove(name);
  }
}

std::size_t CountRowsUnderWay(
    const std::function<bool(const RowName& name, RowStanding::Request request)>& counts) {
  const std::set<const WantedRow*>& rows = RowRegistry::Get().GetUnderWay();
  return static_cast<std::size_t>(std::count_if(rows.begin(), rows.end(), [&](const auto* row) {
    return counts(row->GetName(), row->GetRequest());
  }));
}

}  // namespace routers
