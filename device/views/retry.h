// What `retry` does.
#ifndef DEVICE_VIEWS_RETRY_H
#define DEVICE_VIEWS_RETRY_H

#include <optional>

#include "questions.h"
#include "sources.h"

namespace views {

/// Of a prefix the routes in all VLANs.
Retried RetryNow(const Sources& sources, const std::optional<Prefix>& prefix);

}  // namespace views

#endif
