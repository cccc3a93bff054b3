// What libuv calls must not throw.
#ifndef DEVICE_LOOP_GUARD_H
#define DEVICE_LOOP_GUARD_H

#include <functional>

namespace loop {

/// Calls a copy of `callback`, because it may replace or destroy its own holder; an empty one is not
/// called. An exception that nobody took must not end the device's routing: it is logged. A lack of
/// memory does: it may have come out of the library, which knows no exceptions and is left in the
/// middle of a change.
void Guard(const std::function<void()>& callback);

}  // namespace loop

#endif
