// What `retry` does.
#ifndef DEVICE_VIEWS_RETRY_H
#define DEVICE_VIEWS_RETRY_H

#include <optional>

#include "device/apply/reloader.h"
#include "questions.h"

namespace views {

/// Of a prefix the routes in all VLANs.
Retried RetryNow(apply::Reloader& reloader, const std::optional<Prefix>& prefix);

}  // namespace views

#endif
