// Random calls back into the configuration scheduler from inside its items' operations. There is no
// model of what ought to come out: what is looked at is that no item is lost, ended twice or
// touched after its end (run this with the address sanitizer).
#include <gtest/gtest.h>

#include "device/base/timer_loop.h"
#include "tests/models/random_run.h"
#include "tests/models/scripted_item.h"

namespace test_models {
namespace {

using Tarsel::CfgItem;
using Tarsel::CfgKey;
using Tarsel::CfgSched;

constexpr unsigned int KEY_COUNT = 4;
constexpr unsigned int ROWS = 12;
constexpr unsigned int MAX_DEPTH = 4;
constexpr std::size_t POPULATION = 80;

class CallingBack {
 public:
  CallingBack() { Tarsel::TimerLoop::SetCurrent(&m_loop); }
  ~CallingBack() { Tarsel::TimerLoop::SetCurrent(nullptr); }

  void Step() {
    const CfgKey key = {random.Below(KEY_COUNT), 1};
    const unsigned int row = random.Below(ROWS);
    const unsigned int kind = random.Below(100);
    if (kind < 40 && m_log.alive.size() < POPULATION) {
      Insert(key, row);
    } else if (kind < 55) {
      ++passes;
      m_sched.OnTimeout(0, nullptr);
    } else if (kind < 80) {
      ScriptedItem probe(m_probes, row, -1);
      m_sched.Remove(key, &probe, 1);
    } else if (kind < 99) {
      ScriptedItem probe(m_probes, row, -1);
      m_sched.Update(key, &probe, 1, true);
    } else {
      m_sched.Reset();
    }
  }

  /// Every living item is in the list, once.
  bool ListHoldsTheLiving() {
    TextConsole console;
    m_sched.Print(&console);
    std::size_t listed = 0;
    for (std::size_t at = console.text.find("==== Item"); at != std::string::npos;
         at = console.text.find("==== Item", at + 1)) {
      ++listed;
    }
    EXPECT_EQ(m_log.alive.size(), listed);
    m_log.lines.clear();
    return m_log.alive.size() == listed;
  }

  Random random;
  unsigned int calledBack = 0;
  unsigned int passes = 0;

 private:
  void Insert(CfgKey key, unsigned int row) {
    auto* item = new ScriptedItem(m_log, row, m_nextId++);
    item->replaces = !random.Percent(20);
    item->itemReady = !random.Percent(20);
    item->removeOnNotReady = random.Percent(50);
    item->onSend = item->onInMib = [this] { CallBack(); };
    // A pass asks many items; passes inside of passes inside of passes would take for ever.
    item->onItemReady = [this] { CallBackNowAndThen(); };
    item->isListReady = [this] {
      CallBackNowAndThen();
      return !random.Percent(5);
    };
    if (random.Percent(30)) {
      item->SetActionState(CfgItem::ISSUED);
    }
    m_sched.Insert(key, item);
  }

  void CallBackNowAndThen() {
    if (random.Percent(2)) {
      CallBack();
    }
  }

  void CallBack() {
    if (m_depth == MAX_DEPTH || random.Percent(30)) {
      return;
    }
    ++m_depth;
    ++calledBack;
    for (unsigned int i = random.Below(4); i > 0; --i) {
      Step();
    }
    --m_depth;
  }

  Tarsel::VirtualLoop m_loop;
  ItemLog m_log;
  ItemLog m_probes;
  unsigned int m_depth = 0;
  int m_nextId = 0;
  CfgSched m_sched;
};

TEST(SchedReentrancyRandom, NoItemIsLostOrEndedTwice) {
  CallingBack device;
  const unsigned int operations = Scaled(100000);
  for (unsigned int i = 0; i < operations; ++i) {
    device.Step();
    if (i % 4 == 0) {
      ASSERT_TRUE(device.ListHoldsTheLiving()) << "operation " << i;
    }
  }
  test_models::ExpectAtLeast(device.calledBack, operations / 10, "calls back");
  test_models::ExpectAtLeast(device.passes, operations / 10, "passes");
}

}  // namespace
}  // namespace test_models
