// The addresses' rows in the stack.
#ifndef DEVICE_KEEPERS_ADDRESS_KEEPER_H
#define DEVICE_KEEPERS_ADDRESS_KEEPER_H

#include <optional>

#include "device/rows/keeper.h"
#include "device/rows/stack_port.h"
#include "interfaces.h"

namespace keepers {

/// Wanted are the addresses of the interfaces that Interfaces knows, each with its length, in the
/// instance of its family. Any other row is unwanted: a second IPv4 address, which the library's
/// registry has no room for, and what a removed interface has left.
///
/// The library's deletion of an IPv4 address clears the one of its registry, whichever it is. So
/// the wanted address of the interface is added again after it. The routers are told nothing,
/// because for them nothing has changed.
class AddressKeeper : public rows::Keeper {
 public:
  /// Both are borrowed.
  AddressKeeper(const rows::StackPort& port, const Interfaces& interfaces);

  const char* GetName() const override { return "addresses"; }
  std::size_t CountWanted() const override;
  void BeginPass() override;
  /// An interface's addresses are looked at together.
  bool ContinuePass(std::size_t most, const Found& found) override;
  rows::Standing Look(const rows::Row& row) const override;
  void AskAgain(const rows::Row& row) override;
  /// Looks at all addresses of one interface, those that the stack alone has included, and tells
  /// those that are not EQUAL.
  void LookAtInterface(const documents::InterfaceKey& key, const Found& found) const;

 private:
  const documents::Interface* FindInterface(const documents::InterfaceKey& key) const;
  void TellIfNotEqual(const rows::AddressRow& row, rows::Standing::Kind kind,
                      const Found& found) const;
  std::size_t PassInterface(const documents::InterfaceKey& key,
                            const documents::Interface& interface, const Found& found) const;
  std::size_t PassWanted(std::size_t most, const Found& found);
  bool PassPresent(std::size_t most, const Found& found);
  void TellIfUnwanted(const amb_stubs_i3_ea& present, const Found& found) const;

  const rows::StackPort& m_port;
  const Interfaces& m_interfaces;
  bool m_isInWanted = true;  // the pass begins with these
  std::optional<documents::InterfaceKey> m_lastWanted;
  std::optional<amb_stubs_i3_ea> m_lastPresent;
};

}  // namespace keepers

#endif
