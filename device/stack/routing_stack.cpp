#include "routing_stack.h"

#include "engine.h"

namespace routing_stack {

RoutingStack::RoutingStack(Clock clock) : m_engine(std::make_unique<Engine>(std::move(clock))) {}
RoutingStack::~RoutingStack() = default;

void RoutingStack::MakeCurrent() { m_engine->MakeCurrent(); }
Control& RoutingStack::GetControl() { return m_engine->GetControl(); }
Upkeep& RoutingStack::GetUpkeep() { return m_engine->GetUpkeep(); }
void RoutingStack::SetListener(Listener* listener) { m_engine->SetListener(listener); }
const Facts& RoutingStack::GetFacts() const { return m_engine->GetFacts(); }
bool RoutingStack::IsIdle() const { return m_engine->IsIdle(); }

}  // namespace routing_stack
