// The smallest protocol router: it announces beacons on interfaces.
//
// A document configures it like this:
//
//   "BEACON": { "enabled": true,
//               "IF_LIST": { "uplink": { "Name": "BEACON_10_3", "interval": 5 } } }
#ifndef FIRST_ROUTER_H
#define FIRST_ROUTER_H

#include <map>

#include "device/documents/members.h"
#include "tarsel/timer.h"
#include "vantacore/dc_router_base.h"

// The protocol's members, each declared once. The router reads them as they are declared here, and
// a host that knows the declaration checks documents before the router sees them.
inline constexpr documents::Row BEACON_ROW{"BEACON", nullptr, 0, true};
inline constexpr documents::Member BEACON_NAME = documents::RowName(BEACON_ROW);
inline constexpr documents::Member BEACON_INTERVAL =
    documents::Number("interval", 1, 3600, 10, "seconds");

inline constexpr documents::Member BEACON_MEMBERS[] = {BEACON_NAME, BEACON_INTERVAL};
inline constexpr documents::Object BEACON = documents::ObjectWith("beacon", BEACON_MEMBERS, false);
inline constexpr documents::Member BEACON_LIST = documents::ListOf("IF_LIST", BEACON);

inline constexpr documents::Member BEACON_PROTOCOL_MEMBERS[] = {documents::ENABLED, BEACON_LIST};
inline constexpr documents::Object BEACON_PROTOCOL_OBJECT =
    documents::ObjectWith("BEACON", BEACON_PROTOCOL_MEMBERS, false);
inline constexpr documents::Member BEACON_PROTOCOL =
    documents::ObjectOf("BEACON", BEACON_PROTOCOL_OBJECT);

/// What the router makes of its member besides rows: is the protocol on, and may it run?
class BeaconConfig : public Tarsel::DcProtoInterfaceBase {
 public:
  explicit BeaconConfig(unsigned short vid) : m_vid(vid) {}

  void ParseOptions(const Tarsel::OptionsNode& node, const Tarsel::string& name,
                    Tarsel::DclConfigObject::OptionType type) override;
  void DeleteOptions(const Tarsel::string& name, Tarsel::DclConfigObject::OptionType type) override;
  bool IsEnabled() override;
  void Display(Tarsel::DcConsole* console) override;
  bool IsReady() override;
  bool IsReady(unsigned int ifIndex) override;
  void ProcessInterfaceStatusChange(unsigned int ifIndex, unsigned int status) override;
  void ProcessIPAddressChange(unsigned int ifIndex, const Tarsel::Ip4Addr& address) override;

 private:
  unsigned short m_vid;
  std::map<Tarsel::string, bool> m_enabled;  // what each document says
  std::map<unsigned int, bool> m_up;         // the interfaces that were reported
};

class BeaconRouter : public Tarsel::DcRouterBase {
 public:
  explicit BeaconRouter(unsigned short vid);
  /// Called once for each document that enables the protocol.
  bool CreateConfigList(Tarsel::DcConfigLists& lists) override;
  void Show(Tarsel::DcConsole* console);
};

class BeaconList;

/// One row: the beacon of one interface. The list compares, updates and commits it.
class Beacon : public Tarsel::DclConfigObject {
 public:
  Beacon(Tarsel::DcRouterBase& owner, BeaconList& list);
  explicit Beacon(const Beacon* parsed);
  ~Beacon() override;

  int Compare(Tarsel::DclConfigObject* other) override;
  void Update(Tarsel::DclConfigObject* other) override;
  unsigned short GetRowStatus() override;
  void SetDestroy() override;
  void Display(Tarsel::DcConsole* console, unsigned int id) override;
  bool CommitToMib() override;
  bool ParseOption(const Tarsel::OptionsNode& node, unsigned short vid) override;

  /// The stack's answer to a request for the row.
  void Answered(int rowStatus, unsigned int status);
  /// Asks for a commit if there is something left to do since the last answer.
  void Resume();

 private:
  Tarsel::string Key() const;

  BeaconList& m_list;
  unsigned int m_interval;  // seconds
  bool m_destroy;           // the document does not name it any more
  bool m_gone;              // the stack has confirmed that
  bool m_again;             // the stack wants the request once more
  unsigned int m_refusals;  // how often in a row
};

/// The beacons of one document.
class BeaconList : public Tarsel::DCLConfigList {
 public:
  explicit BeaconList(Tarsel::DcRouterBase& owner);

  void ProcessInterfaceStatusChange(unsigned int ifIndex, unsigned int status) override;
  Tarsel::DclConfigObject* CreateObject(const Tarsel::OptionsNode& node, const Tarsel::string& name,
                                        Tarsel::DclConfigObject::OptionType type) override;
  Tarsel::DclConfigObject* CloneObject(Tarsel::DclConfigObject* parsed) override;

  /// Commits once more, but not from inside whatever is going on now.
  void CommitSoon();

 private:
  void OnTimeout(unsigned int, void*);

  Tarsel::OneShotTimer m_timer;
};

#endif
