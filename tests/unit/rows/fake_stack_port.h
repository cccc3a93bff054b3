// A stack that has what a test says.
#ifndef TESTS_UNIT_ROWS_FAKE_STACK_PORT_H
#define TESTS_UNIT_ROWS_FAKE_STACK_PORT_H

#include <algorithm>
#include <cstring>
#include <map>
#include <optional>
#include <set>
#include <tuple>
#include <vector>

#include "device/base/timer_loop.h"
#include "device/rows/stack_port.h"

namespace rows_test {

/// Its clock is that of a loop in virtual time. Tests write its tables themselves, in the order of
/// their keys. The order of routes and rules need not be a stack's.
class FakeStackPort : public rows::StackPort {
 public:
  explicit FakeStackPort(const Tarsel::VirtualLoop& loop) : m_loop(loop) {}

  std::uint64_t Now() const override { return m_loop.Now() / 1000; }
  void SetListener(rows::StackListener* newListener) override { listener = newListener; }
  bool IsReady() const override { return isReady; }
  bool HasUnfinished() const override { return !unfinished.empty(); }
  bool IsUnfinished(const rows::Row& row) const override { return unfinished.count(row) != 0; }
  unsigned int GetRefusal(const rows::Row& row) const override {
    const auto found = refusals.find(row);
    return found == refusals.end() ? 0 : found->second;
  }

  std::vector<rows::StackInstance> ReadInstances(const rows::StackInstance* last,
                                                 std::size_t most) const override {
    return Slice(instances, last, most, KeyOfInstance);
  }
  std::optional<rows::StackInstance> FindInstance(const rows::InstanceRow& row) const override {
    return Find(instances, std::make_tuple(row.ip6, row.vlan), KeyOfInstance);
  }
  std::vector<amb_stubs_i3_ei> ReadInterfaces(const amb_stubs_i3_ei* last,
                                              std::size_t most) const override {
    return Slice(interfaces, last, most, KeyOfInterface);
  }
  std::optional<amb_stubs_i3_ei> FindInterface(unsigned int instance,
                                               std::uint32_t ifIndex) const override {
    return Find(interfaces, std::make_tuple(instance, ifIndex), KeyOfInterface);
  }
  std::vector<amb_stubs_i3_ea> ReadAddresses(const amb_stubs_i3_ea* last,
                                             std::size_t most) const override {
    return Slice(addresses, last, most, KeyOfAddress);
  }
  std::optional<amb_stubs_i3_ea> FindAddress(const rows::AddressRow& row) const override {
    const unsigned int instance = row.vlan | (row.ip6 ? 0x8000u : 0u);
    return Find(addresses, std::make_tuple(instance, row.ifIndex, row.address), KeyOfAddress);
  }
  std::vector<rows::StackRoute> ReadRoutes(const rows::StackRoute* last,
                                           std::size_t most) const override {
    return Slice(routes, last, most, KeyOfRoute);
  }
  std::optional<rows::StackRoute> FindRoute(const rows::RouteRow& row) const override {
    return Find(routes, row, KeyOfRoute);
  }
  std::vector<rows::RuleRow> ReadRules(const rows::RuleRow* last, std::size_t most) const override {
    std::vector<rows::RuleRow> slice;
    for (auto i = last ? rules.upper_bound(*last) : rules.begin();
         i != rules.end() && slice.size() < most; ++i) {
      slice.push_back(*i);
    }
    return slice;
  }
  bool HasRule(const rows::RuleRow& row) const override { return rules.count(row) != 0; }

  bool EndLostRequests() override {
    unfinished.clear();
    return true;
  }

  bool isReady = true;
  rows::StackListener* listener = nullptr;
  std::set<rows::Row> unfinished;
  std::map<rows::Row, unsigned int> refusals;
  std::vector<rows::StackInstance> instances;
  std::vector<amb_stubs_i3_ei> interfaces;
  std::vector<amb_stubs_i3_ea> addresses;
  std::vector<rows::StackRoute> routes;
  std::set<rows::RuleRow> rules;

 private:
  static std::tuple<bool, unsigned short> KeyOfInstance(const rows::StackInstance& instance) {
    return {instance.row.ip6, instance.row.vlan};
  }
  static std::tuple<unsigned int, std::uint32_t> KeyOfInterface(const amb_stubs_i3_ei& row) {
    return {row.instance, row.if_index};
  }
  static std::tuple<unsigned int, std::uint32_t, std::array<unsigned char, 16>> KeyOfAddress(
      const amb_stubs_i3_ea& row) {
    std::array<unsigned char, 16> address;
    std::memcpy(address.data(), row.address, address.size());
    return {row.instance, row.if_index, address};
  }
  static rows::RouteRow KeyOfRoute(const rows::StackRoute& route) {
    return {route.route.target, route.route.ifIndex};
  }

  template <class Entry, class Key>
  static std::vector<Entry> Slice(const std::vector<Entry>& table, const Entry* last,
                                  std::size_t most, Key key) {
    auto begin = table.begin();
    if (last) {
      begin = std::find_if(begin, table.end(),
                           [&](const Entry& entry) { return key(*last) < key(entry); });
    }
    const auto count = std::min<std::ptrdiff_t>(static_cast<std::ptrdiff_t>(most),
                                                std::distance(begin, table.end()));
    return {begin, begin + count};
  }
  template <class Entry, class Name, class Key>
  static std::optional<Entry> Find(const std::vector<Entry>& table, const Name& name, Key key) {
    const auto found = std::find_if(table.begin(), table.end(), [&](const Entry& entry) {
      return !(key(entry) < name) && !(name < key(entry));
    });
    return found == table.end() ? std::nullopt : std::optional<Entry>(*found);
  }

  const Tarsel::VirtualLoop& m_loop;
};

}  // namespace rows_test

#endif
