// A routing stack that does what a script says. There are two of it in a run, one below the library
// and one below the model: each writes down the calls it gets and answers them by the same script.
#ifndef TESTS_MODELS_LIBRARY_SCRIPTED_STACK_H
#define TESTS_MODELS_LIBRARY_SCRIPTED_STACK_H

#include <deque>
#include <functional>
#include <string>
#include <vector>

#include "log.h"
#include "stack/rows.h"

namespace library_model {

using Oid = std::vector<unsigned int>;

struct RouteRow {
  unsigned int instance = 0;
  int type = 1;
  unsigned char dest[16] = {};
  unsigned int prefixLen = 0;
  unsigned char nexthop[16] = {};
  unsigned int ifIndex = 0;
  int metric = 0;
  int pathType = 0;
  int rowStatus = 0;
  int adminStatus = 0;
};

struct RedistRow {
  int rowStatus = 0;
  int adminStatus = 0;
  int source = 0;
  int destination = 0;
  unsigned int vlan = 0;
};

/// The identifier builders, pure.
Oid RouteOid(unsigned int instance, int type, const unsigned char* dest, unsigned int prefixLen,
             const unsigned char* nexthop, unsigned int ifIndex);
Oid InterfaceOid(unsigned int instance, unsigned int ifIndex);
Oid AddressOid(unsigned int instance, unsigned int ifIndex, const unsigned char* address, int type);
Oid RedistOid(unsigned int vlan, unsigned int source, unsigned int destination);
Oid ProtocolOid(unsigned int table, unsigned int instance, unsigned int id);

/// What the stack calls: the C functions of the library, or the model's.
class Upcalls {
 public:
  virtual ~Upcalls() = default;
  virtual void SetRouteState(const RouteRow& row, unsigned int status) = 0;
  virtual void SetRedistState(const RedistRow& row, unsigned int status) = 0;
  virtual void SetRtmReady(unsigned int instance) = 0;
  virtual int I3Ready() = 0;
  virtual void RunPendingAction(const Oid& oid) = 0;
  virtual void Reschedule() = 0;
  /// The host reacts from inside a stack call: it asks for the row once more.
  virtual void AskAgain(const RouteRow& row) = 0;
  /// The items' timer fires from inside a stack call.
  virtual void PassNow() = 0;
};

enum Class { ROUTE, REDIST, INTERFACE, ADDRESS, PROTOCOL, CLASS_COUNT };

/// How an answer is given; bits.
enum How {
  STATE = 1,       // the outcome is reported
  COMPLETION = 2,  // the row is released
  REPEATED = 4,    // everything twice
  COMPLETION_FIRST = 8,
  KEPT = 16,      // the request stays outstanding: it will be answered again
  PASS = 64,      // a pass over the items is made, after that
  ASK_AGAIN = 32  // the host asks for the row again, first of all
};

class ScriptedStack {
 public:
  /// Rows of a walk are handed out until `response` answers 0.
  using Response = std::function<unsigned char(unsigned int result, void* row)>;

  ScriptedStack(Log& log, Upcalls& upcalls, Counts* counts);

  // --- what the library calls ---
  void Init(const char* components);
  int Run();
  void ActRtm(const amb_cipr_rtm_entity& row);
  void UpdateRoute(int notShared, const RouteRow& row);
  void ActRedist(bool shared, const RedistRow& row, unsigned int zero);
  void ActInterface(bool shared, int rowStatus, unsigned int operStatus, unsigned int instance,
                    unsigned int ifIndex, const char* name, unsigned int ifAttr, unsigned int flags,
                    unsigned int extra);
  void ActAddress(int rowStatus, unsigned int instance, int type, unsigned int ifIndex,
                  const unsigned char* address, unsigned int prefixLen);
  void ActProtocol(bool shared, unsigned int table, unsigned int instance, unsigned int id,
                   int rowStatus, int content);
  void WalkInterfaces(unsigned int instance, Response response);
  void WalkAddresses(unsigned int instance, Response response);
  void WalkRoutes(Response response);
  void WalkRib(Response response);
  void Control(const char* what, const char* text, int value);

  // --- the script ---
  /// How requests of a class are answered from inside their own call; 0 is not at all.
  void SetPolicy(int requestClass, int how, unsigned int status);
  /// Answers one of the outstanding requests.
  void Answer(unsigned int which, int how, unsigned int status);
  /// Answers one of the requests that were answered before.
  void AnswerLate(unsigned int which, int how, unsigned int status);
  /// The same, at the next run of the stack.
  void AnswerInRun(unsigned int which, int how, unsigned int status);
  void AnswerAll(unsigned int status);
  void SetReadyAtOnce(bool on) { m_readyAtOnce = on; }
  void SetRunResult(int milliseconds, bool reschedules);
  void AddRow(unsigned int number);
  void ClearRows();
  /// Lets every walk deliver some rows; 0 lets them run to their ends.
  void StepWalks(unsigned int rows);
  /// Walks deliver everything from inside the call that starts them.
  void SetWalksAtOnce(bool on) { m_walksAtOnce = on; }
  /// The result that ends walks: 7, or an error.
  void SetWalkEnd(unsigned int result) { m_walkEnd = result; }
  bool HasRequestsOf(unsigned int vlan) const;
  std::size_t OutstandingCount() const { return m_outstanding.size(); }

 private:
  struct Request {
    Class requestClass = ROUTE;
    unsigned int vlan = 0;
    RouteRow route;
    RedistRow redist;
    Oid oid;
  };
  struct Deferred {
    unsigned int which;
    int how;
    unsigned int status;
  };
  struct Walk {
    std::vector<std::string> rows;  // whole rows as bytes
    std::size_t position = 0;
    Response response;
  };

  void Take(Request request);
  void Give(const Request& request, int how, unsigned int status);
  void Report(const Request& request, unsigned int status);
  void StartWalk(Walk walk);
  /// False when the walk is over.
  bool StepWalk(Walk& walk);
  void Count(const char* what) {
    if (m_counts != nullptr) ++(*m_counts)[what];
  }

  Log& m_log;
  Upcalls& m_upcalls;
  Counts* m_counts;
  std::vector<Request> m_outstanding;
  std::deque<Request> m_answered;
  std::vector<Deferred> m_deferred;
  Deferred m_policies[CLASS_COUNT] = {};
  unsigned int m_depth = 0;
  bool m_readyAtOnce = false;
  bool m_walksAtOnce = false;
  unsigned int m_walkEnd = 7;
  int m_runResult = -1;
  bool m_runReschedules = false;
  std::deque<Walk> m_walks;
  std::vector<amb_stubs_i3_ei> m_interfaces;
  std::vector<amb_stubs_i3_ea> m_addresses;
  std::vector<amb_cipr_rtm_route> m_routes;
  std::vector<amb_cipr_rtm_rib> m_rib;
};

}  // namespace library_model

#endif
