// Controls for faults, limits and timing of the software routing stack, for tests, examples and lab
// commands; nothing else uses them. What a host needs to know of the stack is in facts.h.
//
// Owner and lifetime: the control belongs to its RoutingStack (GetControl()) and lives as long as
// it. Every member is called on the stack's thread; unless it says otherwise it may be called from
// inside a callback as well.
//
// Enumerators begin with k here and in the rest of this folder. Other folders write them in
// capitals, but programs are already built against this header, so its names stay.
#ifndef DEVICE_STACK_STACK_CONTROL_H
#define DEVICE_STACK_STACK_CONTROL_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "facts.h"
#include "stack/sms.h"

namespace routing_stack {

class Engine;

/// Every function of the stack that the library can call, for counting and for the call log.
enum class Call {
  kSmsiInit,
  kNbbScheduler,
  kInvokeCallback,
  kNbbTripsControl,
  kNbbSetIpsFilter,
  kNbbGetIpsTracing,
  kSmsActRtm,
  kSmsUpdateRoute,
  kSmsActInterface,
  kSmsBldInterface,
  kSmsActIpaddr,
  kSmsActRedist,
  kSmsBldRedist,
  kSmsGetRouteOid,
  kSmsSetEiOid,
  kSmsSetEaOid,
  kSmsSetRedistOid,
  kSmsGetNextEi,
  kSmsGetNextEa,
  kSmsGetNextRtmRoute,
  kSmsGetNextRtmRib,
  kProtocolRow,
  kCount
};

/// How one request is answered, in place of the normal answer.
struct Answer {
  enum Kind {
    kStatus,  // the row is not changed; answered with `status` (5 asks for a retry)
    kNever,   // no answer, no completion: later requests for the row wait
    kTwice,   // done normally, answered and completed twice
    kLate     // done normally, `delayMs` later
  };
  Kind kind = kStatus;
  unsigned int status = 5;
  std::uint64_t delayMs = 0;
};

/// A protocol's candidate that is put straight into the RIB, as a running protocol would.
struct Candidate {
  std::uint32_t instance = 0;
  int addressType = 1;
  unsigned char destination[16] = {};
  std::uint32_t prefixLength = 0;
  unsigned char nextHop[16] = {};
  std::uint32_t ifIndex = 0;  // 0: found by resolving the next hop
  std::uint32_t proto = 14;   // 8 RIP, 13 OSPF, 14 BGP
  std::uint32_t metric = 0;
  bool internal = false;  // internal OSPF or BGP: chooses the distance
};

class SMS_API Control {
 public:
  /// Made by the stack; `engine` is borrowed and outlives the control.
  explicit Control(Engine& engine) : m_engine(engine) {}

  /// The next `times` requests of the type get this answer. A script is one call of Script,
  /// ScriptVlan or ScriptRow. Scripts for a row are used up before those for its type in its VLAN,
  /// these before those for its type, and earlier scripts before later ones. An interface or
  /// address request with a scripted kStatus changes nothing and is merely completed, since its
  /// answer has no status; an RTM request with it changes nothing and is not reported at all.
  void Script(RowType type, const Answer& answer, unsigned int times);
  /// The same for the next `times` requests for one row. The row is named by the identifier that
  /// its identifier builder makes; an RTM, for which there is no builder, by {6, instance}.
  void ScriptRow(const unsigned int* oid, unsigned int length, const Answer& answer,
                 unsigned int times);
  /// The same for the next `times` requests of the type for rows of the VLAN, in both of its
  /// instances.
  void ScriptVlan(RowType type, std::uint32_t vlan, const Answer& answer, unsigned int times);
  /// Forgets all scripts: requests are answered as usual again.
  void ClearScripts();

  /// A request that would make the table larger than `rows` is answered with `status` and changes
  /// nothing. Changes of existing rows are still accepted. SIZE_MAX lifts the limit. Protocol
  /// candidates do not count as routes.
  void SetLimit(RowType type, std::size_t rows, unsigned int status);

  /// Holds the stack: nbb_scheduler() does nothing, as if there were nothing to do, and requests
  /// are queued.
  void Hold();
  /// Ends the hold and asks the host for a run if something waits.
  void Release();

  /// The stack forgets its tables, its events, its trace settings and its descriptors; the host is
  /// not told about the descriptors. Scripts, limits, the synchronous mode and counters stay. The
  /// stack then announces readiness again, and walks that were running end with result 8.
  void Restart();
  /// The same as Upkeep::EndLostRequests (upkeep.h).
  void EndLostRequests();

  /// If on, each event is processed inside the call that queued it, and not in nbb_scheduler(),
  /// which is the default.
  void SetSynchronous(bool on);
  /// The most events that are processed in one run: 2,000 by default; 0 is taken as 1.
  void SetSliceEvents(unsigned int events);
  /// Announces readiness once more, as a faulty stack would.
  void RepeatReady();

  /// The calls of the function since the last reset. Facts::CountRequests() is not reset.
  std::uint64_t CountOf(Call call) const;
  /// Sets all of these counts to 0.
  void ResetCounts();
  /// The function's own name, such as "sms_update_route"; a static text.
  static const char* NameOf(Call call);

  /// Called with each call before it takes effect, except nbb_scheduler and the identifier
  /// builders. The line is the function's own name with its arguments in order:
  /// "sms_update_route(1, 1, 1, 1, 10.9.0.0, 16, 10.1.2.1, 196608, 3, 10, 6)". Addresses are texts
  /// and names are quoted; sms_act_rtm shows the words that are not zero as "0=10 1=1"; a walk
  /// shows its instance if it takes one; a null pointer is "null". An empty observer ends the
  /// observation.
  using CallObserver = std::function<void(Call call, const std::string& line)>;
  void SetCallObserver(CallObserver observer);

  /// Puts the candidate into the RIB at once, ahead of queued requests. Ignored if the instance
  /// does not exist or has the other family, and for protocols other than RIP, OSPF and BGP. Host
  /// bits are cut off.
  void PutCandidate(const Candidate& candidate);
  /// Removes the protocol's candidate for the prefix and next hop. Returns false if there is none.
  bool RemoveCandidate(const Candidate& candidate);

  /// Registers a descriptor with the host on the stack's next run, and calls `handler` with the
  /// event bits when the host reports it ready, so that tests cover the way from the stack to the
  /// host's loop and back. Event bits, in `mask` as well: 1 read, 2 write, 4 urgent.
  void RegisterDescriptor(int fd, int id, unsigned int mask,
                          std::function<void(int events)> handler);
  /// Asks the host, on the next run, to watch a registered descriptor for other events.
  void ChangeDescriptorMask(int fd, unsigned int mask);
  /// From the next run on the host no longer watches the descriptor, which the caller closes.
  void UnregisterDescriptor(int fd, int id);

  // The tables as rows: the same as the functions of Facts with these names.
  std::vector<amb_stubs_i3_ei> Interfaces() const;
  std::vector<amb_stubs_i3_ea> Addresses() const;
  std::vector<amb_cipr_rtm_rib> Rib() const;
  std::vector<amb_cipr_rtm_route> Routes() const;
  std::vector<RedistributionRow> Redistributions() const;
  std::vector<amb_cipr_rtm_route> Redistributed(std::uint32_t instance,
                                                std::uint32_t destination) const;
  std::vector<std::uint32_t> Instances() const;

  /// All tables as text, one row a line, without ages: equal texts are equal states.
  std::string Dump() const;

 private:
  Engine& m_engine;
};

}  // namespace routing_stack

#endif
