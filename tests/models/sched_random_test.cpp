// Random operations on the configuration scheduler and on its literal model.
#include <gtest/gtest.h>

#include <set>

#include "device/base/timer_loop.h"
#include "device/base/trace_control.h"
#include "tests/models/random_run.h"
#include "tests/models/sched_model.h"
#include "tests/models/scripted_item.h"

namespace test_models {
namespace {

using Tarsel::CfgItem;
using Tarsel::CfgKey;
using Tarsel::CfgSched;

constexpr CfgKey KEYS[] = {{0, 5}, {1, 0}, {1, 7}, {10, 2}, {10, 3}, {11, 3}, {0x80000000, 1}};
constexpr unsigned int KEY_COUNT = sizeof KEYS / sizeof KEYS[0];
constexpr unsigned int ROWS = 50;
constexpr std::size_t POPULATION = 250;

// The same items twice, once for the library and once for the model, and the same operations on
// both.
class Pair {
 public:
  Pair() : m_model(m_modelLog.lines, count) {
    Tarsel::TimerLoop::SetCurrent(&m_loop);
    Tarsel::SetTraceLevel(10);
    Tarsel::SetTraceSink([this](int level, const std::string& message) {
      m_libraryLog.lines.push_back(std::to_string(level) + ":" + message);
    });
    for (bool& ready : m_bucketReady) {
      ready = true;
    }
  }
  ~Pair() {
    Tarsel::SetTraceSink({});
    Tarsel::SetTraceLevel(1);
    Tarsel::TimerLoop::SetCurrent(nullptr);
  }

  void Step() {
    const unsigned int kind = random.Below(1000);
    if (kind < 465) {
      Insert(random.Below(KEY_COUNT), random.Below(ROWS));
    } else if (kind < 500) {
      InsertMany();
    } else if (kind < 600) {
      Tick();
    } else if (kind < 800) {
      AnswerOneSent();
    } else if (kind < 850) {
      Answer(random.Below(KEY_COUNT), random.Below(ROWS));
    } else if (kind < 890) {
      bool& ready = m_bucketReady[random.Below(KEY_COUNT)];
      ready = !ready || random.Percent(60);
    } else if (kind < 930) {
      ChangeOneItem();
    } else if (kind < 935) {
      m_sched.Reset();
      m_model.Reset();
    } else if (kind < 945) {
      Query();
    } else if (kind < 950) {
      FailOneItem();
    } else {
      Empty(random.Below(KEY_COUNT));
    }
    if (m_libraryLog.alive.size() > POPULATION) {
      Empty(random.Below(KEY_COUNT));
    }
  }

  bool LogsAgree() {
    for (const std::string& line : m_modelLog.lines) {
      if (line.compare(0, 5, "send ") == 0) {
        m_sent.push_back(std::stoi(line.substr(5)));
      }
    }
    const auto expected = m_modelLog.Take();
    const auto actual = m_libraryLog.Take();
    EXPECT_EQ(expected, actual);
    return expected == actual;
  }
  bool StatesAgree() {
    TextConsole expected;
    TextConsole actual;
    m_model.Print(&expected);
    m_model.PrintSummary(&expected);
    m_sched.Print(&actual);
    m_sched.PrintSummary(&actual);
    EXPECT_EQ(expected.text, actual.text);
    EXPECT_EQ(m_model.IsRunning(), m_sched.IsRunning());
    return expected.text == actual.text;
  }

  Random random;
  Occurrences count;

 private:
  struct Twins {
    unsigned int key;
    unsigned int row;
    ScriptedItem* library;
    ScriptedItem* model;
  };

  static unsigned int IndexOf(CfgKey key) {
    unsigned int index = 0;
    while (index < KEY_COUNT - 1 &&
           (KEYS[index].instance != key.instance || KEYS[index].rowType != key.rowType)) {
      ++index;
    }
    return index;
  }

