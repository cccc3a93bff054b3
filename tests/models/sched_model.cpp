#include "tests/models/sched_model.h"

#include <iterator>

#include "host/dc_console.h"

namespace test_models {

using Tarsel::CfgItem;
using Tarsel::CfgKey;

SchedModel::SchedModel(std::vector<std::string>& log, Occurrences& occurrences)
    : m_log(log), m_count(occurrences), m_resume{1, 0}, m_running(false) {}

SchedModel::~SchedModel() {
  Reset();
  for (auto& bucket : m_buckets) {
    for (CfgItem* item : bucket.second) {
      delete item;
    }
  }
}

SchedModel::List::iterator SchedModel::FindFromBack(List& list, CfgItem* item) {
  if (list.empty()) {
    return list.end();
  }
  for (auto position = std::prev(list.end()); position != list.begin(); --position) {
    if ((*position)->GetOid() == item->GetOid()) {
      return position;
    }
  }
  return list.front()->GetOid() == item->GetOid() ? list.begin() : list.end();
}

bool SchedModel::Replace(List& list, List::iterator old, CfgItem* item) {
  if (!item->Replace(*old)) {
    m_count("Replace refused");
    return false;
  }
  if (old == list.begin()) {
    m_count("front replacement");
    Trace("REPLACED ------- 2 item.............\n");
    delete *old;
    list.erase(old);
    list.push_front(item);
    return true;
  }
  m_count("middle replacement");
  Trace("REPLACED ------- 1 item.............\n");
  const auto before = std::prev(old);
  delete *old;
  list.erase(old);
  list.insert(before, item);
  return true;
}

void SchedModel::Insert(CfgKey key, CfgItem* item) {
  if (item == nullptr) {
    return;
  }
  List& list = m_buckets[key];
  const auto match = FindFromBack(list, item);
  if (match == list.end() || !Replace(list, match, item)) {
    list.push_back(item);
  }
  m_running = true;
}

// False when the whole pass ends here.
bool SchedModel::WalkList(List& list, unsigned char& counter) {
  for (auto position = list.begin(); position != list.end();) {
    CfgItem* item = *position;
    const bool isNew = item->GetActionState() == CfgItem::NEW;
    if (!item->CfgListReady()) {
      m_count(isNew ? "a bucket that is not ready" : "an issued item that blocks");
      return true;
    }
    auto next = std::next(position);
    if (isNew) {
      ++counter;
      if (item->CfgItemReady()) {
        Trace("OnTIMEOUT Sending MIB ACTION\n");
        item->Send();
      } else if (item->RemoveOnNotReady()) {
        m_count("an item dropped as not ready");
        delete item;
        list.erase(position);
      }
    }
    if (counter > 30) {
      m_count("the limit of 31");
      if (list.empty()) {
        m_count("an empty bucket left behind");
      }
      return false;
    }
    position = next;
  }
  return true;
}

void SchedModel::OnTimeout() {
  auto bucket = m_buckets.find(m_resume);
  if (bucket == m_buckets.end()) {
    if (m_resume.instance != 1 || m_resume.rowType != 0) {
      m_count("a resume key whose bucket is gone");
    }
    bucket = m_buckets.begin();
  }
  unsigned char counter = 0;
  while (bucket != m_buckets.end()) {
    const auto following = std::next(bucket);
    if (!WalkList(bucket->second, counter)) {
      m_resume = following != m_buckets.end() ? following->first : CfgKey{1, 0};
      return;
    }
    if (bucket->second.empty()) {
      m_buckets.erase(bucket);
    }
    bucket = following;
  }
  m_resume = {1, 0};
}

void SchedModel::Update(CfgKey key, CfgItem* item, unsigned int status, bool retry) {
  const auto bucket = m_buckets.find(key);
  if (item == nullptr || bucket == m_buckets.end()) {
    return;
  }
  for (CfgItem* entry : bucket->second) {
    if (entry->GetOid() == item->GetOid() && entry->GetActionState() == CfgItem::ISSUED) {
      entry->SetReasonCode(status);
      if (status != 1) {
        entry->SetRetryCount(entry->GetRetryCount() + 1);
      }
      if (entry->GetRetryCount() > 9) {
        m_count("an item out of retries");
      } else if (retry) {
        entry->SetActionState(CfgItem::NEW);
      }
      return;
    }
  }
}

void SchedModel::Remove(CfgKey key, CfgItem* item, unsigned int status) {
  const auto bucket = m_buckets.find(key);
  if (bucket == m_buckets.end()) {
    return;
  }
  List& list = bucket->second;
  for (auto position = list.begin(); position != list.end(); ++position) {
    CfgItem* entry = *position;
    if (entry->GetOid() == item->GetOid()) {
      entry->SetInMib(true, status);
      if (entry->GetActionState() == CfgItem::ISSUED) {
        Trace("Removing the handle\n");
        delete entry;
        list.erase(position);
      } else {
        m_count("an answer to a New item");
      }
      break;
    }
  }
  if (list.empty()) {
    m_buckets.erase(bucket);
  }
}

void SchedModel::Reset() {
  for (auto& bucket : m_buckets) {
    for (CfgItem* item : bucket.second) {
      item->SetReasonCode(0);
      item->SetActionState(CfgItem::NEW);
      item->SetRetryCount(0);
    }
  }
}

int SchedModel::RouteMapInFlight(CfgKey key, unsigned int a, unsigned int b) {
  for (CfgItem* item : ItemsOf(key)) {
    if (item->GetActionState() == CfgItem::ISSUED && item->IsInFlight(a, b)) {
      return 1;
    }
  }
  return 0;
}

void SchedModel::Print(Tarsel::DcConsole* console) {
  unsigned int number = 0;
  for (const auto& bucket : m_buckets) {
    for (CfgItem* item : bucket.second) {
      console->Print("==== Item %u ====\n", number);
      ++number;
      item->PrintItem(console);
      console->Print("\n");
    }
  }
}

void SchedModel::PrintSummary(Tarsel::DcConsole* console) {
  console->Print("Pending Item Buckets: %lu\n", static_cast<unsigned long>(m_buckets.size()));
}

std::vector<CfgItem*> SchedModel::ItemsOf(CfgKey key) const {
  const auto bucket = m_buckets.find(key);
  if (bucket == m_buckets.end()) {
    return {};
  }
  return {bucket->second.begin(), bucket->second.end()};
}

}  // namespace test_models
