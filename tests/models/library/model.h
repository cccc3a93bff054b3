// The whole library once more, written literally: every list is a list, every search a walk,
// nothing is remembered that could be looked up. It shares no code with src/; of the device it uses
// the address classes' texts only.
//
// What stands where: the pipeline (serializer, scheduler, items, answers), the managers (RTM
// instances, documents, VLANs), the routers and their lists, the interface registry, the console.
// Requests are kept as values; the row that a request is for is its identifier.
#ifndef TESTS_MODELS_LIBRARY_MODEL_H
#define TESTS_MODELS_LIBRARY_MODEL_H

#include <functional>
#include <list>
#include <memory>
#include <set>
#include <utility>

#include "subject.h"

namespace library_model {

/// A configuration item of the scheduler.
struct Item {
  bool isRoute = true;
  unsigned int vlan = 0;  // of a rule: with the IPv6 bit, if it has it
  RouteRow route;         // instance unused
  RedistRow redist;
  Oid oid;
  unsigned int reason = 0;
  int state = 0;  // 0 New, 1 Issued
  unsigned int retries = 0;
  bool sentBefore = false;
};

/// A request in the serializer.
struct Action {
  std::function<void(bool shared)> issue;
  bool issued = false;
};

struct RtmRecord {
  bool ready = false;
  unsigned int dead = 60, v2in = 40, v3in = 40, v2ex = 110, v3ex = 110, ripv2 = 120, ripng = 120,
               ebgp = 200, ibgp = 20;
};

struct ModelObject {
  unsigned int vlan = 0;
  unsigned int id = 0;
  int content = 0;
  bool inMib = false;
  bool actionReq = true;
  bool destroyed = false;
};

struct ModelList {
  unsigned int table = 0;
  std::string label;
  std::string key;
  std::list<ModelObject> objects;
};

struct ModelRouter {
  int protocol = 0;
  unsigned short vlan = 0;
  int status = 0;                                       // of BGP
  std::map<std::string, bool> sources;                  // enabled, by source; not of BGP
  std::map<std::string, std::vector<ModelList>> lists;  // by source
};

struct ModelVlan {
  std::set<std::string> files;
  std::vector<ModelRouter> routers;  // by protocol type
};

struct ModelInterface {
  std::string name;
  unsigned int type = 0;
  unsigned int status = 0;
  unsigned int address = 0;
  unsigned int mask = 0;
};

class LibraryModel : public Subject {
 public:
  LibraryModel(Log& log, Counts& counts);
  void SetStack(ScriptedStack* stack) { m_stack = stack; }
  /// The items of the scheduler and the requests of the serializer.
  std::size_t GetPopulation() const;

  bool IsModel() const override { return true; }
  void Start(unsigned short defaultVlan) override;
  void Reload(const Json::Value& document, const std::string& name, int type) override;
  void DeleteOptions(const std::string& name, int type) override;
  void CreateVlan(unsigned short vid, const Json::Value& entry, int type) override;
  void DeleteVlan(unsigned short vid) override;
  void AskRoute(RouteRequest request, const Route& route, unsigned int metric, int type,
                int adminStatus) override;
  void ChangeRedistribution(unsigned short vlan, unsigned int source, unsigned int destination,
                            bool was, bool is) override;
  void ResetScheduler() override;
  void ResetSerializer() override;
  void Interface(InterfaceEvent event, unsigned short vlan, unsigned int ifIndex, const char* name,
                 unsigned int type, unsigned int flags, unsigned int extra,
                 unsigned int status) override;
  void Address4(AddressEvent event, unsigned short vlan, unsigned int ifIndex,
                const unsigned char* address, const unsigned char* mask) override;
  void Address6(AddressEvent event, unsigned short vlan, unsigned int ifIndex,
                const unsigned char* address, unsigned int prefixLen) override;
  void SetPrimary(unsigned short vlan, const char* name) override;
  void Network(NetworkEvent event, unsigned short vlan, unsigned int ifIndex,
               unsigned int value) override;
  void SetBgpStatus(unsigned short vlan, int status) override;
  void SetRouterReady(unsigned short vlan, int protocol, bool ready) override;
  void SetRefusing(bool refusing) override { m_refusing = refusing; }
  void Query(unsigned short vlan, unsigned int ifIndex, const char* name) override;
  void Console(Command command, unsigned short vlan,
               const std::vector<std::string>& words) override;
  void RunStackNow() override;
  void Advance(unsigned int milliseconds) override;

  void SetRouteState(const RouteRow& row, unsigned int status) override;
  void SetRedistState(const RedistRow& row, unsigned int status) override;
  void SetRtmReady(unsigned int instance) override;
  int I3Ready() override;
  void RunPendingAction(const Oid& oid) override;
  void Reschedule() override;
  void AskAgain(const RouteRow& row) override;
  void PassNow() override;

 private:
  using Key = std::pair<unsigned int, unsigned int>;  // instance, row type
  using Items = std::list<std::shared_ptr<Item>>;
  struct InterfaceCommand;
  struct RtmCommand;

