// An answer that is known as a whole.
#ifndef DEVICE_VIEWS_PLAIN_VIEW_H
#define DEVICE_VIEWS_PLAIN_VIEW_H

#include <string>
#include <utility>

#include "view.h"

namespace views {

/// For short answers, and for why a question cannot be answered.
class PlainView : public View {
 public:
  explicit PlainView(std::string text, bool isRefused = false)
      : m_text(std::move(text)), m_isRefused(isRefused) {}

  Rest Next(std::string& text) override {
    text += m_text;
    return Rest::NONE;
  }
  bool IsRefused() const override { return m_isRefused; }

 private:
  const std::string m_text;
  const bool m_isRefused;
};

}  // namespace views

#endif
