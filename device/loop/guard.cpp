#include "guard.h"

#include <exception>
#include <new>

#include "tarsel/trace.h"

namespace loop {

void Guard(const std::function<void()>& callback) {
  const std::function<void()> called = callback;
  try {
    if (called) {
      called();
    }
  } catch (const std::bad_alloc&) {
    std::terminate();
  } catch (const std::exception& problem) {
    Tarsel::TRACE(0, "An event was not handled: %s\n", problem.what());
  }
}

}  // namespace loop