  void Trace(int level, const std::string& text) { m_log.Trace(level, text); }
  void Count(const char* what) { ++m_counts[what]; }

  // The serializer.
  void SerializerInsert(const Oid& oid, std::function<void(bool)> issue);
  bool SerializerSend(const Oid& oid);
  void SerializerRemove(const Oid& oid);
  bool IssueFront(std::list<Action>& queue, bool shared);

  // The scheduler.
  void SchedInsert(Key key, std::shared_ptr<Item> item);
  void SchedPass();
  bool SchedWalk(Items& items, unsigned int& examined);
  void SchedUnlink(Items& items, Items::iterator position);
  void SchedUpdate(Key key, const Oid& oid, unsigned int status, bool retry);
  void SchedRemove(Key key, const Oid& oid, unsigned int status);
  bool ListReady(const Item& item) const;
  bool ItemReady(const Item& item) const;
  bool RemoveOnNotReady(const Item& item) const;
  void SendItem(Item& item);
  std::string ItemText(const Item& item) const;
  void PutRoute(unsigned int vlan, const RouteRow& row);
  void Redistribute(int rowStatus, int adminStatus, unsigned int source, unsigned int destination,
                    unsigned int vlan);

  // RTM instances.
  static RtmRecord ReadRtm(const Json::Value& entry);
  void UpdateRtmConfig(unsigned short vid, const Json::Value& entry, int type);
  void CreateRtm(unsigned short vid, bool ipv6, const RtmRecord& data);
  void DeleteRtm(unsigned short vid, bool ipv6);
  void DeleteRtmConfig(unsigned short vid);
  const RtmRecord* FindRtm(unsigned int instance) const;

  // VLANs and routers.
  bool MakeVlan(unsigned short vid, const Json::Value& entry, int type);
  void RemoveVlan(unsigned short vid);
  bool Withdraw(unsigned short vid, const std::string& name, int type);
  void RouterReload(ModelRouter& router, const Json::Value& entry, const std::string& name,
                    int type);
  void RouterDeleteOptions(ModelRouter& router, const std::string& name, int type);
  bool RouterEnabled(const ModelRouter& router) const;
  bool RouterReady(const ModelRouter& router) const;
  void ListParse(ModelList& list, ModelRouter& router, const Json::Value& member);
  void ListCommit(ModelList& list);
  bool CommitObject(ModelList& list, ModelObject& object);

  // Interfaces.
  void InterfaceRows(unsigned short vlan, unsigned int ifIndex, const char* name, int rowStatus,
                     unsigned int operStatus, unsigned int flags, unsigned int extra);
  void AddressRow4(unsigned short vlan, unsigned int ifIndex, unsigned int address,
                   unsigned int mask, int rowStatus);
  void AddressChanged(unsigned short vlan, unsigned int ifIndex, unsigned int address);
  std::string IfName(unsigned short vlan, unsigned int ifIndex) const;

  // The console.
  void IpProtocol(int console, unsigned short vlan, std::vector<std::string> words);
  void Ip6Protocol(int console, unsigned short vlan, std::vector<std::string> words);
  void Summary(int console, bool ipv6);
  void Ips(int console, std::vector<std::string> words);
  bool RunRtm(int console, unsigned short vlan, bool rib, bool ipv6,
              std::vector<std::string> words);
  void PrintError(int console, unsigned int result);
  void Print(int console, const std::string& text) { m_log.Console(console, "out", text); }
  void DestroyConsole(int console);
  void EndConsole(int console);

  // Time.
  void StartSchedulerTimer(unsigned int milliseconds);

  Log& m_log;
  Counts& m_counts;
  ScriptedStack* m_stack = nullptr;

  std::map<Oid, std::list<Action>> m_queues;
  std::vector<Oid> m_arrival;
  bool m_stackReady = false;

  std::map<Key, std::shared_ptr<Items>> m_buckets;
  Key m_resume = {1, 0};
  struct Cursor {
    Items* items;
    Items::iterator position;
    bool moved;
  };
  std::vector<Cursor*> m_cursors;
  int m_sending = 0;

  std::map<unsigned short, RtmRecord> m_rtm;
  std::map<unsigned short, std::unique_ptr<ModelVlan>> m_vlans;
  std::map<std::string, std::set<unsigned short>> m_files;
  std::set<std::pair<unsigned short, int>> m_notReady;
  std::set<unsigned short> m_deletedVlans;
  bool m_refusing = false;

  std::map<std::pair<unsigned short, unsigned int>, ModelInterface> m_interfaces;
  std::map<std::string, unsigned int> m_names;
  std::map<unsigned short, std::string> m_primary;

  std::set<int> m_ownedConsoles;
  std::set<int> m_destroyedConsoles;
  int m_consoles = 0;

  unsigned long long m_now = 0;
  unsigned long long m_starts = 0;
  struct Timer {
    bool running = false;
    unsigned long long deadline = 0;
    unsigned long long number = 0;
  };
  Timer m_schedTimer;  // of the stack
  Timer m_cfgTimer;    // of the items
  bool m_rescheduled = false;
};

}  // namespace library_model

#endif
