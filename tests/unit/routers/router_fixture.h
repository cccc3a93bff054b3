// Protocol routers on a device in virtual time, with what they ask of the stack.
#ifndef TESTS_UNIT_ROUTERS_ROUTER_FIXTURE_H
#define TESTS_UNIT_ROUTERS_ROUTER_FIXTURE_H

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/device_fixture.h"
#include "tests/support/recording_console.h"
#include "vantacore/dc_router_base.h"

class RouterFixture : public test_support::DeviceFixture {
 protected:
  void SetUp() override;

  /// Loads a document whose only VLAN, 10, has these members.
  void Load(const std::string& members, const std::string& fileName = "vlans.json",
            Tarsel::DclConfigObject::OptionType type = Tarsel::DclConfigObject::VLAN_OPTIONS);
  /// The same for a remote document.
  void LoadRemote(const std::string& members, const std::string& fileName = "remote/a.json");
  /// Loads a VLAN document and lets the stack answer.
  void Apply(const std::string& members);

  Tarsel::DcRouterBase* Router(Tarsel::DcRouterMgr::ProtocolType type);
  /// The objects in the router's list number `list` of a document, in order.
  std::vector<Tarsel::DclConfigObject*> Objects(Tarsel::DcRouterMgr::ProtocolType type,
                                                std::size_t list = 0,
                                                const char* fileName = "vlans.json");

  /// The arguments of the requests for protocol rows since the last call: not shared, table, row
  /// status, admin status, instance, key and contents.
  std::vector<std::string> TakeRequests();
  /// The protocol rows in the stack as its dump shows them, without the word "protocol".
  std::vector<std::string> Rows();
  /// The next `times` requests for protocol rows are answered with the status.
  void Refuse(unsigned int status, unsigned int times);

  /// The messages without a level.
  std::vector<std::string> Skipped() const;
  /// What the handler under `name` prints; the console stays with the caller.
  std::string ShowIp(const char* name, std::vector<std::string> words = {});
  std::string ShowIp6(const char* name, std::vector<std::string> words = {});
};

#endif
