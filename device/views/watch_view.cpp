#include "watch_view.h"

namespace views {

WatchView::WatchView(Feed& feed, const keepers::Interfaces& interfaces, const WatchQuery& query,
                     Format format)
    : m_lines(interfaces), m_format(format), m_watcher(feed, query, [this] { Wake(); }) {}

View::Rest WatchView::Next(std::string& text) {
  for (std::size_t i = 0; i < EVENTS_A_PIECE && !m_watcher.IsEmpty(); ++i) {
    Write(m_watcher.Take(), text);
  }
  m_json.Take(text);
  if (!m_watcher.IsEmpty()) {
    return Rest::MORE;
  }
  m_watcher.Wait();
  return Rest::LATER;
}

void WatchView::Write(const Watcher::Taken& taken, std::string& text) {
  const bool isJson = m_format == Format::JSON;
  if (taken.leftOut != 0) {
    isJson ? EventLines::WriteLeftOut(taken.leftOut, m_json)
           : EventLines::WriteLeftOut(taken.leftOut, text);
  }
  if (taken.event) {
    isJson ? m_lines.Write(*taken.event, m_json) : m_lines.Write(*taken.event, text);
  }
}

}  // namespace views
