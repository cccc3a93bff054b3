// The rows of the routing protocols.
#ifndef DEVICE_APPLY_PROTOCOL_ROW_KEEPER_H
#define DEVICE_APPLY_PROTOCOL_ROW_KEEPER_H

#include <optional>
#include <utility>

#include "device/documents/vlan_settings.h"
#include "keeper.h"
#include "protocol_rows_port.h"

namespace apply {

/// The protocol routers know what is wanted of their rows, and ask for it. What they leave in the
/// stack is nobody's: its removal is asked for. Rows of an instance that the library does not know
/// go with it, and so do those of a VLAN that waits for its end.
class ProtocolRowKeeper : public Keeper {
 public:
  /// The port is borrowed.
  explicit ProtocolRowKeeper(ProtocolRowsPort& port) : m_port(port) {}

  /// The VLANs that wait for their end from now on.
  void SetLeavingVlans(documents::VlanIds vlans) { m_leaving = std::move(vlans); }

  const char* GetName() const override { return "protocol rows"; }
  std::size_t CountWanted() const override { return m_port.Count(); }
  void BeginPass() override { m_last.reset(); }
  bool ContinuePass(std::size_t most, const Found& found) override;
  Standing Look(const Row& row) const override;
  void AskAgain(const Row& row) override;

 private:
  bool GoesWithItsVlan(const ProtocolRow& row) const;

  ProtocolRowsPort& m_port;
  documents::VlanIds m_leaving;
  std::optional<ProtocolRow> m_last;  // of the pass
};

}  // namespace apply

#endif
