// The answer to `status`.
#ifndef DEVICE_VIEWS_STATUS_VIEW_H
#define DEVICE_VIEWS_STATUS_VIEW_H

#include <optional>
#include <string>
#include <vector>

#include "device/apply/reloader.h"
#include "device/loop/work.h"
#include "sources.h"
#include "view.h"

namespace views {

/// What keeps it from being settled, in words; at least one reason.
std::vector<std::string> DescribeUnsettled(const apply::Reloader::Unsettled& now);

/// How the device is. Whether the folder differs from what is in force is found in the thread pool:
/// until that is known there is nothing to read. Everything else is as it is when that is known.
class StatusView : public View {
 public:
  StatusView(const Sources& sources, Format format);

  Rest Next(std::string& text) override;

 private:
  std::string WriteText() const;
  std::string WriteJson() const;

  const Sources m_sources;
  const Format m_format;
  loop::Work m_looking;
  bool m_hasBegun = false;
  std::vector<std::string> m_obstacles;
  std::optional<bool> m_differs;  // the folder; nothing if it could not be told
};

}  // namespace views

#endif
