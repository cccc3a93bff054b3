// The interfaces' rows in the stack.
#ifndef DEVICE_KEEPERS_INTERFACE_KEEPER_H
#define DEVICE_KEEPERS_INTERFACE_KEEPER_H

#include <optional>

#include "device/rows/keeper.h"
#include "device/rows/stack_port.h"
#include "interfaces.h"

namespace keepers {

/// Wanted are the interfaces that Interfaces knows, each with a row in both instances of its VLAN
/// that has its name, flags, status and MTU. The IPv6 instance never sees an interface as
/// unnumbered. A row of any other interface is unwanted.
///
/// Both rows are asked for together, as the library does: an interface is registered again with all
/// that it has, or removed. The routers are told nothing, because for them nothing has changed.
class InterfaceKeeper : public rows::Keeper {
 public:
  /// Both are borrowed.
  InterfaceKeeper(const rows::StackPort& port, const Interfaces& interfaces);

  const char* GetName() const override { return "interfaces"; }
  std::size_t CountWanted() const override { return m_interfaces.Get().size(); }
  void BeginPass() override;
  bool ContinuePass(std::size_t most, const Found& found) override;
  rows::Standing Look(const rows::Row& row) const override;
  void AskAgain(const rows::Row& row) override;

 private:
  rows::Standing::Kind Compare(const rows::InterfaceRow& row,
                               const documents::Interface* wanted) const;
  const documents::Interface* FindWanted(const documents::InterfaceKey& key) const;
  void TellIfNotEqual(const rows::InterfaceRow& row, rows::Standing::Kind kind,
                      const Found& found) const;
  std::size_t PassWanted(std::size_t most, const Found& found);
  bool PassPresent(std::size_t most, const Found& found);

  const rows::StackPort& m_port;
  const Interfaces& m_interfaces;
  bool m_isInWanted = true;  // the pass begins with these
  std::optional<documents::InterfaceKey> m_lastWanted;
  std::optional<amb_stubs_i3_ei> m_lastPresent;
};

}  // namespace keepers

#endif
