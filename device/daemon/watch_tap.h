// Publishes what happens on the device while anybody watches.
#ifndef DEVICE_DAEMON_WATCH_TAP_H
#define DEVICE_DAEMON_WATCH_TAP_H

#include <string>

#include "device/apply/reloader.h"
#include "device/keepers/interfaces.h"
#include "device/ports/stack_port.h"
#include "device/stack/facts.h"
#include "device/views/feed.h"

namespace vantacored {

/// Listens to the stack and to the interfaces only while somebody watches what they tell, so that
/// nobody pays otherwise. What it hears inside the stack's run it only notes.
///
/// On this device an interface changes between two documents by an operator's word only: such a
/// change comes from the CONSOLE, and what it brings about from an INTERFACE.
class WatchTap final : private routing_stack::Listener {
 public:
  /// Everything is borrowed. Nobody else is told when what is watched changes.
  WatchTap(views::Feed& feed, ports::SoftwareStackPort& port, keepers::Interfaces& interfaces,
           const apply::Reloader& reloader);
  WatchTap(const WatchTap&) = delete;
  WatchTap& operator=(const WatchTap&) = delete;
  ~WatchTap() override;

  /// At the end of each turn of the loop: what is being sent, and whether it has been answered. One
  /// test while nobody watches.
  void Look() {
    if (m_isWatching) {
      LookAtCauses();
    }
  }
  /// A line that the reloader has for the log.
  void HearLine(const std::string& line) {
    if (m_feed.IsWatched(views::WatchQuery::Kind::RELOAD)) {
      PublishLine(line);
    }
  }

 private:
  void WatchedChanges();
  void Begin();
  void LookAtCauses();
  void PublishLine(const std::string& line);
  void Happens(const keepers::InterfaceChange& change);

  void Answered(const routing_stack::RowName& row, int rowStatus, unsigned int status) override;
  void Restarted() override;
  bool WantsForwarding() const override;
  void ForwardingChanged(routing_stack::ForwardingChange change, const amb_cipr_rtm_route& route,
                         const std::vector<routing_stack::NextHopBeside>& beside,
                         routing_stack::RowType cause) override;
  static views::Cause CauseOf(keepers::InterfaceChange::By by);
  views::Cause CauseOf(routing_stack::RowType type, unsigned short vlan, bool isHastened) const;
  const rows::Differences& GetDifferences() const {
    return m_reloader.GetKnowledge().GetDifferences();
  }

  views::Feed& m_feed;
  ports::SoftwareStackPort& m_port;
  keepers::Interfaces& m_interfaces;
  const apply::Reloader& m_reloader;
  bool m_isWatching = false;
  bool m_areRoutesWatched = false;
};

}  // namespace vantacored

#endif
