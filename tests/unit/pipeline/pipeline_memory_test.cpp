// What scheduler and serializer hold, and that they give it back.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "device/base/timer_loop.h"
#include "device/base/trace_control.h"
#include "tests/support/allocated_bytes.h"
#include "vantacore/cfg_sched.h"
#include "vantacore/mib_action.h"
#include "vantacore/serializer.h"

namespace Tarsel {
namespace {

using test_support::AllocatedBlocks;
using test_support::AllocatedBytes;
using testing::ElementsAre;

constexpr CfgKey KEY = {10, 1};
constexpr unsigned int MANY = 5000;

class Item : public CfgItem {
 public:
  explicit Item(unsigned int row, bool replaces = true) : m_oid(&row, 1), m_replaces(replaces) {}
  bool CfgListReady() override { return true; }
  bool CfgItemReady() override { return true; }
  void PrintItem(DcConsole*) const override {}
  void Send() override { SetActionState(ISSUED); }
  const MibOid& GetOid() override { return m_oid; }
  bool Replace(void*) override { return m_replaces; }

 private:
  MibOid m_oid;
  bool m_replaces;
};

class SchedulerMemory : public testing::Test {
 protected:
  SchedulerMemory() {
    TimerLoop::SetCurrent(&loop);
    SetTraceLevel(0);
  }
  ~SchedulerMemory() override {
    SetTraceLevel(1);
    TimerLoop::SetCurrent(nullptr);
  }
  static void Insert(CfgSched& sched, CfgKey key, unsigned int row) {
    auto* item = new Item(row);
    item->SetActionState(CfgItem::ISSUED);
    sched.Insert(key, item);
  }
  static void Remove(CfgSched& sched, CfgKey key, unsigned int row) {
    Item probe(row);
    sched.Remove(key, &probe, 1);
  }

  VirtualLoop loop;
};

TEST_F(SchedulerMemory, NothingStaysOfAScheduler) {
  { CfgSched first; }
  const std::size_t before = AllocatedBlocks();
  {
    CfgSched sched;
    for (unsigned int row = 0; row < 100; ++row) {
      Insert(sched, {row % 3, 1}, row);
      sched.Insert({row % 3, 1}, new Item(row, false));
    }
    sched.OnTimeout(0, nullptr);
  }
  EXPECT_EQ(before, AllocatedBlocks());
}

TEST_F(SchedulerMemory, NothingStaysOfABucketThatTheLastAnswerEmpties) {
  CfgSched sched;
  Insert(sched, KEY, 1);
  const std::size_t before = AllocatedBlocks();
  for (unsigned int row = 0; row < 100; ++row) {
    Insert(sched, {11, 1}, row);
  }
  for (unsigned int row = 0; row < 100; ++row) {
    Remove(sched, {11, 1}, row);
  }
  EXPECT_EQ(before, AllocatedBlocks());
}

TEST_F(SchedulerMemory, RowsThatComeAndGoUseTheSameMemory) {
  CfgSched sched;
  Insert(sched, KEY, 0);
  Insert(sched, KEY, 1);
  const std::size_t before = AllocatedBytes();
  for (unsigned int row = 1; row < MANY; ++row) {
    Insert(sched, KEY, row + 1);
    Remove(sched, KEY, row);
  }
  EXPECT_EQ(before, AllocatedBytes());
}

// As many as there are, so that a bucket of a few rows is small and a large one is not in pieces.
TEST_F(SchedulerMemory, NodesComeInBlocks) {
  CfgSched sched;
  Insert(sched, KEY, 0);
  std::vector<unsigned int> rowsWithABlock;
  for (unsigned int row = 1; row < MANY; ++row) {
    auto* item = new Item(row);
    const std::size_t before = AllocatedBlocks();
    sched.Insert(KEY, item);
    if (AllocatedBlocks() != before) {
      EXPECT_EQ(before + 1, AllocatedBlocks());
      rowsWithABlock.push_back(row);
    }
  }
  EXPECT_THAT(rowsWithABlock, ElementsAre(4, 8, 16, 32, 64, 128, 256, 512, 1024, 2048, 3072, 4096));
}

// The table of rows shrinks with them. What a node takes stays with its bucket.
TEST_F(SchedulerMemory, ABurstLeavesNoTableBehind) {
  constexpr std::size_t NODE = 6 * sizeof(void*) + 16;
  CfgSched sched;
  Insert(sched, KEY, 0);
  const std::size_t before = AllocatedBytes();
  for (unsigned int row = 1; row <= MANY; ++row) {
    Insert(sched, KEY, row);
  }
  for (unsigned int row = 1; row <= MANY; ++row) {
    Remove(sched, KEY, row);
  }
  EXPECT_LE(AllocatedBytes(), before + (MANY + 1024) * NODE);
}

class Action : public MibAction {
 public:
  void IssueReq(bool) override {}
};

class SerializerMemory : public testing::Test {
 protected:
  // The table of rows may be twice as large for a row as it was when the row came.
  static constexpr std::size_t SMALL_TABLE = 8 * (sizeof(void*) + 8);

