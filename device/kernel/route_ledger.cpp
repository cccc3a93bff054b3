#include "route_ledger.h"

#include <algorithm>
#include <cerrno>
#include <utility>

namespace kernel {

namespace {

std::size_t IndexOf(unsigned char slot) { return slot == 1 ? 0 : 1; }

std::uint32_t PriorityOf(unsigned char slot) { return OUR_PRIORITIES[IndexOf(slot)]; }

// 0 if it is none of ours.
unsigned char SlotOf(std::uint32_t priority) {
  for (std::size_t i = 0; i < OUR_PRIORITIES.size(); ++i) {
    if (OUR_PRIORITIES[i] == priority) {
      return static_cast<unsigned char>(1u << i);
    }
  }
  return 0;
}

}  // namespace

void Comparison::NoteMissing(const RouteKey& key) {
  ++missing;
  if (missingKeys.size() < MOST_KEYS) {
    missingKeys.push_back(key);
  }
}

void Comparison::NoteStray(const RouteKey& key) {
  ++strays;
  if (strayKeys.size() < MOST_KEYS) {
    strayKeys.push_back(key);
  }
}

void RouteLedger::Want(const RouteKey& key, const NextHops& nextHops) {
  Node& node = *ShardOf(key).try_emplace(key).first;
  Entry& entry = node.second;
  const bool wasWanted = IsWanted(entry);
  if (wasWanted && entry.nextHops == nextHops) {
    return;
  }
  if (entry.nextHops != nextHops) {
    entry.nextHops = nextHops;
    SetRight(entry, FindStanding(entry));
  }
  if (!wasWanted) {
    entry.wantedIn = m_generation;
    entry.isGoing = false;
    ++m_wanted;
    m_wantedIp6 += key.isIp6 ? 1 : 0;
    m_standing += entry.right != 0 ? 1 : 0;
  }
  ForgetRefusal(node);
  Schedule(node);
}

void RouteLedger::Forgo(const RouteKey& key) {
  const auto found = ShardOf(key).find(key);
  if (found == ShardOf(key).end() || !IsWanted(found->second)) {
    return;
  }
  Entry& entry = found->second;
  --m_wanted;
  m_wantedIp6 -= key.isIp6 ? 1 : 0;
  m_standing -= entry.right != 0 ? 1 : 0;
  entry.wantedIn = 0;
  entry.isGoing = true;
  ForgetRefusal(*found);
  Schedule(*found);
}

void RouteLedger::ForgoAllForNow() {
  ++m_generation;
  m_wanted = 0;
  m_wantedIp6 = 0;
  m_standing = 0;
  m_isLearning = true;
}

void RouteLedger::BeginSweep() {
  m_isLearning = false;
  BeginPass();
}

// One more than there should be. Of two that are both wrong, the one that no packet takes.
RouteLedger::Slots RouteLedger::SlotToDelete(const Entry& entry) const {
  Slots unneeded = 0;
  if (!IsWanted(entry)) {
    unneeded = entry.isGoing ? entry.standing : 0;
  } else if (entry.right != 0) {
    unneeded = static_cast<Slots>(entry.standing & ~entry.right);
  } else if (entry.standing == 3) {
    unneeded = 2;
  }
  return (unneeded & 2) != 0 ? 2 : unneeded;
}

bool RouteLedger::NeedsRequest(const Entry& entry) const {
  return SlotToDelete(entry) != 0 || (IsWanted(entry) && entry.right == 0);
}

// Next hops come and go one after the other, so what stands may be what is wanted again.
RouteLedger::Slots RouteLedger::FindStanding(const Entry& entry) const {
  for (const Slots slot : {Slots{1}, Slots{2}}) {
    if ((entry.standing & slot) != 0 && entry.standingHops[IndexOf(slot)] == entry.nextHops) {
      return slot;
    }
  }
  return 0;
}

void RouteLedger::SetRight(Entry& entry, Slots right) {
  if (IsWanted(entry)) {
    m_standing += right != 0 ? 1 : 0;
    m_standing -= entry.right != 0 ? 1 : 0;
  }
  entry.right = right;
}

// What a key has from an earlier comparison is no longer worth anything.
void RouteLedger::BelongToComparison(Entry& entry) const {
  if (entry.seenIn != m_comparing) {
    entry.seenIn = m_comparing;
    entry.seen = 0;
    entry.isTouched = false;
  }
}

void RouteLedger::Touch(Entry& entry) const {
  if (m_comparing != 0) {
    BelongToComparison(entry);
    entry.isTouched = true;
  }
}

// Queues what needs a request, and drops what is of no interest any more.
void RouteLedger::Schedule(Node& node) {
  Entry& entry = node.second;
  if (entry.isUnderWay) {
    return;
  }
  if (NeedsRequest(entry)) {
    if (!entry.isWaiting) {
      entry.isUnderWay = true;
      m_queue.push_back(&node);
    }
    return;
  }
  ForgetRefusal(node);
  const bool mayBeFound = m_comparing != 0 && !m_isPassOfComparison;  // though it has gone
  if (!IsWanted(entry) && entry.standing == 0 && !mayBeFound) {
    Entries& shard = ShardOf(node.first);
    shard.erase(shard.find(node.first));
  }
}

void RouteLedger::FillBatch(Batch& batch, std::size_t most) {
  for (; most > 0 && !m_queue.empty() && !batch.IsFull(); --most) {
    Node& node = *m_queue.front();
    m_queue.pop_front();
    if (NeedsRequest(node.second)) {
      HandOut(batch, node);
    } else {
      node.second.isUnderWay = false;
      Schedule(node);
    }
  }
  for (; most > 0 && !m_strays.empty() && !batch.IsFull(); --most) {
    const Stray& stray = m_strays.front();
    batch.Delete(stray.key, stray.nextHops, stray.priority, ++m_sequence);
    m_inFlight.push_back(
        {m_sequence, nullptr, !stray.key.isIp6 && stray.priority == 0, 0, true, {}});
    m_strays.pop_front();
  }
}

void RouteLedger::HandOut(Batch& batch, Node& node) {
  const Entry& entry = node.second;
  Slots slot = SlotToDelete(entry);
  const bool isDeletion = slot != 0;
  ++m_sequence;
  if (isDeletion) {
    batch.Delete(node.first, entry.standingHops[IndexOf(slot)], PriorityOf(slot), m_sequence);
  } else {
    slot = (entry.standing & 1) == 0 ? 1 : 2;
    batch.Add(node.first, entry.nextHops, PriorityOf(slot), m_sequence);
  }
  m_inFlight.push_back({m_sequence, &node, false, slot, isDeletion, entry.nextHops});
}

// Answers to requests of which nothing is known any more are passed over.
void RouteLedger::TakeAnswer(const Answer& answer) {
  if (m_inFlight.empty() || answer.sequence - m_inFlight.front().sequence >
                                m_inFlight.back().sequence - m_inFlight.front().sequence) {
    return;
  }
  while (!m_inFlight.empty()) {
    const Request request = m_inFlight.front();
    m_inFlight.pop_front();
    const bool isLast = request.sequence == answer.sequence;
    if (isLast && answer.error != 0) {
      TakeFailure(request, answer);
    } else {
      ++(request.isDeletion ? m_totals.deleted : m_totals.added);
      TakeSuccess(request);
    }
    if (isLast) {
      return;
    }
  }
}

void RouteLedger::TakeSuccess(const Request& request) {
  if (request.node == nullptr) {
    m_isInDoubt = m_isInDoubt || request.isForAny;
    return;
  }
  Entry& entry = request.node->second;
  entry.isUnderWay = false;
  Touch(entry);
  if (request.isDeletion) {
    entry.standing &= static_cast<Slots>(~request.slot);
    if (entry.right == request.slot) {
      SetRight(entry, 0);
    }
  } else {
    entry.standing |= request.slot;
    entry.standingHops[IndexOf(request.slot)] = request.nextHops;
    if (entry.nextHops == request.nextHops) {
      SetRight(entry, request.slot);
    }
  }
  ForgetRefusal(*request.node);
  Schedule(*request.node);
}

void RouteLedger::TakeFailure(const Request& request, const Answer& answer) {
  if (request.isDeletion && IsGone(answer.error)) {
    TakeSuccess(request);
    return;
  }
  ++m_totals.refused;
  if (request.node == nullptr) {
    return;  // the next comparison finds it again
  }
  Node& node = *request.node;
  node.second.isUnderWay = false;
  const Slots slotToDelete = SlotToDelete(node.second);
  const bool isStillMeant = request.isDeletion
                                ? slotToDelete == request.slot
                                : slotToDelete == 0 && node.second.nextHops == request.nextHops;
  if (isStillMeant && NeedsRequest(node.second)) {
    Refuse(node, answer, request.isDeletion);
  }
  Schedule(node);
}

void RouteLedger::Refuse(Node& node, const Answer& answer, bool isDeletion) {
  Refusal& refusal = m_refusals[node.first];
  refusal.error = answer.error;
  refusal.reason = answer.reason;
  m_refusedDeletions += isDeletion ? 1 : 0;
  m_refusedDeletions -= refusal.isOfDeletion ? 1 : 0;
  refusal.isOfDeletion = isDeletion;
  ++refusal.tries;
  refusal.nextAt = m_now() + PauseAfterTries(refusal.tries);
  m_tries.emplace(refusal.nextAt, &node);
  node.second.isRefused = true;
  node.second.isWaiting = true;
}

void RouteLedger::ForgetRefusal(Node& node) {
  if (!node.second.isRefused) {
    return;
  }
  const auto refusal = m_refusals.find(node.first);
  m_tries.erase({refusal->second.nextAt, &node});
  m_refusedDeletions -= refusal->second.isOfDeletion ? 1 : 0;
  m_refusals.erase(refusal);
  node.second.isRefused = false;
  node.second.isWaiting = false;
}

void RouteLedger::LoseAnswers() {
  for (const Request& request : std::exchange(m_inFlight, {})) {
    if (request.node != nullptr) {
      request.node->second.isUnderWay = false;
      Schedule(*request.node);
    }
  }
}

void RouteLedger::AskAgain(bool isAtOnce) {
  const std::uint64_t now = m_now();
  while (!m_tries.empty() && (isAtOnce || m_tries.begin()->first <= now)) {
    Node& node = *m_tries.begin()->second;
    m_tries.erase(m_tries.begin());
    node.second.isWaiting = false;
    Schedule(node);
  }
}

std::optional<std::uint64_t> RouteLedger::FindNextTry() const {
  return m_tries.empty() ? std::nullopt : std::optional(m_tries.begin()->first);
}

// Strays that wait are found again.
void RouteLedger::BeginComparison() {
  m_found = Comparison();
  ReadAgain();
}

void RouteLedger::ReadAgain() {
  m_lastComparing = m_lastComparing == UINT16_MAX ? std::uint16_t{1}
                                                  : static_cast<std::uint16_t>(m_lastComparing + 1);
  m_comparing = m_lastComparing;
  m_isPassOfComparison = false;
  m_strays.clear();
}

void RouteLedger::TakeFound(const FoundRoute& found) {
  if (m_comparing == 0 || found.protocol != OUR_PROTOCOL) {
    return;
  }
  const Slots slot = SlotOf(found.priority);
  if (slot == 0) {
    m_strays.push_back({found.key, found.priority, found.nextHops.value_or(NextHops())});
    m_found.NoteStray(found.key);
    return;
  }
  Node& node = *ShardOf(found.key).try_emplace(found.key).first;
  Entry& entry = node.second;
  BelongToComparison(entry);
  if (entry.isTouched) {
    return;
  }
  entry.seen |= slot;
  entry.standingHops[IndexOf(slot)] = found.nextHops.value_or(NextHops());
  if (IsWanted(entry)) {
    FindWanted(node, slot, found.nextHops == entry.nextHops && !found.hasDeadNextHop);
  } else {
    FindUnwanted(node, slot, found);
  }
  Schedule(node);
}

void RouteLedger::FindWanted(Node& node, Slots slot, bool isRight) {
  Entry& entry = node.second;
  const bool wasKnown = (entry.standing & slot) != 0;
  entry.standing |= slot;
  if (isRight && entry.right == 0) {
    SetRight(entry, slot);
  } else if (!isRight && entry.right == slot) {
    SetRight(entry, 0);
    m_found.NoteMissing(node.first);
  } else if (!wasKnown && !entry.isUnderWay) {
    m_found.NoteStray(node.first);
  }
}

void RouteLedger::FindUnwanted(Node& node, Slots slot, const FoundRoute& found) {
  Entry& entry = node.second;
  const bool wasKnown = (entry.standing & slot) != 0;
  entry.standing |= slot;
  if (!m_isLearning && !entry.isGoing) {
    entry.isGoing = true;
    m_found.NoteStray(node.first);
  }
  if (entry.right == slot && found.nextHops != entry.nextHops) {
    entry.right = 0;
  } else if (!wasKnown && entry.right == 0 && found.nextHops) {
    entry.nextHops = *found.nextHops;
    entry.right = slot;
  }
}

void RouteLedger::EndComparison() {
  m_isPassOfComparison = true;
  BeginPass();
}

void RouteLedger::DropComparison() {
  m_comparing = 0;
  m_isPassOfComparison = false;
}

RouteLedger::Entries& RouteLedger::ShardOf(const RouteKey& key) {
  return m_shards[RouteKeyHash()(key) >> (8 * sizeof(std::size_t) - SHARD_BITS)];
}

void RouteLedger::BeginPass() {
  m_isInPass = true;
  m_shard = 0;
  m_bucket = 0;
  m_buckets = m_shards[0].bucket_count();
}

bool RouteLedger::ContinuePass(std::size_t most) {
  for (; most > 0 && m_shard < SHARDS; --most) {
    VisitBucket();
  }
  m_isInPass = m_shard < SHARDS;
  if (!m_isInPass && m_isPassOfComparison) {
    m_comparison = m_found;
    m_comparison.standing = m_standing;
    m_totals.missing += m_found.missing;
    m_totals.strays += m_found.strays;
    DropComparison();
  }
  return m_isInPass;
}

// When a shard has become larger every entry may be in another bucket; to visit one twice does no
// harm.
void RouteLedger::VisitBucket() {
  Entries& shard = m_shards[m_shard];
  if (m_buckets != shard.bucket_count()) {
    m_bucket = 0;
    m_buckets = shard.bucket_count();
  }
  for (auto next = shard.begin(m_bucket); next != shard.end(m_bucket);) {
    Node& node = *next;
    ++next;  // the node may go
    Visit(node);
  }
  if (++m_bucket == m_buckets && ++m_shard < SHARDS) {
    m_bucket = 0;
    m_buckets = m_shards[m_shard].bucket_count();
  }
}

void RouteLedger::Visit(Node& node) {
  Entry& entry = node.second;
  if (m_isPassOfComparison) {
    LookForMissing(node);
  }
  if (!m_isLearning && !IsWanted(entry)) {
    entry.isGoing = true;
  }
  Schedule(node);
}

void RouteLedger::LookForMissing(Node& node) {
  Entry& entry = node.second;
  BelongToComparison(entry);
  if (!entry.isTouched) {
    const auto gone = static_cast<Slots>(entry.standing & ~entry.seen);
    entry.standing &= static_cast<Slots>(~gone);
    if ((entry.right & gone) != 0) {
      if (IsWanted(entry)) {
        m_found.NoteMissing(node.first);
      }
      SetRight(entry, 0);
    }
  }
}

}  // namespace kernel
