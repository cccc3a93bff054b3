// A view of something that has not come yet.
#ifndef DEVICE_CONSOLE_COMING_VIEW_H
#define DEVICE_CONSOLE_COMING_VIEW_H

#include <memory>
#include <string>
#include <utility>

#include "device/views/questions.h"

namespace console {

/// Is another view from the time on when that comes. Whoever brings it may do so later than the
/// view lives, so both share an Arrival.
class ComingView : public views::View {
 public:
  class Arrival {
   public:
    /// Call it from the loop; only the first one counts.
    void Come(views::AnyView view) {
      if (!m_view) {
        m_view = std::move(view);
        if (m_waiting) {
          std::exchange(m_waiting, nullptr)->Wake();
        }
      }
    }

   private:
    friend class ComingView;
    views::AnyView m_view;
    ComingView* m_waiting = nullptr;  // the view that has said "later"
  };

  explicit ComingView(std::shared_ptr<Arrival> arrival) : m_arrival(std::move(arrival)) {}
  ~ComingView() override { m_arrival->m_waiting = nullptr; }

  Rest Next(std::string& text) override {
    if (!m_arrival->m_view) {
      m_arrival->m_waiting = this;
      return Rest::LATER;
    }
    return m_arrival->m_view->Next(text);
  }
  bool IsRefused() const override { return m_arrival->m_view && m_arrival->m_view->IsRefused(); }

 private:
  const std::shared_ptr<Arrival> m_arrival;
};

}  // namespace console

#endif
