// The rows of the routing protocols.
#ifndef DEVICE_APPLY_PROTOCOL_ROW_KEEPER_H
#define DEVICE_APPLY_PROTOCOL_ROW_KEEPER_H

#include <optional>

#include "keeper.h"
#include "protocol_rows_port.h"

namespace apply {

/// The protocol routers know what is wanted of their rows, and ask for it. Rows of the stack that
/// they do not know are left alone: those were left behind on purpose.
class ProtocolRowKeeper : public Keeper {
 public:
  /// The port is borrowed.
  explicit ProtocolRowKeeper(ProtocolRowsPort& port) : m_port(port) {}

  const char* GetName() const override { return "protocol rows"; }
  std::size_t CountWanted() const override { return m_port.Count(); }
  void BeginPass() override { m_last.reset(); }
  bool ContinuePass(std::size_t most, const Found& found) override;
  Standing Look(const Row& row) const override;
  void AskAgain(const Row& row) override;

 private:
  ProtocolRowsPort& m_port;
  std::optional<ProtocolRow> m_last;  // of the pass
};

}  // namespace apply

#endif
