// Row identifiers: pure, told apart, within their bounds.

#include <set>

#include "stack_test.h"

namespace stack_test {
namespace {

using Oid = std::vector<unsigned int>;

Oid Route(unsigned short instance, const std::string& prefix, const std::string& nextHop,
          unsigned int ifIndex) {
  const PrefixBytes destination(prefix);
  const AddressBytes gateway(nextHop);
  unsigned int buffer[SMS_OID_MAX];
  const unsigned int length =
      sms_get_route_oid(buffer, instance, destination.address.type, destination.address.bytes,
                        destination.length, gateway.bytes, ifIndex);
  return Oid(buffer, buffer + length);
}

Oid Address(unsigned int instance, unsigned int ifIndex, const std::string& text) {
  const AddressBytes address(text);
  unsigned int buffer[SMS_OID_MAX];
  const unsigned int length =
      sms_set_i3_ea_oid(buffer, instance, ifIndex, address.bytes, address.type);
  return Oid(buffer, buffer + length);
}

Oid Interface(unsigned int instance, unsigned int ifIndex) {
  unsigned int buffer[SMS_OID_MAX];
  return Oid(buffer, buffer + sms_set_i3_ei_oid(buffer, instance, ifIndex));
}

Oid Redistribution(unsigned int vlan, unsigned int source, unsigned int destination) {
  unsigned int buffer[SMS_OID_MAX];
  return Oid(buffer, buffer + sms_set_cipr_redist_oid(buffer, vlan, source, destination));
}

TEST(IdentifiersTest, RowsOfDifferentTablesStartDifferently) {
  const std::set<unsigned int> tables = {Interface(10, 3)[0], Address(10, 3, "10.1.2.3")[0],
                                         Route(10, "10.9.0.0/16", "10.1.2.1", 3)[0],
                                         Redistribution(10, 3, 4)[0]};
  EXPECT_EQ(4u, tables.size());
}

TEST(IdentifiersTest, TheSameRowAlwaysHasTheSameIdentifier) {
  EXPECT_EQ(Route(10, "10.9.0.0/16", "10.1.2.1", 3), Route(10, "10.9.0.0/16", "10.1.2.1", 3));
  EXPECT_EQ(Address(10, 3, "2001:db8::1"), Address(10, 3, "2001:db8::1"));
  EXPECT_EQ((Oid{1, 10, 3}), Interface(10, 3));
  EXPECT_EQ((Oid{4, 10, 2, 3}), Redistribution(10, 2, 3));
}

TEST(IdentifiersTest, EveryPartOfARoutesNameCounts) {
  const std::set<Oid> oids = {
      Route(10, "10.9.0.0/16", "10.1.2.1", 3),  Route(11, "10.9.0.0/16", "10.1.2.1", 3),
      Route(10, "10.8.0.0/16", "10.1.2.1", 3),  Route(10, "10.9.0.0/17", "10.1.2.1", 3),
      Route(10, "10.9.0.0/16", "10.1.2.2", 3),  Route(10, "10.9.0.0/16", "10.1.2.1", 4),
      Route(10, "2001:db8::/16", "10.1.2.1", 3)};
  EXPECT_EQ(7u, oids.size());
}

TEST(IdentifiersTest, EveryPartOfAnAddresssNameCounts) {
  const std::set<Oid> oids = {Address(10, 3, "10.1.2.3"),  Address(11, 3, "10.1.2.3"),
                              Address(10, 4, "10.1.2.3"),  Address(10, 3, "10.1.2.4"),
                              Address(10, 3, "a01:203::"), Address(10, 3, "a01:203::1")};
  EXPECT_EQ(6u, oids.size());
}

TEST(IdentifiersTest, OnlyTheBytesOfTheFamilyAreRead) {
  unsigned char longer[16] = {10, 1, 2, 3, 99, 99};
  unsigned int buffer[SMS_OID_MAX];
  const unsigned int length = sms_set_i3_ea_oid(buffer, 10, 3, longer, 1);
  EXPECT_EQ(Address(10, 3, "10.1.2.3"), Oid(buffer, buffer + length));
}

TEST(IdentifiersTest, TheyFitTheirBuffer) {
  EXPECT_LE(Route(0xFFFF, "2001:db8::/128", "2001:db8::1", 0xFFFFFFFF).size(),
            static_cast<std::size_t>(SMS_OID_MAX));
  EXPECT_LE(Address(0xFFFFFFFF, 0xFFFFFFFF, "2001:db8::1").size(),
            static_cast<std::size_t>(SMS_OID_MAX));
}

TEST(IdentifiersTest, NullsGiveZerosOrNothing) {
  unsigned int buffer[SMS_OID_MAX];
  unsigned int length = sms_set_i3_ea_oid(buffer, 10, 3, nullptr, 1);
  EXPECT_EQ(Address(10, 3, "0.0.0.0"), Oid(buffer, buffer + length));
  length = sms_get_route_oid(buffer, 10, 1, nullptr, 0, nullptr, 0);
  EXPECT_EQ(Route(10, "0.0.0.0/0", "0.0.0.0", 0), Oid(buffer, buffer + length));
  EXPECT_EQ(0u, sms_set_i3_ei_oid(nullptr, 10, 3));
  EXPECT_EQ(0u, sms_get_route_oid(nullptr, 10, 1, nullptr, 0, nullptr, 0));
}

}  // namespace
}  // namespace stack_test
