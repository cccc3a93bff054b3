// The routing table instances in the stack.
#ifndef DEVICE_KEEPERS_INSTANCE_KEEPER_H
#define DEVICE_KEEPERS_INSTANCE_KEEPER_H

#include <optional>

#include "device/rows/keeper.h"
#include "device/rows/stack_port.h"
#include "vantacore/dc_rtm_mgr.h"

namespace keepers {

/// Wanted are both instances of each VLAN that the library has, with the distances that the library
/// tells the stack when it asks. The library's records of the two instances hold all settings of
/// the VLAN's document entry, so that no document is needed to ask again.
///
/// An instance that the library does not know as ready counts as missing, even if the stack has it:
/// the library sends nothing for it. It is destroyed and created, because only a new instance is
/// reported ready. Its routes, rules and protocol rows are gone then, and are differences of their
/// own. One with other distances is kept.
class InstanceKeeper : public rows::Keeper {
 public:
  /// The port is borrowed.
  explicit InstanceKeeper(const rows::StackPort& port);

  const char* GetName() const override { return "instances"; }
  std::size_t CountWanted() const override;
  void BeginPass() override;
  bool ContinuePass(std::size_t most, const Found& found) override;
  rows::Standing Look(const rows::Row& row) const override;
  void AskAgain(const rows::Row& row) override;

 private:
  void TellIfNotEqual(const rows::InstanceRow& row, rows::Standing::Kind kind,
                      const Found& found) const;
  std::size_t PassWanted(std::size_t most, const Found& found);
  bool PassPresent(std::size_t most, const Found& found);

  const rows::StackPort& m_port;
  bool m_isInWanted = true;  // the pass begins with these
  std::optional<unsigned short> m_lastWanted;
  std::optional<rows::StackInstance> m_lastPresent;
};

}  // namespace keepers

#endif
