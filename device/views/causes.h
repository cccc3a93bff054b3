// Finds what changes come from.
#ifndef DEVICE_VIEWS_CAUSES_H
#define DEVICE_VIEWS_CAUSES_H

#include <cstdint>
#include <optional>
#include <set>

#include "event.h"

namespace views {

/// Neither the stack nor the library tells why a request was made. So the host remembers what it
/// began last, until everything has been answered:
/// - While a configuration is applied, and until the device has settled after it, requests and what
///   they bring about come from a DOCUMENT.
/// - After a restart of the stack they come from the STACK, until the device has settled.
/// - After `retry` they come from the CONSOLE, as long as answers come without a pause of a second.
/// - Otherwise the device has asked again for something that differs, or a protocol of the stack
///   has brought or lost a route: the STACK.
/// What the requests of interfaces and addresses bring about comes from an INTERFACE if something
/// has happened to an interface of the VLAN between two documents, until the device has settled.
///
/// Limits: what happens at the same time cannot be told apart. A repeat that is due by itself while
/// a configuration is applied counts as the document's, and one that is due after `retry` as the
/// console's. If interfaces of one VLAN are changed by an event and by a document at the same time,
/// the last one counts for all of them. What began before anybody watched counts as the document's
/// while the device settles, except for a restart.
///
/// Times are milliseconds on a clock that never goes back. May be called from inside the stack's
/// run.
class Causes {
 public:
  static constexpr std::uint64_t RETRY_PAUSE_MILLISECONDS = 1000;

  /// A configuration (DOCUMENT) or what a restarted stack needs (STACK) is being sent.
  void Sending(Cause cause) { m_sending = cause; }
  /// The stack has lost everything.
  void Restarted();
  void Retried(std::uint64_t now) { m_retriedAt = now; }
  /// Something happens to an interface of the VLAN.
  void InterfaceChanged(unsigned short vlan, bool isByDocument);
  /// Everything has been answered.
  void Settled();
  /// Whether Settled would change anything.
  bool AreOpen() const { return m_sending.has_value() || !m_moved.empty(); }

  /// Of a request for a row that is not an interface or an address, and of what it brings about.
  Cause OfRequest(std::uint64_t now);
  /// Of a request for an interface or an address of the VLAN, and of what it brings about.
  Cause OfInterface(unsigned short vlan) const;

 private:
  std::optional<Cause> m_sending;
  std::optional<std::uint64_t> m_retriedAt;  // or the last answer that came of it
  std::set<unsigned short> m_moved;          // VLANs with interfaces that changed by themselves
};

}  // namespace views

#endif
