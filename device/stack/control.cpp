// The control header's levers; its tables are those of the facts.

#include "stack_control.h"

#include "engine.h"

namespace routing_stack {

void Control::Script(RowType type, const Answer& answer, unsigned int times) {
  m_engine.m_scripts.Add(type, answer, times);
}

void Control::ScriptVlan(RowType type, std::uint32_t vlan, const Answer& answer,
                         unsigned int times) {
  m_engine.m_scripts.AddVlan(type, vlan, answer, times);
}

void Control::ScriptRow(const unsigned int* oid, unsigned int length, const Answer& answer,
                        unsigned int times) {
  m_engine.m_scripts.AddRow(oid, length, answer, times);
}

void Control::ClearScripts() { m_engine.m_scripts.Clear(); }

void Control::SetLimit(RowType type, std::size_t rows, unsigned int status) {
  m_engine.m_tables.SetLimit(type, {rows, status});
}

void Control::Hold() { m_engine.m_held = true; }

void Control::Release() {
  m_engine.m_held = false;
  if (m_engine.m_started && !m_engine.IsIdle()) {
    Engine::AskForRun();
    m_engine.Drain();
  }
}

void Control::Restart() { m_engine.Restart(); }

void Control::EndLostRequests() { m_engine.EndLostRequests(); }
void Control::SetSynchronous(bool on) { m_engine.m_synchronous = on; }

void Control::SetSliceEvents(unsigned int events) {
  m_engine.m_sliceEvents = events != 0 ? events : 1;
}

void Control::RepeatReady() { m_engine.SubmitOwn(ReadyEvent{}); }

std::uint64_t Control::CountOf(Call call) const { return m_engine.m_calls.CountOf(call); }
void Control::ResetCounts() { m_engine.m_calls.Reset(); }
const char* Control::NameOf(Call call) { return NameOfCall(call); }

void Control::SetCallObserver(CallObserver observer) {
  m_engine.m_calls.SetObserver(std::move(observer));
}

namespace {

bool IsRoutingProtocol(std::uint32_t proto) {
  return proto == kRip || proto == kOspf || proto == kBgp;
}

CandidateKey KeyOf(const Candidate& candidate) {
  const Family family = FamilyOf(candidate.addressType);
  const std::uint32_t length = std::min(candidate.prefixLength, MaximalLength(family));
  CandidateKey key;
  key.prefix = Prefix::Of(Address::FromBytes(candidate.destination, family), length);
  key.proto = static_cast<std::uint8_t>(candidate.proto);
  key.ifIndex = candidate.ifIndex;
  key.nextHop = Address::FromBytes(candidate.nextHop, family);
  return key;
}

// Whether the candidate's instance can hold it.
bool Fits(const Tables& tables, const Candidate& candidate) {
  const Instance* const instance = tables.FindInstance(candidate.instance);
  return instance != nullptr && IsRoutingProtocol(candidate.proto) &&
         instance->family == FamilyOf(candidate.addressType);
}

}  // namespace

void Control::PutCandidate(const Candidate& candidate) {
  if (Fits(m_engine.m_tables, candidate)) {
    CandidateValues values;
    values.metric = candidate.metric;
    values.internal = candidate.internal;
    m_engine.m_tables.StoreCandidate(candidate.instance, KeyOf(candidate), values);
  }
}

bool Control::RemoveCandidate(const Candidate& candidate) {
  return Fits(m_engine.m_tables, candidate) &&
         m_engine.m_tables.RemoveCandidate(candidate.instance, KeyOf(candidate));
}

void Control::RegisterDescriptor(int fd, int id, unsigned int mask,
                                 std::function<void(int events)> handler) {
  m_engine.m_descriptors.Add(fd, std::move(handler));
  m_engine.SubmitOwn(DescriptorEvent{DescriptorEvent::kRegister, fd, id, mask});
}

void Control::ChangeDescriptorMask(int fd, unsigned int mask) {
  if (m_engine.m_descriptors.Has(fd)) {
    m_engine.SubmitOwn(DescriptorEvent{DescriptorEvent::kChange, fd, 0, mask});
  }
}

void Control::UnregisterDescriptor(int fd, int id) {
  if (m_engine.m_descriptors.Has(fd)) {
    m_engine.m_descriptors.Remove(fd);
    m_engine.SubmitOwn(DescriptorEvent{DescriptorEvent::kUnregister, fd, id, 0});
  }
}

std::vector<amb_stubs_i3_ei> Control::Interfaces() const {
  return m_engine.GetFacts().Interfaces();
}
std::vector<amb_stubs_i3_ea> Control::Addresses() const { return m_engine.GetFacts().Addresses(); }
std::vector<amb_cipr_rtm_rib> Control::Rib() const { return m_engine.GetFacts().Rib(); }
std::vector<amb_cipr_rtm_route> Control::Routes() const { return m_engine.GetFacts().Routes(); }
std::vector<std::uint32_t> Control::Instances() const { return m_engine.GetFacts().Instances(); }

std::vector<RedistributionRow> Control::Redistributions() const {
  return m_engine.GetFacts().Redistributions();
}

std::vector<amb_cipr_rtm_route> Control::Redistributed(std::uint32_t instance,
                                                       std::uint32_t destination) const {
  return m_engine.GetFacts().Redistributed(instance, destination);
}

}  // namespace routing_stack
