// The rows of the routing protocols.
#ifndef DEVICE_KEEPERS_PROTOCOL_ROW_KEEPER_H
#define DEVICE_KEEPERS_PROTOCOL_ROW_KEEPER_H

#include <optional>
#include <utility>

#include "device/documents/vlan_settings.h"
#include "device/rows/keeper.h"
#include "device/rows/protocol_rows_port.h"

namespace keepers {

/// The protocol routers know what is wanted of their rows, and ask for it. What they leave in the
/// stack is nobody's: its removal is asked for. Rows of an instance that the library does not know
/// go with it, and so do those of a VLAN that waits for its end.
class ProtocolRowKeeper : public rows::Keeper {
 public:
  /// The port is borrowed.
  explicit ProtocolRowKeeper(rows::ProtocolRowsPort& port) : m_port(port) {}

  /// The VLANs that wait for their end from now on.
  void SetLeavingVlans(documents::VlanIds vlans) { m_leaving = std::move(vlans); }

  const char* GetName() const override { return "protocol rows"; }
  std::size_t CountWanted() const override { return m_port.Count(); }
  void BeginPass() override { m_last.reset(); }
  bool ContinuePass(std::size_t most, const Found& found) override;
  rows::Standing Look(const rows::Row& row) const override;
  void AskAgain(const rows::Row& row) override;

 private:
  bool GoesWithItsVlan(const rows::ProtocolRow& row) const;

  rows::ProtocolRowsPort& m_port;
  documents::VlanIds m_leaving;
  std::optional<rows::ProtocolRow> m_last;  // of the pass
};

}  // namespace keepers

#endif
