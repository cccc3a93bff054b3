#include "vantacore/mib_oid.h"

#include <gtest/gtest.h>

#include <climits>
#include <map>
#include <numeric>
#include <string>
#include <type_traits>
#include <vector>

namespace Tarsel {
namespace {

MibOid Oid(std::vector<unsigned int> subIds) {
  return MibOid(subIds.data(), static_cast<unsigned int>(subIds.size()));
}

std::vector<unsigned int> Count(unsigned int count) {
  std::vector<unsigned int> subIds(count);
  std::iota(subIds.begin(), subIds.end(), 1U);
  return subIds;
}

std::string Text(const MibOid& oid) { return oid.ToString().c_str(); }

TEST(MibOid, IsAPlainValueOf524Bytes) {
  EXPECT_EQ(524U, sizeof(MibOid));
  EXPECT_TRUE(std::is_trivially_copyable<MibOid>::value);
}

TEST(MibOid, StartsEmptyWithAllSubIdentifiersZero) {
  const MibOid oid;
  EXPECT_EQ(0U, oid.GetLength());
  for (unsigned int i = 0; i < MibOid::MAX_LENGTH; ++i) {
    EXPECT_EQ(0U, oid.GetSubIds()[i]);
  }
}

TEST(MibOid, ConstructorCopiesAndClearsTheRest) {
  const MibOid oid = Oid({4, 5});
  EXPECT_EQ(2U, oid.GetLength());
  EXPECT_EQ(4U, oid.GetSubIds()[0]);
  EXPECT_EQ(5U, oid.GetSubIds()[1]);
  for (unsigned int i = 2; i < MibOid::MAX_LENGTH; ++i) {
    EXPECT_EQ(0U, oid.GetSubIds()[i]);
  }
}

TEST(MibOid, ConstructorCutsAt130) {
  const MibOid oid = Oid(Count(200));
  EXPECT_EQ(130U, oid.GetLength());
  EXPECT_EQ(130U, oid.GetSubIds()[129]);
  EXPECT_EQ(130U, Oid(Count(130)).GetLength());
  EXPECT_EQ(129U, Oid(Count(129)).GetLength());
  EXPECT_TRUE(oid == Oid(Count(130)));
}

TEST(MibOid, ConstructorTakesNullForTheEmptyIdentifier) {
  EXPECT_TRUE(MibOid(nullptr, 0) == MibOid());
}

TEST(MibOid, SetOidKeepsLaterEntries) {
  MibOid oid = Oid({1, 2, 3, 4});
  const unsigned int two[] = {8, 9};
  oid.SetOid(two, 2);
  EXPECT_EQ(2U, oid.GetLength());
  EXPECT_EQ("8:9", Text(oid));
  EXPECT_EQ(3U, oid.GetSubIds()[2]);
  EXPECT_EQ(4U, oid.GetSubIds()[3]);
}

TEST(MibOid, SetOidCutsAt130) {
  MibOid oid;
  const std::vector<unsigned int> many = Count(131);
  oid.SetOid(many.data(), 131);
  EXPECT_EQ(130U, oid.GetLength());
  EXPECT_EQ(130U, oid.GetSubIds()[129]);
}

TEST(MibOid, SetOidWithNullKeepsTheRawLengthAndTheArray) {
  MibOid oid = Oid({1, 2, 3});
  oid.SetOid(nullptr, 200);
  EXPECT_EQ(200U, oid.GetLength());
  EXPECT_EQ(130U, oid.GetUsableLength());
  EXPECT_EQ(1U, oid.GetSubIds()[0]);
  EXPECT_EQ(3U, oid.GetSubIds()[2]);
  oid.SetOid(nullptr, 2);
  EXPECT_EQ("1:2", Text(oid));
}

TEST(MibOid, EqualityLooksAtLengthAndUsedEntriesOnly) {
  MibOid a = Oid({1, 2, 3});
  const MibOid b = Oid({1, 2});
  EXPECT_FALSE(a == b);
  EXPECT_TRUE(a != b);
  const unsigned int two[] = {1, 2};
  a.SetOid(two, 2);  // the 3 is still behind
  EXPECT_TRUE(a == b);
  EXPECT_FALSE(a != b);
  EXPECT_FALSE(Oid({1, 2}) == Oid({1, 3}));
  EXPECT_TRUE(MibOid() == MibOid());
}

TEST(MibOid, EqualityOfRawLengthsReadsNoFurtherThanTheArray) {
  MibOid a = Oid(Count(130));
  MibOid b = Oid(Count(130));
  a.SetOid(nullptr, UINT_MAX);
  b.SetOid(nullptr, UINT_MAX);
  EXPECT_TRUE(a == b);
  b.SetOid(nullptr, 131);
  EXPECT_FALSE(a == b);
}

TEST(MibOid, TextJoinsDecimalSubIdentifiersByColons) {
  EXPECT_EQ("1:3:6", Text(Oid({1, 3, 6})));
  EXPECT_EQ("", Text(MibOid()));
  EXPECT_EQ("7", Text(Oid({7})));
  EXPECT_EQ("4294967295:0", Text(Oid({UINT_MAX, 0})));
}

TEST(MibOid, TextOfARawLengthHasAtMost130Numbers) {
  MibOid oid;
  oid.SetOid(nullptr, 1000);
  const std::string text = Text(oid);
  EXPECT_EQ(130 + 129U, text.size());
}

TEST(OidCompare, FirstDifferenceDecidesUnsigned) {
  const OidCompare less;
  EXPECT_TRUE(less(Oid({1, 2, 9}), Oid({1, 3})));
  EXPECT_FALSE(less(Oid({1, 3}), Oid({1, 2, 9})));
  EXPECT_TRUE(less(Oid({0x7FFFFFFF}), Oid({0x80000000})));
  EXPECT_FALSE(less(Oid({0x80000000}), Oid({0x7FFFFFFF})));
}

TEST(OidCompare, APrefixSortsFirstAndIsAnotherKey) {
  const OidCompare less;
  EXPECT_TRUE(less(Oid({1, 2}), Oid({1, 2, 0})));
  EXPECT_FALSE(less(Oid({1, 2, 0}), Oid({1, 2})));
  EXPECT_TRUE(less(MibOid(), Oid({0})));
  std::map<MibOid, int, OidCompare> rows;
  rows[Oid({1, 2, 0})] = 2;
  rows[Oid({1, 2})] = 1;
  ASSERT_EQ(2U, rows.size());
  EXPECT_EQ(1, rows.begin()->second);
}

TEST(OidCompare, WhatLiesBehindAPrefixDoesNotCount) {
  const OidCompare less;
  MibOid prefix = Oid({1, 2, 9});
  const unsigned int subIds[] = {1, 2};
  prefix.SetOid(subIds, 2);
  EXPECT_TRUE(less(prefix, Oid({1, 2, 3})));
  EXPECT_FALSE(less(Oid({1, 2, 3}), prefix));
}

TEST(OidCompare, EqualIdentifiersAreEquivalent) {
  const OidCompare less;
  EXPECT_FALSE(less(Oid({1, 2}), Oid({1, 2})));
  EXPECT_FALSE(less(MibOid(), MibOid()));
}

TEST(OidCompare, RawLengthsReadNoFurtherThanTheArrayAndOrderByLength) {
  const OidCompare less;
  MibOid a = Oid(Count(130));
  MibOid b = Oid(Count(130));
  a.SetOid(nullptr, 200);
  b.SetOid(nullptr, 201);
  EXPECT_TRUE(less(a, b));
  EXPECT_FALSE(less(b, a));
  b.SetOid(nullptr, 200);
  EXPECT_FALSE(less(a, b));
  EXPECT_FALSE(less(b, a));
}

}  // namespace
}  // namespace Tarsel
