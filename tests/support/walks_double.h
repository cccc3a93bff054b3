// The stack's walks as a console knows them, in the hands of a test.
#ifndef TESTS_SUPPORT_WALKS_DOUBLE_H
#define TESTS_SUPPORT_WALKS_DOUBLE_H

#include <string>
#include <vector>

#include "device/console/walks.h"

namespace test_support {

/// A walk begins when a test says so, and ends when it says so too: being told to end is only
/// written down, since the stack ends a walk later. What a walk is told is written down as "hold
/// 1", "go on 1", "end 1" or "attend".
class WalksDouble : public console::Walks {
 public:
  /// A walk begins, inside the walk `inside` if that is not 0. Returns its number.
  unsigned int Begin(unsigned int inside = 0) {
    ++m_last;
    walks.push_back({m_last, inside == 0 ? m_last : FirstOf(inside), false});
    return m_last;
  }
  std::vector<std::string> TakeCalls() {
    std::vector<std::string> taken;
    taken.swap(m_calls);
    return taken;
  }

  unsigned int Last() const override { return m_last; }
  std::vector<Walk> Running() const override { return walks; }
  void Hold(unsigned int number) override { Note("hold", number); }
  void GoOn(unsigned int number) override { Note("go on", number); }
  void End(unsigned int number) override { Note("end", number); }
  void Attend() override { m_calls.emplace_back("attend"); }

  std::vector<Walk> walks;  // that have not ended

 private:
  unsigned int FirstOf(unsigned int number) const {
    for (const Walk& walk : walks) {
      if (walk.number == number) {
        return walk.first;
      }
    }
    return 0;
  }
  void Note(const char* what, unsigned int number) {
    m_calls.push_back(std::string(what) + " " + std::to_string(number));
  }

  unsigned int m_last = 0;
  std::vector<std::string> m_calls;
};

}  // namespace test_support

#endif
