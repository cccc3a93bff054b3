// The protocol routers' rows, as apply wants to see them.
#ifndef DEVICE_DAEMON_PROTOCOL_ROWS_H
#define DEVICE_DAEMON_PROTOCOL_ROWS_H

#include "device/apply/protocol_rows_port.h"
#include "device/apply/stack_port.h"

namespace vantacored {

/// A row whose request the stack has finished without an answer is not under way any more.
class ProtocolRows : public apply::ProtocolRowsPort {
 public:
  /// Borrowed.
  explicit ProtocolRows(const apply::StackPort& port) : m_port(port) {}

  std::size_t Count() const override;
  std::optional<apply::ProtocolRow> Next(const apply::ProtocolRow* last) const override;
  apply::Standing Look(const apply::ProtocolRow& row) const override;
  void AskAgain(const apply::ProtocolRow& row) override;
  std::size_t CountUnderWay(
      const std::function<bool(const apply::ProtocolRow& row)>& counts) const override;

 private:
  const apply::StackPort& m_port;
};

}  // namespace vantacored

#endif
