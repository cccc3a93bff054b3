// The request serializer as it is described, word by word: a map of lists, and a list of arrivals
// that only ever grows.
#ifndef TESTS_MODELS_SERIALIZER_MODEL_H
#define TESTS_MODELS_SERIALIZER_MODEL_H

#include <algorithm>
#include <list>
#include <map>
#include <vector>

#include "tests/models/random_run.h"
#include "vantacore/mib_action.h"
#include "vantacore/mib_oid.h"

namespace test_models {

/// Has the operations of Serializer and counts what makes them hard. Of what the description leaves
/// open it chooses: an issued request is marked, and the ready signal walks the arrivals as they
/// were when it came.
class SerializerModel {
 public:
  explicit SerializerModel(Occurrences& occurrences) : m_count(occurrences), m_ready(false) {}
  SerializerModel(const SerializerModel&) = delete;
  SerializerModel& operator=(const SerializerModel&) = delete;

  bool IsReady() const { return m_ready; }

  bool IssueMibRequest(Tarsel::MibAction* action, bool shared) {
    if (action == nullptr || !m_ready) {
      return false;
    }
    action->IssueReq(shared);
    delete action;
    return true;
  }

  void Insert(Tarsel::MibOid oid, Tarsel::MibAction* action) {
    if (m_queues.count(oid) == 0) {
      m_queues[oid];
      m_arrivals.push_back(oid);
    }
    if (action == nullptr) {
      return;
    }
    std::list<Entry>& queue = m_queues[oid];
    const bool wasEmpty = queue.empty();
    queue.push_back({action, false});
    if (wasEmpty) {
      IssueFront(queue, false);
    }
  }

  int Send(Tarsel::MibOid oid) {
    const auto queue = m_queues.find(oid);
    if (queue == m_queues.end() || queue->second.empty()) {
      return 0;
    }
    return IssueFront(queue->second, true);
  }

  void Remove(Tarsel::MibOid oid) {
    const auto queue = m_queues.find(oid);
    if (queue == m_queues.end()) {
      m_count("a completion of a row that is not busy");
      return;
    }
    if (!queue->second.empty()) {
      if (!queue->second.front().issued) {
        m_count("a completion of a request that was not issued");
      }
      queue->second.pop_front();
    }
    if (!queue->second.empty()) {
      return;
    }
    m_queues.erase(queue);
    if (std::count(m_arrivals.begin(), m_arrivals.end(), oid) > 0 && !(m_arrivals.back() == oid)) {
      m_count("arrivals that move forward");
    }
    // The new end is not used: the places behind it stay.
    (void)std::remove(m_arrivals.begin(), m_arrivals.end(), oid);
  }

  int RunPendingAction(unsigned int* oid, unsigned int len) {
    Tarsel::MibOid row(oid, len);
    Remove(row);
    return Send(row);
  }

  int RunPendingActions() {
    if (m_ready) {
      m_count("a repeated ready signal");
    }
    m_ready = true;
    const std::vector<Tarsel::MibOid> arrivals(m_arrivals.begin(), m_arrivals.end());
    int result = 0;
    for (const Tarsel::MibOid& oid : arrivals) {
      result = Send(oid);
    }
    return result;
  }

  void Reset() {
    m_queues.clear();
    m_arrivals.clear();
  }

 private:
  struct Entry {
    Tarsel::MibAction* action;
    bool issued;
  };

  int IssueFront(std::list<Entry>& queue, bool shared) {
    Entry& front = queue.front();
    if (!m_ready || front.issued) {
      return 0;
    }
    Tarsel::MibAction* action = front.action;
    front.issued = true;
    return IssueMibRequest(action, shared) ? 1 : 0;
  }

  Occurrences& m_count;
  std::map<Tarsel::MibOid, std::list<Entry>, Tarsel::OidCompare> m_queues;
  std::vector<Tarsel::MibOid> m_arrivals;
  bool m_ready;
};

}  // namespace test_models

#endif
