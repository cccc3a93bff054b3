// Where views look.
#ifndef DEVICE_VIEWS_SOURCES_H
#define DEVICE_VIEWS_SOURCES_H

#include "device/apply/reloader.h"
#include "device/keepers/interfaces.h"
#include "device/rows/stack_port.h"
#include "feed.h"
#include "host.h"
#include "tables.h"

namespace views {

/// Everything is borrowed and outlives the questions.
struct Sources {
  apply::Reloader& reloader;
  const keepers::Interfaces& interfaces;
  const rows::StackPort& stack;
  const Tables& tables;
  const Host& host;
  Feed& feed;

  const routes::RouteKeeper& GetRoutes() const { return reloader.GetKnowledge().GetRoutes(); }
  const rows::Differences& GetDifferences() const {
    return reloader.GetKnowledge().GetDifferences();
  }
};

}  // namespace views

#endif
