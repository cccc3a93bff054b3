// Finds what changes come from.
#ifndef DEVICE_VIEWS_CAUSES_H
#define DEVICE_VIEWS_CAUSES_H

#include <optional>
#include <set>

#include "event.h"

namespace views {

/// Neither the stack nor the library tells why a request was made. So the host remembers what it
/// began last, until everything has been answered:
/// - While a configuration is applied, and until the device has settled after it, requests and what
///   they bring about come from a DOCUMENT.
/// - After a restart of the stack they come from the STACK, until the device has settled.
/// - Of rows that `retry` has asked for before their time they come from the CONSOLE, until the
///   answer.
/// - Otherwise the device has asked again for something that differs, or a protocol of the stack
///   has brought or lost a route: the STACK.
/// What the requests of interfaces and addresses bring about comes from an INTERFACE if something
/// has happened to an interface of the VLAN between two documents, until the device has settled.
///
/// Limits: what happens at the same time cannot be told apart. A repeat that is due by itself while
/// a configuration is applied counts as the document's. If interfaces of one VLAN are changed by an event and by a document at the same time,
/// the last one counts for all of them. What began before anybody watched counts as the document's
/// while the device settles, except for a restart.
///
/// May be called from inside the stack's run.
class Causes {
 public:
  /// A configuration (DOCUMENT) or what a restarted stack needs (STACK) is being sent.
  void Sending(Cause cause) { m_sending = cause; }
  /// The stack has lost everything.
  void Restarted();
  /// Something happens to an interface of the VLAN.
  void InterfaceChanged(unsigned short vlan, bool isByDocument);
  /// Everything has been answered.
  void Settled();
  /// Whether Settled would change anything.
  bool AreOpen() const { return m_sending.has_value() || !m_moved.empty(); }

  /// Of a request for a row that is not an interface or an address, and of what it brings about.
  /// `isHastened` as Differences knows it.
  Cause OfRequest(bool isHastened) const;
  /// Of a request for an interface or an address of the VLAN, and of what it brings about.
  Cause OfInterface(unsigned short vlan) const;

 private:
  std::optional<Cause> m_sending;
  std::set<unsigned short> m_moved;  // VLANs with interfaces that changed by themselves
};

}  // namespace views

#endif
