// The library itself as the subject of a run, on a scripted stack and with scripted routers.
#ifndef TESTS_MODELS_LIBRARY_LIBRARY_SUBJECT_H
#define TESTS_MODELS_LIBRARY_LIBRARY_SUBJECT_H

#include <set>
#include <utility>

#include "device/base/timer_loop.h"
#include "subject.h"

namespace library_model {

/// What the C functions and the scripted routers reach. One process has one.
struct Surroundings {
  Log* log = nullptr;
  ScriptedStack* stack = nullptr;
  std::set<std::pair<unsigned short, int>> notReady;  // VLAN and protocol
  bool refusing = false;
};
Surroundings& GetSurroundings();

class LibrarySubject : public Subject {
 public:
  explicit LibrarySubject(Log& log);
  void SetStack(ScriptedStack* stack) { GetSurroundings().stack = stack; }

  bool IsModel() const override { return false; }
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
  void SetRefusing(bool refusing) override { GetSurroundings().refusing = refusing; }
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
  Log& m_log;
  Tarsel::VirtualLoop m_loop;
  int m_consoles = 0;
};

}  // namespace library_model

#endif
