// What the keepers need of the protocol routers: their rows in the stack.
#ifndef DEVICE_ROWS_PROTOCOL_ROWS_PORT_H
#define DEVICE_ROWS_PROTOCOL_ROWS_PORT_H

#include <cstddef>
#include <functional>
#include <optional>

#include "keeper.h"
#include "row.h"

namespace rows {

/// The routers know what is wanted of their rows, and ask for it when documents change. Through
/// this they tell how the rows stand, and ask once more. device/ports implements it with
/// device/routers (row_upkeep.h there). A host with other protocol routers may do without
/// (no_protocol_rows.h). Everything is called on the loop's thread, and nothing calls back.
class ProtocolRowsPort {
 public:
  virtual ~ProtocolRowsPort() = default;

  /// How many rows documents want.
  virtual std::size_t Count() const = 0;
  /// Whether any document wants the row.
  virtual bool IsWanted(const ProtocolRow& row) const = 0;
  /// The first row after `last`, or the very first for a null pointer, that a document wants, whose
  /// removal was asked for, or that a router has left in the stack; nothing at the end.
  virtual std::optional<ProtocolRow> Next(const ProtocolRow* last) const = 0;
  /// How the row stands. It is UNWANTED if its removal was asked for, and if a router has left it
  /// in the stack without that, because its protocol was withdrawn or disabled.
  virtual Standing Look(const ProtocolRow& row) const = 0;
  /// Asks the stack once more for what is wanted of the row, or for its removal. What comes of it
  /// is told by StackListener::Answered, or found by the next look.
  virtual void AskAgain(const ProtocolRow& row) = 0;
  /// How many rows have a request without an answer, or wait for their next try. Only those count
  /// for which `counts` returns true.
  virtual std::size_t CountUnderWay(
      const std::function<bool(const ProtocolRow& row)>& counts) const = 0;
};

}  // namespace rows

#endif
