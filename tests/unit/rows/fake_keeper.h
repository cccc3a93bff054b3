// A keeper whose rows stand as a test says, and turns of the loop in virtual time.
#ifndef TESTS_UNIT_ROWS_FAKE_KEEPER_H
#define TESTS_UNIT_ROWS_FAKE_KEEPER_H

#include <uv.h>

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "device/base/timer_loop.h"
#include "device/loop/loop.h"
#include "device/rows/keeper.h"
#include "tests/unit/rows/fake_stack_port.h"

namespace rows_test {

/// Rows that are not in `rows` are equal. Writes down what it is asked.
class FakeKeeper : public rows::Keeper {
 public:
  explicit FakeKeeper(const char* name = "routes") : m_name(name) {}

  const char* GetName() const override { return m_name; }
  std::size_t CountWanted() const override { return rows.size() - strays; }
  void BeginPass() override {
    ++passes;
    m_last.reset();
  }
  bool ContinuePass(std::size_t most, const Found& found) override {
    slices.push_back(most);
    auto i = m_last ? rows.upper_bound(*m_last) : rows.begin();
    for (; most > 0 && i != rows.end(); --most, ++i) {
      m_last = i->first;
      if (i->second.kind != rows::Standing::Kind::EQUAL) {
        found(i->first, i->second);
      }
    }
    return i != rows.end();
  }
  rows::Standing Look(const rows::Row& row) const override {
    ++looks;
    const auto found = rows.find(row);
    return found == rows.end() ? rows::Standing() : found->second;
  }
  void AskAgain(const rows::Row& row) override {
    asked.push_back(Describe(row));
    if (whenAsked) {
      whenAsked(row);
    }
  }

  std::map<rows::Row, rows::Standing> rows;
  std::size_t strays = 0;          // how many of them nobody wants
  std::vector<std::string> asked;  // in words
  std::function<void(const rows::Row&)> whenAsked;
  unsigned int passes = 0;
  std::vector<std::size_t> slices;
  mutable std::size_t looks = 0;

 private:
  const char* const m_name;
  std::optional<rows::Row> m_last;
};

/// Virtual time, and a loop that turns.
class Turns {
 public:
  Turns() { Tarsel::TimerLoop::SetCurrent(&time); }
  Turns(const Turns&) = delete;
  Turns& operator=(const Turns&) = delete;
  ~Turns() { Tarsel::TimerLoop::SetCurrent(nullptr); }

  void Turn() { uv_run(loop.Get(), UV_RUN_NOWAIT); }
  /// So many turns that a few slices are done, then a millisecond, and so on.
  void Run(std::uint64_t milliseconds) {
    for (std::uint64_t i = 0; i < milliseconds; ++i) {
      Turn();
      Turn();
      time.AdvanceMilliseconds(1);
    }
    Turn();
    Turn();
  }

  Tarsel::VirtualLoop time;
  loop::Loop loop;
};

/// A route of the VLAN: 10.N.N.0/24 of its number.
inline rows::Row RouteNumber(unsigned short vlan, unsigned int number) {
  rows::RouteRow row;
  row.target.vlan = vlan;
  row.target.length = 24;
  row.target.destination = {10, static_cast<unsigned char>(number >> 8),
                            static_cast<unsigned char>(number)};
  row.target.gateway = {10, 1, 2, 1};
  return row;
}

}  // namespace rows_test

#endif
