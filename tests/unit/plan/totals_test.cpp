#include <gtest/gtest.h>

#include "device/plan/plan.h"

namespace {

using plan::Count;
using plan::Totals;

TEST(Totals, TellsEveryKindAndEveryChange) {
  Totals totals;
  EXPECT_TRUE(totals.IsEmpty());
  EXPECT_EQ(plan::DescribeTotals(totals), "no change");
  totals.vlans = {1, 2, 0};
  totals.interfaces = {0, 0, 1};
  totals.addresses = {1, 0, 2};
  totals.protocols = {1, 0, 0};
  totals.rows = {0, 1, 0};
  totals.routes = {0, 3, 1};
  totals.rules = {1, 0, 0};
  totals.settings = {0, 0, 1};
  totals.requests = 12;
  EXPECT_FALSE(totals.IsEmpty());
  EXPECT_EQ(plan::DescribeTotals(totals),
            "1 VLAN added, 2 removed, 1 interface changed, 1 address added, 2 changed, 1 protocol "
            "added, 1 protocol row removed, 3 routes removed, 1 changed, 1 rule added, 1 setting "
            "changed; 12 requests");
}

TEST(Totals, CountsInPlural) {
  Totals totals;
  for (Count* const count : {&totals.vlans, &totals.interfaces, &totals.addresses,
                             &totals.protocols, &totals.rows, &totals.routes, &totals.rules}) {
    count->added = 2;
  }
  totals.settings.changed = 2;
  totals.requests = 1;
  EXPECT_EQ(plan::DescribeTotals(totals),
            "2 VLANs added, 2 interfaces added, 2 addresses added, 2 protocols added, 2 protocol "
            "rows added, 2 routes added, 2 rules added, 2 settings changed; 1 request");
}

TEST(Totals, IsEmptyWithoutAnyCount) {
  for (Count Totals::*const count :
       {&Totals::vlans, &Totals::interfaces, &Totals::addresses, &Totals::protocols, &Totals::rows,
        &Totals::routes, &Totals::rules, &Totals::settings}) {
    for (std::size_t Count::*const part : {&Count::added, &Count::removed, &Count::changed}) {
      Totals totals;
      totals.*count.*part = 1;
      EXPECT_FALSE(totals.IsEmpty());
    }
  }
}

TEST(Totals, TellsThatNoRequestIsNeeded) {
  Totals totals;
  totals.settings.changed = 1;
  EXPECT_EQ(plan::DescribeTotals(totals), "1 setting changed; 0 requests");
}

}  // namespace