  ScriptedItem* NewItem(ItemLog& log, unsigned int key, unsigned int row, int id) {
    auto* item = new ScriptedItem(log, row, id);
    item->isListReady = [this, key, id] { return m_bucketReady[key] && m_blocking.count(id) == 0; };
    item->inFlight = {row % 3, static_cast<unsigned int>(id) % 3};
    return item;
  }

  void Insert(unsigned int key, unsigned int row) {
    const int id = m_nextId++;
    Twins twins = {key, row, NewItem(m_libraryLog, key, row, id),
                   NewItem(m_modelLog, key, row, id)};
    const bool replaces = !random.Percent(25);
    const bool itemReady = !random.Percent(20);
    const bool removeOnNotReady = random.Percent(50);
    const bool sendSucceeds = !random.Percent(3);
    for (ScriptedItem* item : {twins.library, twins.model}) {
      item->replaces = replaces;
      item->itemReady = itemReady;
      item->removeOnNotReady = removeOnNotReady;
      item->sendSucceeds = sendSucceeds;
    }
    m_twins[id] = twins;
    m_sched.Insert(KEYS[key], twins.library);
    m_model.Insert(KEYS[key], twins.model);
  }

  void Tick() {
    m_sched.OnTimeout(0, nullptr);
    m_model.OnTimeout();
    const CfgKey resume = m_model.GetResumeKey();
    if (resume.instance != 1 && random.Percent(50)) {
      Empty(IndexOf(resume));  // what the next pass is to start with goes
      m_sched.OnTimeout(0, nullptr);
      m_model.OnTimeout();
    }
  }

  // A bucket full of rows, now and then one that all of them leave at once.
  void InsertMany() {
    const unsigned int key = random.Below(KEY_COUNT);
    const bool dropping = random.Percent(40);
    if (dropping) {
      Empty(key);
    }
    for (unsigned int row = 0; row < 31 + random.Below(10) * !dropping; ++row) {
      Insert(key, row);
      if (dropping) {
        for (ScriptedItem* item :
             {m_twins.rbegin()->second.library, m_twins.rbegin()->second.model}) {
          item->itemReady = false;
          item->removeOnNotReady = true;
        }
      }
    }
  }

  void AnswerOneSent() {
    if (m_sent.empty()) {
      return;
    }
    const std::size_t index = random.Below(static_cast<unsigned int>(m_sent.size()));
    const int id = m_sent[index];
    const Twins twins = m_twins[id];
    if (!random.Percent(10)) {  // some are answered again
      m_sent[index] = m_sent.back();
      m_sent.pop_back();
    }
    if (m_modelLog.alive.count(twins.model) == 0 && HoldsRow(twins.key, twins.row)) {
      count("an answer to a replaced item");
    }
    Answer(twins.key, twins.row);
  }

  bool HoldsRow(unsigned int key, unsigned int row) {
    for (CfgItem* item : m_model.ItemsOf(KEYS[key])) {
      if (static_cast<ScriptedItem*>(item)->row == row) {
        return true;
      }
    }
    return false;
  }

  void Answer(unsigned int key, unsigned int row) {
    ScriptedItem probe(m_probes, row, -1);
    const unsigned int status = 1 + random.Below(6);
    if (random.Percent(50)) {
      m_sched.Remove(KEYS[key], &probe, status);
      m_model.Remove(KEYS[key], &probe, status);
    } else {
      const bool retry = random.Percent(80);
      m_sched.Update(KEYS[key], &probe, status, retry);
      m_model.Update(KEYS[key], &probe, status, retry);
    }
  }

