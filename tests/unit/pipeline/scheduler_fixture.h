// A configuration scheduler in virtual time with scripted items.
#ifndef TESTS_UNIT_STACK_SCHEDULER_FIXTURE_H
#define TESTS_UNIT_STACK_SCHEDULER_FIXTURE_H

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "device/base/timer_loop.h"
#include "tests/models/scripted_item.h"
#include "tests/support/trace_capture.h"
#include "vantacore/cfg_sched.h"

namespace Tarsel {

class SchedulerFixture : public testing::Test {
 protected:
  SchedulerFixture() { TimerLoop::SetCurrent(&loop); }
  ~SchedulerFixture() override { TimerLoop::SetCurrent(nullptr); }

  test_models::ScriptedItem* New(unsigned int row, int id) {
    return new test_models::ScriptedItem(log, row, id);
  }
  /// Inserts an item; the pointer is good until the scheduler ends the item.
  test_models::ScriptedItem* Insert(CfgKey key, unsigned int row, int id) {
    test_models::ScriptedItem* item = New(row, id);
    sched.Insert(key, item);
    return item;
  }
  void Update(CfgKey key, unsigned int row, unsigned int status, bool retry) {
    test_models::ScriptedItem probe(probes, row, -1);
    sched.Update(key, &probe, status, retry);
  }
  void Remove(CfgKey key, unsigned int row, unsigned int status = 1) {
    test_models::ScriptedItem probe(probes, row, -1);
    sched.Remove(key, &probe, status);
  }
  void Tick() { sched.OnTimeout(0, nullptr); }
  /// The lines of one kind since the last look at the log; the others are dropped.
  std::vector<std::string> Take(const std::string& kind) {
    std::vector<std::string> lines;
    for (const std::string& line : log.Take()) {
      if (line.compare(0, kind.size() + 1, kind + " ") == 0) {
        lines.push_back(line);
      }
    }
    return lines;
  }
  std::size_t CountSends() { return Take("send").size(); }

  std::string Print() {
    test_models::TextConsole console;
    sched.Print(&console);
    return console.text;
  }
  /// The ids in the order of Print.
  std::vector<int> Order() {
    std::vector<int> ids;
    const std::string text = Print();
    for (std::size_t at = text.find("====\n"); at != std::string::npos;
         at = text.find("====\n", at + 1)) {
      ids.push_back(std::stoi(text.substr(at + 5)));
    }
    return ids;
  }
  std::string Summary() {
    test_models::TextConsole console;
    sched.PrintSummary(&console);
    return console.text;
  }

  static constexpr CfgKey KEY = {10, 0x3D000003};
  static constexpr CfgKey LATER = {11, 0x3D000003};

  VirtualLoop loop;
  test_support::TraceCapture traces;
  test_models::ItemLog log;
  test_models::ItemLog probes;
  CfgSched sched;
};

}  // namespace Tarsel

#endif
