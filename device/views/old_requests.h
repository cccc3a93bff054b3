// Requests to the stack that have gone without an answer for too long.
#ifndef DEVICE_VIEWS_OLD_REQUESTS_H
#define DEVICE_VIEWS_OLD_REQUESTS_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>

#include "device/loop/loop_handles.h"
#include "device/rows/comparer.h"
#include "request_reader.h"
#include "sources.h"

namespace views {

/// Looks for `verify` how long requests have been under way, in slices of the loop's turns. Belongs
/// to the loop's thread.
class OldRequests {
 public:
  /// A request that has been under way for so long is a failure.
  static constexpr std::uint64_t TOO_OLD_SECONDS = 10;

  /// Everything is borrowed.
  OldRequests(uv_loop_s* loop, const Sources& sources) : m_loop(loop), m_sources(sources) {}

  /// Looks at all requests without an answer, and calls `done` from the loop, but not if the object
  /// goes before. The verdict names the rows of the first `mostLines` of those that are too old. A
  /// request of which the stack does not tell since when it waits counts as under way only.
  void Verify(std::size_t mostLines, std::function<void(rows::Verdict)> done);

 private:
  struct Look {
    Look(uv_loop_s* loop, const Sources& sources)
        : turn(loop), reader(sources, {}, Reach::REQUESTS) {}

    loop::Task turn;
    RequestReader reader;
    std::size_t underWay = 0;
    std::size_t mostLines = 0;
    rows::Verdict verdict;
    std::function<void(rows::Verdict)> done;
  };

  void Continue(unsigned int number);
  static void Judge(Look& look, const RequestItem& item);

  uv_loop_s* const m_loop;
  const Sources m_sources;
  std::map<unsigned int, Look> m_looks;  // under way
  unsigned int m_last = 0;
};

}  // namespace views

#endif
