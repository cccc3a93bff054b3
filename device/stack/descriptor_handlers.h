// What the stack does when a descriptor that it has registered with the host is ready.
#ifndef DEVICE_STACK_DESCRIPTOR_HANDLERS_H
#define DEVICE_STACK_DESCRIPTOR_HANDLERS_H

#include <functional>
#include <map>
#include <utility>

namespace routing_stack {

class DescriptorHandlers {
 public:
  using Handler = std::function<void(int events)>;

  void Add(int fd, Handler handler) { m_handlers[fd] = std::move(handler); }
  bool Has(int fd) const { return m_handlers.count(fd) != 0; }
  void Remove(int fd) { m_handlers.erase(fd); }
  void Clear() { m_handlers.clear(); }

  /// Runs the descriptor's handler; an unknown descriptor is ignored.
  void Ready(int fd, int events) const {
    const auto found = m_handlers.find(fd);
    if (found != m_handlers.end() && found->second) {
      const Handler handler = found->second;  // it may remove itself
      handler(events);
    }
  }

 private:
  std::map<int, Handler> m_handlers;
};

}  // namespace routing_stack

#endif
