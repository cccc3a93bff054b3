#include "first_router.h"

#include <new>
#include <string>
#include <utility>

#include "device/stack/protocol_rows.h"
#include "host/dc_console.h"
#include "tarsel/text.h"
#include "tarsel/trace.h"
#include "vantacore/dc_router_mgr.h"
#include "vantacore/dc_rtm_mgr.h"
#include "vantacore/mib_action.h"

using namespace Tarsel;

namespace {

constexpr unsigned int BEACON_TABLE = 1000;  // the number of this protocol's table in the stack
constexpr unsigned int STATUS_UP = 1;
constexpr unsigned int DONE = 1;
constexpr unsigned int RETRY = 5;
constexpr unsigned int ABSENT = 6;
constexpr unsigned int SOON_MS = 100;
constexpr unsigned int MAX_REFUSALS = 10;
enum RowStatus : unsigned short { ACTIVE = 1, CREATE = 4, DESTROY = 6 };

// The stack's answers name a row, not an object: this is where they find it. Rows that a withdrawn
// document leaves behind have no object any more, and late answers for them find none.
std::map<std::pair<unsigned int, std::string>, Beacon*>& Beacons() {
  static std::map<std::pair<unsigned int, std::string>, Beacon*> beacons;
  return beacons;
}

const unsigned char* Bytes(const string& text) {
  return reinterpret_cast<const unsigned char*>(text.c_str());
}
unsigned int Length(const string& text) { return static_cast<unsigned int>(text.get_length()); }

void OnAnswer(unsigned int table, unsigned int instance, const unsigned char* key,
              unsigned int keyLength, int rowStatus, int, unsigned int status) {
  const auto found =
      Beacons().find({instance, std::string(reinterpret_cast<const char*>(key), keyLength)});
  if (table == BEACON_TABLE && found != Beacons().end()) {
    found->second->Answered(rowStatus, status);
  }
}

/// A request waits in the serializer until the row's previous one has been answered, so it carries
/// all it needs. The serializer destroys it.
class BeaconAction : public MibAction {
 public:
  BeaconAction(unsigned int instance, string key, int rowStatus, string contents)
      : m_instance(instance),
        m_key(std::move(key)),
        m_rowStatus(rowStatus),
        m_contents(std::move(contents)) {}

  void IssueReq(bool shared) override {
    sms_act_protocol_row(shared ? 0 : 1, BEACON_TABLE, m_rowStatus, 1, m_instance, Bytes(m_key),
                         Length(m_key), m_contents.c_str());
  }

 private:
  unsigned int m_instance;
  string m_key;
  int m_rowStatus;
  string m_contents;
};

}  // namespace

// ---- the protocol's configuration

void BeaconConfig::ParseOptions(const OptionsNode& node, const string& name,
                                DclConfigObject::OptionType) {
  m_enabled[name] = documents::ReadEnabling(node) == documents::Enabling::YES;
}

void BeaconConfig::DeleteOptions(const string& name, DclConfigObject::OptionType) {
  m_enabled.erase(name);
}

bool BeaconConfig::IsEnabled() {
  for (const auto& [name, enabled] : m_enabled) {
    if (enabled) {
      return true;
    }
  }
  return false;
}

bool BeaconConfig::IsReady() { return IsEnabled() && DcRtmMgr::GetInstance()->IsRtmReady(m_vid); }

bool BeaconConfig::IsReady(unsigned int ifIndex) {
  const auto found = m_up.find(ifIndex);
  return found != m_up.end() && found->second && IsEnabled();
}

void BeaconConfig::ProcessInterfaceStatusChange(unsigned int ifIndex, unsigned int status) {
  m_up[ifIndex] = status == STATUS_UP;
}

void BeaconConfig::ProcessIPAddressChange(unsigned int, const Ip4Addr&) {}

void BeaconConfig::Display(DcConsole* console) {
  console->Print("beacons of VLAN %u: %s, %s\n", static_cast<unsigned int>(m_vid),
                 IsEnabled() ? "enabled" : "disabled", IsReady() ? "ready" : "not ready");
}

// ---- the router

BeaconRouter::BeaconRouter(unsigned short vid)
    : DcRouterBase(BEACON_PROTOCOL.name, vid, new BeaconConfig(vid)) {
  sms_register_protocol_answer(&OnAnswer);
}

bool BeaconRouter::CreateConfigList(DcConfigLists& lists) {
  lists.AddList(new (std::nothrow) BeaconList(*this));
  return true;
}

void BeaconRouter::Show(DcConsole* console) {
  GetInterface()->Display(console);
  for (const auto& [name, lists] : GetConfigLists()) {
    for (const DCLConfigList* list : lists->GetLists()) {
      list->DisplayList(console, DclConfigDisplayFilter());
    }
  }
}

// ---- a row

Beacon::Beacon(DcRouterBase& owner, BeaconList& list)
    : DclConfigObject(owner),
      m_list(list),
      m_interval(BEACON_INTERVAL.standard),
      m_destroy(false),
      m_gone(false),
      m_again(false),
      m_refusals(0) {}