  // Readiness and state of single items change under the scheduler's feet.
  void ChangeOneItem() {
    const unsigned int key = random.Below(KEY_COUNT);
    const auto items = m_model.ItemsOf(KEYS[key]);
    if (items.empty()) {
      return;
    }
    const auto number = random.Below(static_cast<unsigned int>(items.size()));
    const int id = static_cast<ScriptedItem*>(items[number])->id;
    const Twins& twins = m_twins[id];
    const unsigned int what = random.Below(4);
    if (what == 0 && random.Percent(70)) {
      m_blocking.insert(id);
    } else if (what <= 1) {
      m_blocking.clear();
    }
    for (ScriptedItem* item : {twins.library, twins.model}) {
      if (what == 2) {
        item->itemReady = !item->itemReady;
      } else if (what == 3) {
        item->SetActionState(item->GetActionState() == CfgItem::NEW ? CfgItem::ISSUED
                                                                    : CfgItem::NEW);
      }
    }
  }

  // One item is refused until its retries are used up.
  void FailOneItem() {
    const unsigned int key = random.Below(KEY_COUNT);
    const auto items = m_model.ItemsOf(KEYS[key]);
    if (items.empty()) {
      return;
    }
    const Twins& twins = m_twins[static_cast<ScriptedItem*>(items.front())->id];
    for (int i = 0; i < 11; ++i) {
      ScriptedItem probe(m_probes, twins.row, -1);
      twins.library->SetActionState(CfgItem::ISSUED);
      twins.model->SetActionState(CfgItem::ISSUED);
      m_sched.Update(KEYS[key], &probe, 5, true);
      m_model.Update(KEYS[key], &probe, 5, true);
    }
  }

  void Query() {
    const CfgKey key = KEYS[random.Below(KEY_COUNT)];
    const unsigned int a = random.Below(3);
    const unsigned int b = random.Below(3);
    const int expected = m_model.RouteMapInFlight(key, a, b);
    EXPECT_EQ(expected, m_sched.RouteMapInFlight(key, a, b));
    EXPECT_EQ(expected, m_sched.AggrAddrInFlight(key, a, b));
  }

  // Everything in the bucket is answered.
  void Empty(unsigned int key) {
    for (CfgItem* entry : m_model.ItemsOf(KEYS[key])) {
      const Twins& twins = m_twins[static_cast<ScriptedItem*>(entry)->id];
      twins.library->SetActionState(CfgItem::ISSUED);
      twins.model->SetActionState(CfgItem::ISSUED);
      ScriptedItem probe(m_probes, twins.row, -1);
      m_sched.Remove(KEYS[key], &probe, 1);
      m_model.Remove(KEYS[key], &probe, 1);
    }
  }

  Tarsel::VirtualLoop m_loop;
  ItemLog m_libraryLog;
  ItemLog m_modelLog;
  ItemLog m_probes;
  bool m_bucketReady[KEY_COUNT];
  std::set<int> m_blocking;
  std::map<int, Twins> m_twins;  // by id, also those that are gone
  std::vector<int> m_sent;       // ids that wait for an answer
  int m_nextId = 0;
  CfgSched m_sched;
  SchedModel m_model;
};

TEST(SchedModelRandom, LibraryAndLiteralModelDoTheSame) {
  Pair pair;
  const unsigned int operations = Scaled(150000);
  for (unsigned int i = 0; i < operations; ++i) {
    pair.Step();
    ASSERT_TRUE(pair.LogsAgree()) << "operation " << i;
    if (i % 8 == 0) {
      ASSERT_TRUE(pair.StatesAgree()) << "operation " << i;
    }
  }
  ASSERT_TRUE(pair.StatesAgree());
  for (const char* what :
       {"front replacement", "middle replacement", "Replace refused", "the limit of 31",
        "a resume key whose bucket is gone", "a bucket that is not ready",
        "an issued item that blocks", "an answer to a New item", "an answer to a replaced item"}) {
    pair.count.ExpectAtLeast(1000, what);
  }
  for (const char* what :
       {"an item dropped as not ready", "an empty bucket left behind", "an item out of retries"}) {
    pair.count.ExpectAtLeast(100, what);
  }
}

}  // namespace
}  // namespace test_models
