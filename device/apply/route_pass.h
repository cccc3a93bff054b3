// One pass over the wanted routes and the stack's, side by side.
#ifndef DEVICE_APPLY_ROUTE_PASS_H
#define DEVICE_APPLY_ROUTE_PASS_H

#include <cstddef>
#include <functional>
#include <optional>
#include <utility>
#include <vector>

#include "keeper.h"
#include "route_book.h"
#include "stack_port.h"

namespace apply {

/// Both have the same order within an instance. The stack has all IPv4 instances before those of
/// IPv6, so the wanted routes are gone through twice, for one family at a time. Those that have to
/// go come last.
class RoutePass {
 public:
  /// How a route stands; `found` is null if the stack does not have it.
  using Judge = std::function<Standing(const RouteBook::Place& place, const RouteRow& row,
                                       const StackRoute* found)>;

  /// Both are borrowed.
  RoutePass(const RouteBook& book, const StackPort& port, Judge judge);

  /// See Keeper. A pass that has not been begun is at its end.
  void Begin();
  bool Continue(std::size_t most, const Keeper::Found& found);
  /// The routes that were found as they are wanted though their last request was given up.
  std::vector<RouteRow> TakeHealed() { return std::exchange(m_healed, {}); }

 private:
  enum class Stage { IP4, IP6, LEAVING, END };

  const intent::ResolvedRoute* NextWanted();
  const StackRoute* NextOfStack(std::size_t most);
  bool CompareNext(std::size_t most, const Keeper::Found& found);
  void LookAtUnknown(const StackRoute& route, const Keeper::Found& found) const;
  bool LookAtLeaving(const Keeper::Found& found);
  void LookAtStrays(const Keeper::Found& found);
  void Tell(const RouteBook::Place& place, const RouteRow& row, const StackRoute* route,
            const Keeper::Found& found);
  void GoTo(Stage stage);
  void FindPlace();

  const RouteBook& m_book;
  const StackPort& m_port;
  const Judge m_judge;
  Stage m_stage = Stage::END;
  unsigned int m_edition = 0;
  std::size_t m_at = 0;              // of the wanted routes, or of the leaving ones
  std::optional<RouteRow> m_passed;  // what was compared last in this stage
  std::vector<StackRoute> m_slice;   // of the stack's routes
  std::size_t m_inSlice = 0;
  bool m_isLastSlice = false;
  std::vector<RouteRow> m_healed;
};

}  // namespace apply

#endif