Beacon::Beacon(const Beacon* parsed)
    : DclConfigObject(parsed),
      m_list(parsed->m_list),
      m_interval(parsed->m_interval),
      m_destroy(false),
      m_gone(false),
      m_again(false),
      m_refusals(0) {}

// Only the object that had the row takes its name away: those of a parse are never entered.
Beacon::~Beacon() {
  const auto found = Beacons().find({GetVlan(), Key().c_str()});
  if (found != Beacons().end() && found->second == this) {
    Beacons().erase(found);
  }
}

string Beacon::Key() const {
  string key;
  key.Format("%u", GetId());
  return key;
}

bool Beacon::ParseOption(const OptionsNode& node, unsigned short) {
  string text;
  node.GetAsString(text, BEACON_NAME.name);
  if (!strcasestrstart(BEACON_ROW.prefix, text.c_str()) || ParseId(text.c_str()) == 0) {
    TRACE("\"%s\" of a beacon must be %s_<vlan>_<interface index>\n", BEACON_NAME.name,
          BEACON_ROW.prefix);
    return false;
  }
  int length = 0;
  ReadDCLMibValue(node, BEACON_INTERVAL.name, m_interval, length);
  if (m_interval < BEACON_INTERVAL.low || m_interval > BEACON_INTERVAL.high) {
    TRACE("\"%s\" of %s must be from %u to %u\n", BEACON_INTERVAL.name, text.c_str(),
          BEACON_INTERVAL.low, BEACON_INTERVAL.high);
    return false;
  }
  return true;
}

// A row that is to go counts as changed, so that it is sent again should it come back.
int Beacon::Compare(DclConfigObject* other) {
  if (!KeyMatch(other)) {
    return 2;
  }
  return m_destroy || m_interval != static_cast<Beacon*>(other)->m_interval ? 1 : 0;
}

void Beacon::Update(DclConfigObject* other) {
  m_interval = static_cast<Beacon*>(other)->m_interval;
  m_destroy = false;
  m_gone = false;
  m_refusals = 0;
}

void Beacon::SetDestroy() {
  m_destroy = true;
  m_refusals = 0;
}

unsigned short Beacon::GetRowStatus() {
  if (m_destroy) {
    return DESTROY;
  }
  return GetInMib() ? ACTIVE : CREATE;
}

// Hands the request on, or reports that nothing is left to do and the object may be deleted.
bool Beacon::CommitToMib() {
  if (m_gone) {
    return true;
  }
  Beacons()[{GetVlan(), Key().c_str()}] = this;
  const string key = Key();
  string contents;
  contents.Format("interval=%u", m_interval);
  auto* const action =
      new (std::nothrow) BeaconAction(GetVlan(), key, GetRowStatus(), std::move(contents));
  m_again = action == nullptr;
  SetActionReq(false);
  if (action == nullptr) {
    m_list.CommitSoon();
    return false;
  }
  unsigned int oid[MibOid::MAX_LENGTH];
  const unsigned int length =
      sms_get_protocol_row_oid(oid, BEACON_TABLE, GetVlan(), Bytes(key), Length(key));
  DcRouterMgr::GetInstance()->GetSerializer().Insert(MibOid(oid, length), action);
  return false;
}

// Notes the outcome. What follows from it is done by the list, later: an answer may come while the
// list is being committed.
void Beacon::Answered(int rowStatus, unsigned int status) {
  if (rowStatus != DESTROY) {
    SetInMib(GetInMib() || status == DONE);
  } else if (status == DONE || status == ABSENT) {
    SetInMib(false);
    m_gone = m_destroy;
  }
  m_refusals = status == RETRY ? m_refusals + 1 : 0;
  m_again = status == RETRY && m_refusals < MAX_REFUSALS;
  if (m_gone || m_again) {
    m_list.CommitSoon();
  }
}

void Beacon::Resume() {
  if (m_gone || m_again) {
    SetActionReq(true);
  }
}

void Beacon::Display(DcConsole* console, unsigned int) {
  console->Print("  interface %u every %u s: %s\n", GetId(), m_interval,
                 GetInMib() ? "in the stack" : "not in the stack");
}

// ---- the list

BeaconList::BeaconList(DcRouterBase& owner)
    : DCLConfigList(&owner, "Beacons", BEACON_LIST.name), m_timer("Beacons") {
  m_timer.SetCallback(
      new MemberCallback2<BeaconList, unsigned int, void*>(this, &BeaconList::OnTimeout));
}

void BeaconList::ProcessInterfaceStatusChange(unsigned int, unsigned int) {}

DclConfigObject* BeaconList::CreateObject(const OptionsNode&, const string&,
                                          DclConfigObject::OptionType) {
  return new (std::nothrow) Beacon(*router, *this);
}

DclConfigObject* BeaconList::CloneObject(DclConfigObject* parsed) {
  return new (std::nothrow) Beacon(static_cast<Beacon*>(parsed));
}

// The flags are the parse's as well, which clears them: what is left to do is asked of the objects.
void BeaconList::OnTimeout(unsigned int, void*) {
  for (DclConfigObject* object : objects) {
    static_cast<Beacon*>(object)->Resume();
  }
  CommitToMib();
}

void BeaconList::CommitSoon() {
  if (!m_timer.IsRunning()) {
    m_timer.Start(SOON_MS);
  }
}
