// A device that is asked how it is.
#ifndef TESTS_UNIT_VIEWS_STATE_FIXTURE_H
#define TESTS_UNIT_VIEWS_STATE_FIXTURE_H

#include <json/json.h>

#include <algorithm>
#include <memory>
#include <sstream>
#include <string>

#include "device/ports/stack_tables.h"
#include "device/views/device_questions.h"
#include "tests/unit/apply/reloader_fixture.h"

namespace views_test {

class StateFixture : public apply_test::ReloaderFixture {
 protected:
  static constexpr std::int64_t STARTED = 1000000000;
  static constexpr unsigned int WRONG_VALUE = 3;

  using apply_test::ReloaderFixture::ReloaderFixture;

  views::DeviceQuestions Ask() { return views::DeviceQuestions(Sources()); }
  views::Sources Sources() { return {*m_reloader, m_interfaces, m_port, m_tables, m_host, m_feed}; }

  /// The whole of it; the loop turns while there is nothing to read.
  std::string Read(const views::AnyView& view) {
    std::string text;
    bool isAwake = false;
    view->CallWhenMore([&] { isAwake = true; });
    for (;;) {
      const std::size_t before = text.size();
      const views::View::Rest rest = view->Next(text);
      EXPECT_LE(text.size() - before, 64u * 1024);
      if (rest == views::View::Rest::NONE) {
        return text;
      }
      if (rest == views::View::Rest::LATER) {
        EXPECT_EQ(text.size(), before);
        ++m_laters;
        if (!TurnUntil([&] { return isAwake; }, false)) {
          ADD_FAILURE() << "nobody was woken";
          return text;
        }
        isAwake = false;
      }
    }
  }
  /// One document on a line of its own.
  Json::Value ReadJson(const views::AnyView& view) {
    const std::string text = Read(view);
    EXPECT_EQ(text.find('\n'), text.size() - 1) << text;
    Json::CharReaderBuilder builder;
    builder["failIfExtra"] = true;
    builder["rejectDupKeys"] = true;
    Json::Value value;
    std::string problem;
    std::istringstream stream(text);
    EXPECT_TRUE(Json::parseFromStream(builder, stream, &value, &problem)) << problem << text;
    return value;
  }
  static std::size_t LongestLine(const std::string& text) {
    std::size_t longest = 0;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
      longest = std::max(longest, line.size());
    }
    return longest;
  }
  void Script(routing_stack::RowType type, const routing_stack::Answer& answer,
              unsigned int times = 1000) {
    Control().Script(type, answer, times);
  }
  /// The stack refuses the only route, as often as it is asked for.
  void StartWithARefusedRoute() {
    WriteVlans(WITH_ROUTE);
    Script(routing_stack::RowType::kRoute, {routing_stack::Answer::kStatus, WRONG_VALUE, 0});
    BeginToStart();
    ASSERT_TRUE(TurnUntil([this] { return m_starts == 1 && m_reloader->IsSettled(); }));
    ASSERT_EQ(m_reloader->GetKnowledge().GetDifferences().Count(), 1u);
  }

  ports::StackTables m_tables{stack.GetFacts()};
  std::size_t m_sessions = 3;
  std::uint64_t m_lost = 0;
  views::KernelState m_kernel;
  views::Host m_host{m_turns,
                     STARTED,
                     2,
                     [this] { return m_sessions; },
                     [this] { return m_lost; },
                     [this] { return m_kernel; }};
  views::Feed m_feed{m_turns.Get(), [] { return std::int64_t{0}; }};
  unsigned int m_laters = 0;
};

}  // namespace views_test

#endif
