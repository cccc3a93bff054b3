#include "upkeep.h"

#include "engine.h"

namespace routing_stack {

void Upkeep::HoldWalk(unsigned int number) { m_engine.HoldWalk(number); }
void Upkeep::GoOnWithWalk(unsigned int number) { m_engine.GoOnWithWalk(number); }
void Upkeep::EndWalk(unsigned int number) { m_engine.EndWalk(number); }
bool Upkeep::EndLostRequests() { return m_engine.EndLostRequests(); }
void Upkeep::SetMostNextHops(std::uint32_t vlan, std::size_t most) {
  m_engine.SetMostNextHops(vlan, most);
}

}  // namespace routing_stack