  static void Insert(Serializer& serializer, unsigned int row) {
    serializer.Insert(MibOid(&row, 1), new Action);
  }
};

TEST_F(SerializerMemory, NothingStaysOfRowsThatWereAnswered) {
  Serializer serializer;
  serializer.RunPendingActions();
  Insert(serializer, 0);
  const std::size_t before = AllocatedBytes();
  for (unsigned int row = 1; row <= MANY; ++row) {
    Insert(serializer, row);
    Insert(serializer, row);
    Insert(serializer, row);
  }
  for (unsigned int row = 1; row <= MANY; ++row) {
    for (int answer = 0; answer < 3; ++answer) {
      serializer.RunPendingAction(&row, 1);
    }
  }
  EXPECT_LE(AllocatedBytes(), before + SMALL_TABLE);
}

// It is at most three quarters full, and at least an eighth.
TEST_F(SerializerMemory, TheTableOfRowsFollowsTheirNumber) {
  constexpr unsigned int FEW = 30;
  constexpr unsigned int ROWS = 200;
  constexpr std::size_t ROW_AT_MOST = 200;
  Serializer serializer;
  serializer.RunPendingActions();
  for (unsigned int row = 1; row <= FEW; ++row) {
    serializer.Insert(MibOid(&row, 1), nullptr);
  }
  for (int burst = 0; burst < 2; ++burst) {
    std::vector<unsigned int> grown;
    for (unsigned int rows = FEW + 1; rows <= ROWS; ++rows) {
      const std::size_t before = AllocatedBytes();
      serializer.Insert(MibOid(&rows, 1), nullptr);
      if (AllocatedBytes() > before + ROW_AT_MOST) {
        grown.push_back(rows);
      }
    }
    EXPECT_THAT(grown, ElementsAre(49, 97, 193));
    std::vector<unsigned int> shrunk;
    for (unsigned int rows = ROWS; rows > FEW - 20; --rows) {
      const std::size_t before = AllocatedBytes();
      serializer.Remove(MibOid(&rows, 1));
      if (AllocatedBytes() + ROW_AT_MOST < before) {
        shrunk.push_back(rows - 1);
      }
    }
    EXPECT_THAT(shrunk, ElementsAre(63, 31, 15));
    for (unsigned int row = FEW - 19; row <= FEW; ++row) {
      serializer.Insert(MibOid(&row, 1), nullptr);
    }
  }
}

// Before the signal a row that ends keeps its record, to which places in the arrival order refer.
TEST_F(SerializerMemory, NothingStaysOfRowsFromBeforeTheReadySignal) {
  Serializer serializer;
  unsigned int stays = 0;
  serializer.Insert(MibOid(&stays, 1), nullptr);
  const std::size_t before = AllocatedBytes();
  for (unsigned int row = 1; row <= 100; ++row) {
    serializer.Insert(MibOid(&row, 1), nullptr);
  }
  for (unsigned int row = 1; row <= 60; ++row) {
    serializer.Remove(MibOid(&row, 1));
  }
  for (unsigned int row = 41; row <= 80; ++row) {
    Insert(serializer, row);
  }
  serializer.RunPendingActions();
  for (unsigned int row = 41; row <= 100; ++row) {
    serializer.RunPendingAction(&row, 1);
  }
  EXPECT_LE(AllocatedBytes(), before + SMALL_TABLE);
}

// Queued actions are not the serializer's to end; its own records are.
class SerializerEnd : public SerializerMemory, public testing::WithParamInterface<bool> {};

TEST_P(SerializerEnd, LeavesTheQueuedActionsOnly) {
  constexpr std::size_t QUEUED = 30;
  std::vector<std::unique_ptr<MibAction>> actions;
  actions.reserve(QUEUED);
  const std::size_t before = AllocatedBlocks();
  auto serializer = std::make_unique<Serializer>();
  for (unsigned int i = 0; i < QUEUED; ++i) {
    unsigned int row = i % 10;
    actions.emplace_back(new Action);
    serializer->Insert(MibOid(&row, 1), actions.back().get());
  }
  if (GetParam()) {
    serializer->Reset();
  }
  serializer.reset();
  EXPECT_EQ(before + QUEUED, AllocatedBlocks());
}

INSTANTIATE_TEST_SUITE_P(WithAndWithoutReset, SerializerEnd, testing::Bool());

}  // namespace
}  // namespace Tarsel
