// That finding a row does not mean looking at others. A bucket may hold 100,000 rows whose
// identifiers differ in a few numbers only, and an item is far from the processor.
#include <gtest/gtest.h>

#include <array>

#include "device/base/timer_loop.h"
#include "vantacore/cfg_sched.h"

namespace Tarsel {
namespace {

constexpr CfgKey KEY = {10, 1};
constexpr unsigned int LONGEST = 15;

using Name = std::array<unsigned int, LONGEST>;

class AskedItem : public CfgItem {
 public:
  AskedItem(Name name, unsigned int length, unsigned int& asked)
      : m_oid(name.data(), length), m_asked(asked) {}
  bool CfgListReady() override { return true; }
  bool CfgItemReady() override { return true; }
  void PrintItem(DcConsole*) const override {}
  void Send() override { SetActionState(ISSUED); }
  const MibOid& GetOid() override {
    ++m_asked;
    return m_oid;
  }

 private:
  MibOid m_oid;
  unsigned int& m_asked;
};

class RowLookup : public testing::TestWithParam<unsigned int> {
 protected:
  RowLookup() { TimerLoop::SetCurrent(&loop); }
  ~RowLookup() override { TimerLoop::SetCurrent(nullptr); }

  VirtualLoop loop;
};

TEST_P(RowLookup, RowsThatDifferInOneNumberAreToldApartWithoutAskingThem) {
  const unsigned int length = GetParam();
  unsigned int asked = 0;
  unsigned int inserted = 0;
  CfgSched sched;
  const auto insert = [&](const Name& name) {
    sched.Insert(KEY, new AskedItem(name, length, asked));
    ++inserted;
  };
  Name name;
  name.fill(7);
  insert(name);
  for (unsigned int place = 0; place < length; ++place) {
    for (unsigned int number = 8; number < 40; ++number) {
      name[place] = number;
      insert(name);
    }
    for (unsigned int bit = 6; bit < 32; ++bit) {
      name[place] = 7U | 1U << bit;
      insert(name);
    }
    name[place] = 7;
  }
  EXPECT_EQ(inserted, asked);  // only for its own name
}

INSTANTIATE_TEST_SUITE_P(EvenAndOddLengths, RowLookup, testing::Values(LONGEST - 1, LONGEST));

}  // namespace
}  // namespace Tarsel
