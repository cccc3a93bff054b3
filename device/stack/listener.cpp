// What a listener does that does not care.

#include "facts.h"

namespace routing_stack {

void Listener::Answered(const RowName&, int, unsigned int) {}
void Listener::Restarted() {}
bool Listener::WantsForwarding() const { return false; }
void Listener::ForwardingChanged(ForwardingChange, const amb_cipr_rtm_route&,
                                 const std::vector<NextHopBeside>&, RowType) {}

}  // namespace routing_stack
