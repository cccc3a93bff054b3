// Requests of static routes, and what is heard of them.
#ifndef DEVICE_ROUTES_ASKED_ROUTE_H
#define DEVICE_ROUTES_ASKED_ROUTE_H

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <vector>

#include "asked_item.h"
#include "route_book.h"
#include "vantacore/cfg_items.h"

namespace routes {

struct RouteRequest;

/// The item of a request in the library's scheduler: the same as AddRoute and RemoveRoute make.
using AskedRoute = AskedItem<Tarsel::StaticRouteItem, RouteRequest>;

/// A request that is under way.
struct RouteRequest {
  std::uint32_t number = 0;
  rows::RouteRow row;
  std::uint32_t metric = 0;
  bool isRemoval = false;
  bool isRepeat = false;   // of a request that came to nothing
  bool isRetried = false;  // an answer asked for another try
  std::uint64_t since = 0;
  RouteLane* lane = nullptr;
  RouteBook::Place place;  // in this edition of the book
  unsigned int edition = 0;
  AskedRoute* item = nullptr;  // null once the scheduler has deleted it, and if there is no request

  // What has been heard since it was looked at last.
  enum class News : unsigned char { NONE, DONE, RETRIED, REFUSED, DROPPED };
  News news = News::NONE;
  bool isNoted = false;
  unsigned int status = 0;  // of the last answer
};

/// The requests that are under way. A request ends with End, whatever has been heard of it; its
/// item then has nobody who waits for it. Requests stay where they are, and their numbers are used
/// again.
class RouteRequests : private ItemListener<RouteRequest> {
 public:
  /// `wake` is called when something has been heard, for the first time since TakeNews, from inside
  /// the stack's or the library's run. The port is borrowed.
  RouteRequests(const rows::StackPort& port, std::function<void()> wake);
  RouteRequests(const RouteRequests&) = delete;
  RouteRequests& operator=(const RouteRequests&) = delete;
  /// Ends all.
  ~RouteRequests();

  /// A new request, whose row, metric and isRemoval the caller then sets.
  RouteRequest& Begin();
  /// Makes its item and gives it to the library.
  void Send(RouteRequest& request);
  void End(RouteRequest& request);
  /// The same; the library's item goes as well, at once or with the scheduler's next pass.
  void Drop(RouteRequest& request);
  /// Takes the item of a request that has ended out of the scheduler, if it has been given up.
  static void DropGivenUp(const rows::RouteRow& row);

  const RouteRequest& Get(std::uint32_t number) const { return m_all[number]; }
  RouteRequest& Get(std::uint32_t number) { return m_all[number]; }
  /// Whether the stack has done with the row without an answer, so that none will come.
  bool IsLost(const RouteRequest& request) const;
  std::size_t CountUnderWay() const { return m_all.size() - m_free.size(); }

  bool HasNews() const { return !m_noted.empty(); }
  /// The requests of which something has been heard.
  std::vector<RouteRequest*> TakeNews();
  /// Those that are under way.
  std::vector<RouteRequest*> GetAll();
  std::vector<const RouteRequest*> GetAll() const;

 private:
  void Hear(RouteRequest& request, ItemNews news, unsigned int status) override;

  const rows::StackPort& m_port;
  const std::function<void()> m_wake;
  std::deque<RouteRequest> m_all;
  std::vector<std::uint32_t> m_free;
  std::vector<RouteRequest*> m_noted;
};

}  // namespace routes

#endif
