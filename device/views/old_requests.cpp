#include "old_requests.h"

#include <string>
#include <tuple>
#include <utility>

namespace views {

void OldRequests::Verify(std::size_t mostLines, std::function<void(rows::Verdict)> done) {
  const unsigned int number = ++m_last;
  Look& look = m_looks
                   .emplace(std::piecewise_construct, std::forward_as_tuple(number),
                            std::forward_as_tuple(m_loop, m_sources))
                   .first->second;
  look.mostLines = mostLines;
  look.verdict.kind = "requests";
  look.done = std::move(done);
  look.turn.Post([this, number] { Continue(number); });
}

void OldRequests::Continue(unsigned int number) {
  Look& look = m_looks.at(number);
  if (look.reader.Continue([&look](const RequestItem& item) { Judge(look, item); })) {
    look.turn.Post([this, number] { Continue(number); });
    return;
  }
  rows::Verdict verdict = std::move(look.verdict);
  verdict.note = look.underWay == 0 ? "none is under way"
                                    : std::to_string(look.underWay) + " under way, " +
                                          (verdict.fails == 0 ? "none" : "some") + " for " +
                                          std::to_string(TOO_OLD_SECONDS) + " s";
  const auto done = std::move(look.done);
  m_looks.erase(number);
  done(std::move(verdict));
}

void OldRequests::Judge(Look& look, const RequestItem& item) {
  if (item.state != RequestItem::State::UNDER_WAY) {
    return;
  }
  look.underWay += item.count;
  if (item.sinceSeconds.value_or(0) < TOO_OLD_SECONDS) {
    return;
  }
  ++look.verdict.fails;
  if (look.verdict.lines.size() < look.mostLines) {
    look.verdict.lines.push_back("requests: " + item.what + " has been under way for " +
                                 std::to_string(*item.sinceSeconds) + " s: " + item.reason);
  }
}

}  // namespace views
