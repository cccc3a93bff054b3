// The port of a host whose protocol routers tell nothing of their rows.
#ifndef DEVICE_ROWS_NO_PROTOCOL_ROWS_H
#define DEVICE_ROWS_NO_PROTOCOL_ROWS_H

#include <cstddef>
#include <functional>
#include <optional>

#include "protocol_rows_port.h"

namespace rows {

/// There are no rows to look at. What the routers ask of the stack is theirs to watch.
class NoProtocolRows final : public ProtocolRowsPort {
 public:
  std::size_t Count() const override { return 0; }
  bool IsWanted(const ProtocolRow&) const override { return false; }
  std::optional<ProtocolRow> Next(const ProtocolRow*) const override { return {}; }
  Standing Look(const ProtocolRow&) const override { return {}; }
  void AskAgain(const ProtocolRow&) override {}
  std::size_t CountUnderWay(const std::function<bool(const ProtocolRow&)>&) const override {
    return 0;
  }
};

}  // namespace rows

#endif
