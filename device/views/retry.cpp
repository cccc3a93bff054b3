#include "retry.h"

#include "names.h"

namespace views {

namespace {

rows::Differences::Retry Ask(apply::Reloader& reloader, const std::optional<Prefix>& prefix) {
  if (!prefix) {
    return reloader.RetryAll();
  }
  return reloader.RetryRoutes(TargetOf(0, *prefix));  // of all VLANs, whatever stands there
}

}  // namespace

Retried RetryNow(apply::Reloader& reloader, const std::optional<Prefix>& prefix) {
  const rows::Differences::Retry retry = Ask(reloader, prefix);
  const std::string of = prefix ? " of " + Describe(*prefix) : "";
  std::string text;
  if (retry.count == 0 && retry.underWay == 0) {
    text = prefix ? "No route" + of + " differs" : "Nothing differs";
  } else if (retry.count == 1) {
    text = "1 row" + of + " is asked for again now";
  } else {
    text = std::to_string(retry.count) + " rows" + of + " are asked for again now";
  }
  if (retry.underWay != 0) {
    text += ", " + std::to_string(retry.underWay) +
            (retry.underWay == 1 ? " is under way" : " are under way");
  }
  return {retry.count, text + "\n"};
}

}  // namespace views
