// The questions that an operator or a machine can ask the device.
#ifndef DEVICE_VIEWS_QUESTIONS_H
#define DEVICE_VIEWS_QUESTIONS_H

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "prefix.h"
#include "tables.h"
#include "view.h"

namespace views {

/// Which rows of `route` and `route6`. What is not given does not filter.
struct RouteQuery {
  enum class State { INSTALLED, WAITING, REFUSED };

  bool ip6 = false;
  std::optional<unsigned short> vlan;  // nothing: all VLANs
  std::optional<Address> address;      // the longest match of it
  std::optional<Prefix> prefix;        // not together with an address
  bool isLonger = false;               // and the prefixes within it
  std::optional<Protocol> protocol;
  std::optional<Address> via;
  std::string interface;  // by its name; empty for any
  std::optional<State> state;
  bool isSummary = false;  // numbers instead of rows
};

/// What `explain` is about: one of the two is there.
struct ExplainQuery {
  unsigned short vlan = 0;
  std::optional<Address> address;  // its longest match
  std::optional<Prefix> prefix;
};

/// Which changes a `watch` shows.
struct WatchQuery {
  enum class Kind { ROUTE, REQUEST, INTERFACE, RELOAD };

  std::optional<Kind> kind;            // nothing: all
  std::optional<unsigned short> vlan;  // so too; a reload belongs to no VLAN and is always shown
};

using AnyView = std::unique_ptr<View>;

/// What a word that asks again has done.
struct Retried {
  std::size_t count = 0;  // rows that are asked for again now
  std::string text;       // for the operator, with its end
};

/// Each question returns a view that is not null; what cannot be answered is a view that is
/// refused. A view may be asked for and destroyed at any time on the loop's thread, except from
/// inside the stack's run; it must not outlive the questions.
class Questions {
 public:
  virtual ~Questions() = default;

  virtual AnyView Routes(const RouteQuery& query, Format format) = 0;
  virtual AnyView Explain(const ExplainQuery& query, Format format) = 0;
  /// Totals of one VLAN, or of each and of all.
  virtual AnyView Summary(std::optional<unsigned short> vlan, Format format) = 0;
  /// What waits and for what, what was refused, and when it is asked for next.
  virtual AnyView Requests(std::optional<unsigned short> vlan, Format format) = 0;
  virtual AnyView Status(Format format) = 0;
  virtual AnyView Version(Format format) = 0;
  /// In Prometheus' text format.
  virtual AnyView Metrics() = 0;
  /// A stream that has no end.
  virtual AnyView Watch(const WatchQuery& query, Format format) = 0;
  /// Asks again now for what differs: all of it, or the routes of a prefix.
  virtual Retried Retry(const std::optional<Prefix>& prefix) = 0;

  // For completion.

  /// VLANs, interface names of a VLAN, and configured prefixes, that begin with `begun`; at most
  /// `most`, in their order.
  virtual std::vector<std::string> CompleteVlan(const std::string& begun, std::size_t most) = 0;
  virtual std::vector<std::string> CompleteInterface(unsigned short vlan, const std::string& begun,
                                                     std::size_t most) = 0;
  virtual std::vector<std::string> CompletePrefix(unsigned short vlan, bool ip6,
                                                  const std::string& begun, std::size_t most) = 0;
};

}  // namespace views

#endif
