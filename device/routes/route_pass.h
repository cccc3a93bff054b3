// One pass over the wanted routes and the stack's, side by side.
#ifndef DEVICE_ROUTES_ROUTE_PASS_H
#define DEVICE_ROUTES_ROUTE_PASS_H

#include <cstddef>
#include <functional>
#include <optional>
#include <utility>
#include <vector>

#include "device/rows/keeper.h"
#include "device/rows/stack_port.h"
#include "route_book.h"

namespace routes {

/// Both have the same order within an instance. The stack has all IPv4 instances before those of
/// IPv6, so the wanted routes are gone through twice, for one family at a time. Those that have to
/// go come last.
class RoutePass {
 public:
  /// How a route stands; `found` is null if the stack does not have it.
  using Judge = std::function<rows::Standing(
      const RouteBook::Place& place, const rows::RouteRow& row, const rows::StackRoute* found)>;

  /// Both are borrowed.
  RoutePass(const RouteBook& book, const rows::StackPort& port, Judge judge);

  /// See Keeper. A pass that has not been begun is at its end.
  void Begin();
  bool Continue(std::size_t most, const rows::Keeper::Found& found);
  /// The routes that were found as they are wanted though their last request was given up.
  std::vector<rows::RouteRow> TakeHealed() { return std::exchange(m_healed, {}); }

 private:
  enum class Stage { IP4, IP6, LEAVING, END };

  const intent::ResolvedRoute* NextWanted();
  const rows::StackRoute* NextOfStack(std::size_t most);
  bool CompareNext(std::size_t most, const rows::Keeper::Found& found);
  void LookAtUnknown(const rows::StackRoute& route, const rows::Keeper::Found& found) const;
  bool LookAtLeaving(const rows::Keeper::Found& found);
  void LookAtStrays(const rows::Keeper::Found& found);
  void Tell(const RouteBook::Place& place, const rows::RouteRow& row, const rows::StackRoute* route,
            const rows::Keeper::Found& found);
  void GoTo(Stage stage);
  void FindPlace();

  const RouteBook& m_book;
  const rows::StackPort& m_port;
  const Judge m_judge;
  Stage m_stage = Stage::END;
  unsigned int m_edition = 0;
  std::size_t m_at = 0;                    // of the wanted routes, or of the leaving ones
  std::optional<rows::RouteRow> m_passed;  // what was compared last in this stage
  std::vector<rows::StackRoute> m_slice;   // of the stack's routes
  std::size_t m_inSlice = 0;
  bool m_isLastSlice = false;
  std::vector<rows::RouteRow> m_healed;
};

}  // namespace routes

#endif
