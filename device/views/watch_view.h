// Changes as they come.
#ifndef DEVICE_VIEWS_WATCH_VIEW_H
#define DEVICE_VIEWS_WATCH_VIEW_H

#include "device/keepers/interfaces.h"
#include "feed.h"
#include "json.h"
#include "view.h"
#include "watch_lines.h"

namespace views {

/// A stream without end: a line for each event that the query asks for, from now on. In JSON a line
/// is an object (docs/schema/watch.schema.json).
class WatchView : public View {
 public:
  /// Events in one piece: in JSON half a millisecond of work.
  static constexpr std::size_t EVENTS_A_PIECE = 200;

  /// The feed and the interfaces are borrowed.
  WatchView(Feed& feed, const keepers::Interfaces& interfaces, const WatchQuery& query,
            Format format);

  Rest Next(std::string& text) override;

 private:
  void Write(const Watcher::Taken& taken, std::string& text);

  const EventLines m_lines;
  const Format m_format;
  Json m_json;
  Watcher m_watcher;
};

}  // namespace views

#endif
