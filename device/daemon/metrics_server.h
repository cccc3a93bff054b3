// Where a scraper reads the device's counters: a socket in the file system that speaks HTTP.
#ifndef DEVICE_DAEMON_METRICS_SERVER_H
#define DEVICE_DAEMON_METRICS_SERVER_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <list>
#include <memory>
#include <string>

#include "device/loop/listening_socket.h"
#include "device/loop/loop_handles.h"

namespace vantacored {

/// Answers `GET /metrics` of HTTP/1.0 and HTTP/1.1 with one text, and closes the connection. Any
/// other path is 404, another method 405, what is not a request 400, and one that is too long 431.
/// A client that sends or takes nothing costs a place for a few seconds; when there are no places,
/// the others are answered with 503.
class MetricsServer {
 public:
  struct Limits {
    std::size_t connections = 16;
    std::size_t requestBytes = 4096;
    std::uint64_t milliseconds = 5000;  // for a connection from its begin to its end
  };

  /// Listens at `path` as a ListeningSocket does; clients wait until Start(). `write` is called
  /// from the loop for each answer and returns the counters. Throws std::runtime_error if it cannot
  /// listen there.
  MetricsServer(uv_loop_s* loop, const std::string& path, std::function<std::string()> write,
                const Limits& limits);
  MetricsServer(const MetricsServer&) = delete;
  MetricsServer& operator=(const MetricsServer&) = delete;
  /// Ends all connections.
  ~MetricsServer();

  void Start();

 private:
  class Client;

  void Accept();
  void Welcome(int fd);
  void Sweep();

  uv_loop_s* const m_loop;
  const std::function<std::string()> m_write;
  const Limits m_limits;
  const loop::ListeningSocket m_listener;
  loop::Poll m_poll;
  loop::Task m_sweep;
  loop::Timer m_pause;
  std::list<std::unique_ptr<Client>> m_clients;
};

}  // namespace vantacored

#endif
