// A device whose rows a test compares with what is wanted.
#ifndef TESTS_UNIT_KEEPERS_KEEPER_FIXTURE_H
#define TESTS_UNIT_KEEPERS_KEEPER_FIXTURE_H

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "device/keepers/interfaces.h"
#include "device/ports/stack_port.h"
#include "device/rows/keeper.h"
#include "tests/support/device_fixture.h"

namespace keepers_test {

/// "missing", "other", ...
std::string KindText(rows::Standing::Kind kind);
/// "10/3" for an interface, "10/3 10.1.0.1" for an address, "10 ip4" for an instance, "10 1 2" for
/// a protocol row of table 1 with the key 2.
std::string RowText(const rows::Row& row);

/// The stack has VLAN 10, and no request waits.
class KeeperFixture : public test_support::DeviceFixture {
 protected:
  void SetUp() override;

  /// Loads a document whose VLANs are these, each with its members: {"vid": 10}, ...
  void LoadVlans(const std::string& entries);
  /// Makes these the wanted interfaces; the stack has not answered then.
  void Want(const std::string& interfaces);
  /// The next `times` requests of the kind are answered with this.
  void Script(routing_stack::RowType type, const routing_stack::Answer& answer,
              unsigned int times = 1);
  void Refuse(routing_stack::RowType type, unsigned int times = 1) {
    Script(type, {routing_stack::Answer::kStatus, 3, 0}, times);
  }
  /// Lets the end of lost requests be reported, and what waited for it go on.
  void EndLostRequests();

  /// What a pass in slices of `most` finds, as "KIND ROW".
  std::vector<std::string> Pass(rows::Keeper& keeper, std::size_t most = 1000);
  /// In how many slices of `most` a pass goes, and that none of them finds anything.
  static std::size_t CountSlices(rows::Keeper& keeper, std::size_t most);
  /// Asks again for every difference that a pass finds, and lets the stack answer.
  void AskForAll(rows::Keeper& keeper);
  /// The stack's rows whose line in the dump begins with the word, without it.
  std::vector<std::string> Rows(const std::string& word);

  ports::SoftwareStackPort port{stack, [this] { return loop.Now() / 1000; }};
  keepers::Interfaces interfaces;
};

}  // namespace keepers_test

#endif
