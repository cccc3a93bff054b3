// The protocol routers' rows, as their keeper wants to see them.
#ifndef DEVICE_PORTS_PROTOCOL_ROWS_H
#define DEVICE_PORTS_PROTOCOL_ROWS_H

#include "device/rows/protocol_rows_port.h"
#include "device/rows/stack_port.h"

namespace ports {

/// A row whose request the stack has finished without an answer is not under way any more.
class ProtocolRows : public rows::ProtocolRowsPort {
 public:
  /// Borrowed.
  explicit ProtocolRows(const rows::StackPort& port) : m_port(port) {}

  std::size_t Count() const override;
  bool IsWanted(const rows::ProtocolRow& row) const override;
  std::optional<rows::ProtocolRow> Next(const rows::ProtocolRow* last) const override;
  rows::Standing Look(const rows::ProtocolRow& row) const override;
  void AskAgain(const rows::ProtocolRow& row) override;
  std::size_t CountUnderWay(
      const std::function<bool(const rows::ProtocolRow& row)>& counts) const override;

 private:
  const rows::StackPort& m_port;
};

}  // namespace ports

#endif
