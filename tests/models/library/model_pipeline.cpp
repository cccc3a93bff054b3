// The pipeline of the model: the serializer, the scheduler and its items, and the stack's answers.
#include <cstring>

#include "model.h"
#include "tarsel/address.h"

namespace library_model {

namespace {

constexpr unsigned int ROUTES = 0x3D000003;
constexpr unsigned int RULES = 0x3D000002;

std::string AddressText(const unsigned char* bytes, int type) {
  return type == 1 ? Tarsel::Ip4Addr::FromBytes(bytes).ToString().c_str()
                   : Tarsel::Ip6Addr::FromBytes(bytes).ToString().c_str();
}

unsigned int InstanceOf(unsigned int vlan, int type) {
  const unsigned int low = vlan & 0xffffu;
  return type == 1 ? low : low | 0x8000u;
}

const char* StateText(int state) { return state == 0 ? "New" : state == 1 ? "Issued" : "Invalid"; }

}  // namespace

// --- the serializer ---

bool LibraryModel::IssueFront(std::list<Action>& queue, bool shared) {
  if (!m_stackReady) {
    Count("a request waits for the ready signal");
    return false;
  }
  if (queue.front().issued) {
    Count("a request in flight is not issued again");
    return false;
  }
  queue.front().issued = true;
  const auto issue = queue.front().issue;
  issue(shared);
  return true;
}

void LibraryModel::SerializerInsert(const Oid& oid, std::function<void(bool)> issue) {
  if (m_queues.count(oid) == 0) {
    m_queues[oid];
    m_arrival.push_back(oid);
  }
  std::list<Action>& queue = m_queues[oid];
  const bool wasEmpty = queue.empty();
  queue.push_back({std::move(issue), false});
  if (wasEmpty) {
    IssueFront(queue, false);
  } else {
    Count("a request waits behind one in flight");
    if (queue.size() > 3) {
      Count("a queue of four requests for one row");
    }
  }
}

bool LibraryModel::SerializerSend(const Oid& oid) {
  const auto found = m_queues.find(oid);
  if (found == m_queues.end() || found->second.empty()) {
    return false;
  }
  return IssueFront(found->second, true);
}

void LibraryModel::SerializerRemove(const Oid& oid) {
  const auto found = m_queues.find(oid);
  if (found == m_queues.end()) {
    Count("a completion for an idle row");
    return;
  }
  if (!found->second.empty()) {
    if (!found->second.front().issued) {
      Count("a request is dropped before it was issued");
    }
    found->second.pop_front();
    if (!found->second.empty()) {
      return;
    }
  }
  m_queues.erase(found);
  // The list keeps its length: what is left over at its end are copies.
  std::size_t kept = 0;
  while (kept < m_arrival.size() && m_arrival[kept] != oid) {
    ++kept;
  }
  for (std::size_t i = kept + 1; i < m_arrival.size(); ++i) {
    if (m_arrival[i] != oid) {
      m_arrival[kept++] = m_arrival[i];
    }
  }
}

void LibraryModel::RunPendingAction(const Oid& oid) {
  SerializerRemove(oid);
  if (SerializerSend(oid)) {
    Count("a waiting request is released");
  }
}

int LibraryModel::I3Ready() {
  Count(m_stackReady ? "the ready signal comes again" : "the ready signal comes");
  m_stackReady = true;
  bool result = false;
  const std::vector<Oid> walked = m_arrival;
  for (const Oid& oid : walked) {
    result = SerializerSend(oid);
    if (result) {
      Count("a row of the backlog is released");
    }
  }
  m_log.Add("ready signal %d", result ? 1 : 0);
  return result ? 1 : 0;
}

std::size_t LibraryModel::GetPopulation() const {
  std::size_t population = 0;
  for (const auto& queue : m_queues) {
    population += queue.second.size();
  }
  for (const auto& bucket : m_buckets) {
    population += bucket.second->size();
  }
  return population;
}

// --- items ---

bool LibraryModel::ListReady(const Item& item) const {
  const RtmRecord* record =
      FindRtm(item.isRoute ? InstanceOf(item.vlan, item.route.type) : item.vlan & 0xffffu);
  return record != nullptr && record->ready;
}

bool LibraryModel::ItemReady(const Item& item) const {
  if (item.isRoute) {
    return ListReady(item);
  }
  const bool ipv6 = (item.vlan & 0x8000u) != 0;
  int protocol = 0;
  if (item.redist.destination == 0xD0000) {
    protocol = ipv6 ? 2 : 1;
  } else if (item.redist.destination == 0x80000) {
    protocol = ipv6 ? 4 : 3;
  }
  const auto vlan = m_vlans.find(static_cast<unsigned short>(item.vlan & 0x7fffu));
  return vlan != m_vlans.end() &&
         RouterReady(vlan->second->routers[static_cast<std::size_t>(protocol)]);
}

bool LibraryModel::RemoveOnNotReady(const Item& item) const {
  return !item.isRoute && FindRtm(item.vlan & 0xffffu) != nullptr;
}

void LibraryModel::SendItem(Item& item) {
  if (item.isRoute) {
    RouteRow row = item.route;
    row.instance = InstanceOf(item.vlan, row.type);
    row.metric = row.metric & 0xffff;
    const unsigned int vlan = item.vlan;
    SerializerInsert(item.oid, [this, row, vlan](bool shared) {
      Trace(5, Text("Vlan = %d if_index = %u ipaddr = %s/%u gw = %s metric = %d path_type = %d row "
                    "status = %d admin_status = %d\n",
                    static_cast<int>(vlan), row.ifIndex, AddressText(row.dest, row.type).c_str(),
                    row.prefixLen, AddressText(row.nexthop, row.type).c_str(), row.metric,
                    row.pathType, row.rowStatus, row.adminStatus));
      m_stack->UpdateRoute(shared ? 0 : 1, row);
    });
  } else {
    const RedistRow row = item.redist;
    SerializerInsert(item.oid, [this, row](bool shared) {
      Trace(5, Text("Redist context = %d vlan = %u dest = 0x0x%x src = 0x0x%x pri = 0x(nil) "
                    "row_status = %d admin_status = %d\n",
                    shared, row.vlan, static_cast<unsigned>(row.destination),
                    static_cast<unsigned>(row.source), row.rowStatus, row.adminStatus));
      m_stack->ActRedist(shared, row, 0);
    });
  }
  if (item.sentBefore) {
    Count("an item is sent again");
  }
  item.sentBefore = true;
  item.state = 1;
}

std::string LibraryModel::ItemText(const Item& item) const {
  if (item.isRoute) {
    return Text(
        "StaticRouteItem: vrf(%d) Dest(%s/%d) NextHop(%s) Intf(%d) metric(%d) Type(%s) "
        "RowStatus(%d) AdminStatus(%d) ActionState(%s) ReasonCode(%d)\n",
        static_cast<int>(item.vlan), AddressText(item.route.dest, item.route.type).c_str(),
        static_cast<int>(item.route.prefixLen),
        AddressText(item.route.nexthop, item.route.type).c_str(),
        static_cast<int>(item.route.ifIndex), item.route.metric,
        item.route.pathType == 0x30000 ? "Static" : "Other", item.route.rowStatus,
        item.route.adminStatus, StateText(item.state), static_cast<int>(item.reason));
  }
  return Text(
      "RedistItem: Instance(%d) Dest(0x%x) Src(0x%x) Priority(0x%x) RowStatus(%d) "
      "AdminStatus(%d) ActionState(%s) ReasonCode(%d)\n",
      static_cast<int>(item.vlan), static_cast<unsigned>(item.redist.destination),
      static_cast<unsigned>(item.redist.source), 0u, item.redist.rowStatus, item.redist.adminStatus,
      StateText(item.state), static_cast<int>(item.reason));
}

// --- the scheduler ---

void LibraryModel::SchedInsert(Key key, std::shared_ptr<Item> item) {
  std::shared_ptr<Items>& bucket = m_buckets[key];
  if (bucket == nullptr) {
    bucket = std::make_shared<Items>();
  }
  Items& items = *bucket;
  auto match = items.end();
  for (auto position = items.begin(); position != items.end(); ++position) {
    if ((*position)->oid == item->oid) {
      match = position;  // the last one counts
    }
  }
  if (match == items.end()) {
    items.push_back(item);
  } else {
    const Item& old = **match;
    Count(match == items.begin() ? "a front item is replaced"
                                 : "an item in the middle is replaced");
    if (old.state == 1) {
      Count("an item in flight is replaced");
      const int oldStatus = old.isRoute ? old.route.rowStatus : old.redist.rowStatus;
      const int newStatus = item->isRoute ? item->route.rowStatus : item->redist.rowStatus;
      if (oldStatus == 6 && newStatus != 6) {
        Count("a row is asked for again while it is being destroyed");
      } else if (oldStatus != 6 && newStatus == 6) {
        Count("a row is destroyed while it is in flight");
      }
    }
    const bool front = match == items.begin();
    Trace(5, front ? "REPLACED ------- 2 item.............\n"
                   : "REPLACED ------- 1 item.............\n");
    const auto place = front ? std::next(match) : std::prev(match);
    SchedUnlink(items, match);
    items.insert(place, item);
  }
  if (!m_cfgTimer.running) {
    m_cfgTimer = {true, m_now + 100, m_starts++};
  }
}

void LibraryModel::SchedUnlink(Items& items, Items::iterator position) {
  for (Cursor* cursor : m_cursors) {
    if (cursor->items == &items && cursor->position == position) {
      cursor->position = std::next(position);
      cursor->moved = true;
    }
  }
  items.erase(position);
}

void LibraryModel::SchedPass() {
  if (m_buckets.empty()) {
    m_resume = {1, 0};
    return;
  }
  auto bucket = m_buckets.find(m_resume);
  if (bucket == m_buckets.end()) {
    if (m_resume != Key(1, 0)) {
      Count("the bucket to resume with is gone");
    }
    bucket = m_buckets.begin();
  } else if (bucket != m_buckets.begin()) {
    Count("a pass resumes at a later bucket");
  }
  unsigned int examined = 0;
  while (bucket != m_buckets.end()) {
    const Key key = bucket->first;
    const auto next = std::next(bucket);
    const bool isLast = next == m_buckets.end();
    const Key following = isLast ? Key(1, 0) : next->first;
    const std::shared_ptr<Items> items = bucket->second;  // it may go while it is walked
    if (!SchedWalk(*items, examined)) {
      Count("a pass stops at its limit");
      m_resume = following;
      return;
    }
    bucket = m_buckets.find(key);
    if (bucket != m_buckets.end() && bucket->second->empty()) {
      Count("a pass empties a bucket");
      m_buckets.erase(bucket);
    }
    bucket = isLast ? m_buckets.end() : m_buckets.lower_bound(following);
  }
  m_resume = {1, 0};
}

bool LibraryModel::SchedWalk(Items& items, unsigned int& examined) {
  Cursor cursor = {&items, items.begin(), false};
  m_cursors.push_back(&cursor);
  bool goesOn = true;
  while (goesOn && cursor.position != items.end()) {
    cursor.moved = false;
    const std::shared_ptr<Item> item = *cursor.position;
    if (!ListReady(*item)) {
      Count(item->state == 1 ? "an item in flight blocks its bucket" : "a bucket is not ready");
      break;
    }
    if (item->state == 0) {
      ++examined;
      if (ItemReady(*item)) {
        Trace(5, "OnTIMEOUT Sending MIB ACTION\n");
        ++m_sending;
        SendItem(*item);
        --m_sending;
      } else if (RemoveOnNotReady(*item)) {
        Count("an item is dropped as not ready");
        SchedUnlink(items, cursor.position);
      }
    }
    if (!cursor.moved) {
      ++cursor.position;
    }
    goesOn = examined <= 30;
  }
  m_cursors.pop_back();
  return goesOn;
}

void LibraryModel::SchedUpdate(Key key, const Oid& oid, unsigned int status, bool retry) {
  const auto bucket = m_buckets.find(key);
  if (bucket == m_buckets.end()) {
    Count("an answer to a bucket that is gone");
    return;
  }
  for (const auto& item : *bucket->second) {
    if (item->oid == oid && item->state == 1) {
      item->reason = status;
      if (status != 1) {
        ++item->retries;
      }
      if (item->retries > 9) {
        Count("an item is out of retries");
      } else if (!retry) {
        Count("an item is given up");
      } else {
        Count("an item is tried again");
        item->state = 0;
      }
      return;
    }
  }
  Count(m_sending > 0 ? "a failure is reported from inside the pass" : "a failure finds no item");
}

void LibraryModel::SchedRemove(Key key, const Oid& oid, unsigned int) {
  const auto bucket = m_buckets.find(key);
  if (bucket == m_buckets.end()) {
    Count("an answer to a bucket that is gone");
    return;
  }
  Items& items = *bucket->second;
  for (auto position = items.begin(); position != items.end(); ++position) {
    if ((*position)->oid == oid) {
      if ((*position)->state == 1) {
        Trace(5, "Removing the handle\n");
        const auto queue = m_queues.find(oid);
        if (queue != m_queues.end() && queue->second.size() > 1) {
          Count("an older answer removes a newer item");
        }
        SchedUnlink(items, position);
      } else {
        Count("a success for an item that is not in flight");
      }
      break;
    }
  }
  if (items.empty()) {
    m_buckets.erase(bucket);
  }
}

void LibraryModel::ResetSerializer() {
  if (!m_queues.empty()) {
    Count("the serializer forgets its queues");
  }
  m_queues.clear();
  m_arrival.clear();
}

void LibraryModel::PassNow() {
  if (!m_cursors.empty()) {
    Count("a pass is made from inside a pass");
  }
  SchedPass();
}

void LibraryModel::ResetScheduler() {
  for (auto& bucket : m_buckets) {
    for (auto& item : *bucket.second) {
      item->reason = 0;
      item->state = 0;
      item->retries = 0;
    }
  }
}

// --- requests and answers ---

void LibraryModel::PutRoute(unsigned int vlan, const RouteRow& row) {
  auto item = std::make_shared<Item>();
  item->vlan = vlan;
  item->route = row;
  item->oid = RouteOid(InstanceOf(vlan, row.type), row.type, row.dest, row.prefixLen, row.nexthop,
                       row.ifIndex);
  SchedInsert({vlan, ROUTES}, item);
}

void LibraryModel::AskRoute(RouteRequest request, const Route& route, unsigned int metric, int type,
                            int adminStatus) {
  RouteRow row;
  row.type = route.ipv6 ? 2 : 1;
  std::memcpy(row.dest, route.dest, route.ipv6 ? 16 : 4);
  std::memcpy(row.nexthop, route.nexthop, route.ipv6 ? 16 : 4);
  if (route.ipv6 && request == ADD_ROUTE) {
    row.dest[15] = static_cast<unsigned char>(row.dest[15] ^ route.hostBits);
  }
  row.prefixLen = route.prefixLen;
  row.ifIndex = route.ifIndex;
  row.metric = request == ADD_ROUTE ? static_cast<int>(metric & 0xffffu) : 0;
  row.pathType = request == ADD_ROUTE ? type : 0;
  row.rowStatus = request == REMOVE_ROUTE ? 6 : 1;
  row.adminStatus = request == ADD_ROUTE ? adminStatus : request == ENABLE_ROUTE ? 1 : 2;
  PutRoute(route.vlan, row);
}

void LibraryModel::AskAgain(const RouteRow& row) {
  if (m_sending > 0) {
    Count("a row is asked for again from inside its own sending");
  }
  RouteRow again = row;
  again.metric = 7;
  again.pathType = 0x30000;
  again.rowStatus = 1;
  again.adminStatus = 1;
  PutRoute(row.instance & 0x7fffu, again);
}

void LibraryModel::Redistribute(int rowStatus, int adminStatus, unsigned int source,
                                unsigned int destination, unsigned int vlan) {
  auto item = std::make_shared<Item>();
  item->isRoute = false;
  item->vlan = vlan;
  item->redist = {rowStatus, adminStatus, static_cast<int>(source), static_cast<int>(destination),
                  vlan};
  item->oid = RedistOid(vlan, source, destination);
  SchedInsert({vlan, RULES}, item);
}

void LibraryModel::ChangeRedistribution(unsigned short vlan, unsigned int source,
                                        unsigned int destination, bool was, bool is) {
  if (was != is) {
    Redistribute(is ? 1 : 6, is ? 1 : 2, source, destination, vlan);
  }
}

void LibraryModel::SetRouteState(const RouteRow& row, unsigned int status) {
  const unsigned int vlan = row.instance & 0x7fffu;
  if (m_vlans.count(static_cast<unsigned short>(vlan)) == 0) {
    Count("an answer comes after its VLAN is gone");
  }
  Trace(10, Text("Route Update Response from Metaswitch: vlan = %u, dest= %s/%u nexthop: %s\n",
                 vlan, AddressText(row.dest, row.type).c_str(), row.prefixLen,
                 AddressText(row.nexthop, row.type).c_str()));
  const Oid oid = RouteOid(InstanceOf(vlan, row.type), row.type, row.dest, row.prefixLen,
                           row.nexthop, row.ifIndex);
  if (status == 1 || (status == 6 && row.rowStatus == 6)) {
    Trace(10, "Route Programmed Successfully\n");
    SchedRemove({vlan, ROUTES}, oid, status);
  } else if (status == 5 || row.rowStatus == 6) {
    Trace(10, "Route Not programmed!!! Retrying...\n");
    SchedUpdate({vlan, ROUTES}, oid, status, true);
  } else {
    Trace(10, "Unable to set route. No retry!!!\n");
    SchedUpdate({vlan, ROUTES}, oid, status, false);
  }
}

void LibraryModel::SetRedistState(const RedistRow& row, unsigned int status) {
  const unsigned int vlan = row.vlan & 0xffffu;
  Trace(10, Text("Redistribution Response from Metaswitch: vlan=%u src=%u dst=%u status=%u\n", vlan,
                 static_cast<unsigned>(row.source), static_cast<unsigned>(row.destination),
                 static_cast<unsigned>(row.rowStatus)));
  const Oid oid = RedistOid(vlan, static_cast<unsigned int>(row.source),
                            static_cast<unsigned int>(row.destination));
  if (status == 1 || (status == 6 && row.rowStatus == 6)) {
    Trace(10, "Redistribution Request Success\n");
    SchedRemove({vlan, RULES}, oid, status);
  } else if (status == 5 || row.rowStatus == 6) {
    Trace(10, "Redistribution Request Not success!! Retrying...\n");
    SchedUpdate({vlan, RULES}, oid, status, true);
  } else {
    Trace(10, "Unable to set redistribution. No retry!!!\n");
    SchedUpdate({vlan, RULES}, oid, status, false);
  }
}

// --- time ---

void LibraryModel::StartSchedulerTimer(unsigned int milliseconds) {
  Trace(10, Text("Starting Scheduler Timer for %u ms\n", milliseconds));
  m_schedTimer = {true, m_now + milliseconds, m_starts++};
}

void LibraryModel::Reschedule() {
  Trace(10, "Rescheduling Metaswitch\n");
  if (!m_rescheduled) {
    m_rescheduled = true;
    StartSchedulerTimer(5);
  } else {
    Count("a run is asked for while one is pending");
  }
}

void LibraryModel::RunStackNow() {
  Trace(10, "Scheduling Metaswitch\n");
  m_stack->Run();
}

void LibraryModel::Advance(unsigned int milliseconds) {
  const unsigned long long target = m_now + milliseconds;
  for (;;) {
    Timer* due = nullptr;
    for (Timer* timer : {&m_schedTimer, &m_cfgTimer}) {
      if (timer->running && timer->deadline <= target &&
          (due == nullptr || timer->deadline < due->deadline ||
           (timer->deadline == due->deadline && timer->number < due->number))) {
        due = timer;
      }
    }
    if (due == nullptr) {
      break;
    }
    m_now = due->deadline;
    if (due == &m_cfgTimer) {
      m_cfgTimer.deadline += 100;
      SchedPass();
      continue;
    }
    m_schedTimer.running = false;
    Trace(10, "Scheduling Timer Expired!!! Scheduling Metaswitch\n");
    m_rescheduled = false;
    const int wish = m_stack->Run();
    if (m_rescheduled) {
      Trace(10,
            "No starting next scheduler timer !!! since Metaswitch restarted it for some "
            "action\n");
    } else {
      StartSchedulerTimer(wish < 0 ? 100 : wish < 10 ? 10 : static_cast<unsigned int>(wish));
    }
  }
  m_now = target;
}

}  // namespace library_model
