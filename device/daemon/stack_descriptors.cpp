#include "stack_descriptors.h"

#include <uv.h>

#include <exception>

#include "tarsel/trace.h"
#include "vantacore/dc_router_mgr.h"

namespace vantacored {

namespace {

// The modes that the library makes of the stack's event bits: each watches for one event.
constexpr int MODE_READ = 1;
constexpr int MODE_WRITE = 2;
constexpr int MODE_URGENT = 3;

constexpr int EVENT_READ = 1;
constexpr int EVENT_WRITE = 2;
constexpr int EVENT_URGENT = 4;

int WatchedBy(int mode) {
  switch (mode) {
    case MODE_READ:
      return UV_READABLE;
    case MODE_WRITE:
      return UV_WRITABLE;
    case MODE_URGENT:
      return UV_PRIORITIZED;
    default:
      return 0;
  }
}

int StackEvents(int events) {
  if (events < 0) {
    return EVENT_READ;  // the read tells the stack what is wrong
  }
  return ((events & UV_READABLE) != 0 ? EVENT_READ : 0) |
         ((events & UV_WRITABLE) != 0 ? EVENT_WRITE : 0) |
         ((events & UV_PRIORITIZED) != 0 ? EVENT_URGENT : 0);
}

}  // namespace

// The library calls these and knows no exceptions.

void StackDescriptors::RegisterDescriptor(int fd, int mode, int) {
  try {
    m_polls.erase(fd);
    auto poll = std::make_unique<loop::Poll>(m_loop, fd);
    if (!poll->IsUsable()) {
      Tarsel::TRACE(1, "Descriptor %d of the routing stack cannot be watched\n", fd);
      return;
    }
    m_polls[fd] = std::move(poll);
    ChangeDescriptorMode(fd, mode);
  } catch (const std::exception& problem) {
    Tarsel::TRACE(1, "Descriptor %d of the routing stack: %s\n", fd, problem.what());
  }
}

void StackDescriptors::RemoveDescriptor(int fd, int) { m_polls.erase(fd); }

void StackDescriptors::ChangeDescriptorMode(int fd, int mode) {
  const auto poll = m_polls.find(fd);
  if (poll == m_polls.end()) {
    return;
  }
  poll->second->Start(WatchedBy(mode), [fd](int events) {
    Tarsel::DcRouterMgr::GetInstance()->SocketCallback(fd, StackEvents(events));
  });
}

}  // namespace vantacored
