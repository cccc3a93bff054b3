// The timed scheduler of configuration items.
#ifndef VANTACORE_CFG_SCHED_H
#define VANTACORE_CFG_SCHED_H

#include <cstdint>
#include <map>

#include "tarsel/timer.h"
#include "vantacore/export.h"
#include "vantacore/mib_oid.h"

namespace Tarsel {

class CfgBucket;
class DcConsole;
struct CfgNode;

/// Names a bucket of items.
struct VANTACORE_API CfgKey {
  std::uint32_t instance;  ///< of static routes the VLAN, of rules the protocol instance
  std::uint32_t rowType;   ///< 0x3D000003 static routes, 0x3D000002 redistribution rules
};

/// Orders keys by instance, then by row type.
struct VANTACORE_API CfgKeyCompare {
  /// Whether `a` comes before `b`.
  bool operator()(const CfgKey& a, const CfgKey& b) const;
};

/// A configuration item: one row that the scheduler sends to the stack when it is ready. Created
/// New; the scheduler owns it from Insert on. The order of the virtual operations is fixed.
///
/// CfgListReady, CfgItemReady, Send and SetInMib may call any operation of the scheduler. An item
/// that such a call removes or replaces leaves its bucket at once; if one of its own operations is
/// running, it is deleted when that operation has returned. The other operations of an item must
/// not call the scheduler.
class VANTACORE_API CfgItem {
 public:
  /// How far an item has come. Other values are legal and shown as "Invalid".
  enum ACTION_ITEM_STATE : int {
    NEW = 0,    ///< waiting to be sent
    ISSUED = 1  ///< handed to the serializer and not answered yet
  };

  /// New, with reason code 0 and retry count 0.
  CfgItem();
  CfgItem(const CfgItem&) = delete;
  CfgItem& operator=(const CfgItem&) = delete;
  virtual ~CfgItem();

  /// Whether the bucket that holds the item may be processed at all.
  virtual bool CfgListReady() = 0;
  /// Whether this item may be sent now.
  virtual bool CfgItemReady() = 0;
  /// Prints one line; the console stays the caller's.
  virtual void PrintItem(DcConsole* console) const = 0;
  /// Builds the request, queues it in the serializer and marks the item issued. If there is no
  /// memory for the request, the item stays New and a later pass tries it again.
  virtual void Send() = 0;
  /// The identity of the item's row. It must not change after the item has been inserted. The
  /// reference is valid while the item lives.
  virtual const MibOid& GetOid() = 0;
  /// Called by CfgSched::Remove on the row's first item, in any state, with `inMib` true and the
  /// status that the stack reported. An issued item is deleted afterwards. The base does nothing.
  virtual void SetInMib(bool inMib, unsigned int status);
  /// Whether this item may take the place of `existing`, a CfgItem of the same row. The base
  /// returns true.
  virtual bool Replace(void* existing);
  /// Whether a pass drops the item if it is New and not ready, instead of leaving it. The base
  /// returns false.
  virtual bool RemoveOnNotReady() const;
  /// Sets the state; the scheduler does so when an answer asks for a retry, Send when it has queued
  /// the request.
  virtual void SetActionState(ACTION_ITEM_STATE state);
  /// Stores the low 32 bits of the stack's last answer.
  virtual void SetReasonCode(unsigned long code);
  /// Whether an issued item concerns the pair (a, b); what the two numbers mean is the concrete
  /// item's choice. The base returns false.
  virtual bool IsInFlight(unsigned int a, unsigned int b) const;

  /// The state, New at first.
  ACTION_ITEM_STATE GetActionState() const { return m_actionState; }
  /// The last status that the stack reported, 0 until then.
  std::uint32_t GetReasonCode() const { return m_reasonCode; }
  /// The answers other than success so far; see SetRetryCount.
  std::uint32_t GetRetryCount() const { return m_retryCount; }
  /// Called by CfgSched: Update counts up for each status other than success, Reset sets 0.
  void SetRetryCount(std::uint32_t count) { m_retryCount = count; }
  /// "New", "Issued", or "Invalid" for any other value.
  static const char* StateText(ACTION_ITEM_STATE state);

 private:
  std::uint32_t m_reasonCode;
  ACTION_ITEM_STATE m_actionState;
  std::uint32_t m_retryCount;
};

/// Holds items in buckets. A periodic timer ("CfgScheduler", started by the first Insert and never
/// stopped) makes passes. A pass goes through the buckets in key order and sends the items that are
/// New and ready. It examines at most 31 New items; when it reaches that limit, the next pass
/// starts with the following bucket. The one scheduler of the process is a member of DcRouterMgr.
class VANTACORE_API CfgSched : public PeriodicTimer {
 public:
  /// The period of the timer.
  static constexpr unsigned int TICKS_BETWEEN_PASSES = 100;

  /// Without buckets; the timer is idle.
  CfgSched();
  /// Deletes the buckets and the items in them.
  ~CfgSched() override;

  /// Takes ownership of a New item. If the row already has items in the bucket and
  /// `item->Replace(last)` returns true for the last of them, that one is deleted, and `item` is
  /// put one position in front of where it was (at the front, if it was there). Otherwise `item` is
  /// appended. Null is ignored.
  void Insert(CfgKey key, CfgItem* item);
  /// Handles an answer: the stack reported `status` for the row that `item` names. Only
  /// `item->GetOid()` is called; the caller keeps `item`. The row's first Issued item stays. It
  /// becomes New, so that a later pass sends it again, if `retry` is set and at most nine answers
  /// other than success have been counted, this one included.
  void Update(CfgKey key, CfgItem* item, unsigned int status, bool retry);
  /// Handles a final answer: the stack reported `status` for the row that `item` names. Only
  /// `item->GetOid()` is called; the caller keeps `item`. SetInMib is called on the row's first
  /// item; then the item is deleted if it is Issued, else it stays.
  void Remove(CfgKey key, CfgItem* item, unsigned int status);
  /// One pass; both arguments are ignored.
  void OnTimeout(unsigned int, void*);
  /// Makes every item New again, with reason code 0 and retry count 0.
  void Reset();

  /// Returns 1 if the bucket holds an issued item whose IsInFlight(a, b) returns true, else 0.
  int RouteMapInFlight(CfgKey key, unsigned int a, unsigned int b);
  /// The same as RouteMapInFlight.
  int AggrAddrInFlight(CfgKey key, unsigned int a, unsigned int b);

  /// Prints every item, in bucket and list order; the console stays the caller's.
  void Print(DcConsole* console);
  /// Prints the number of buckets; the console stays the caller's.
  void PrintSummary(DcConsole* console);

 private:
  typedef std::map<CfgKey, CfgBucket*, CfgKeyCompare> Buckets;
  struct Walk;
  struct Call;

  bool WalkBucket(CfgBucket* bucket, unsigned int& examined);
  void ExamineItems(Walk& walk, unsigned int& examined);
  bool ExamineNew(CfgBucket* bucket, CfgNode* node);
  void MoveOn(const CfgNode* node);
  CfgItem* Unlink(CfgBucket* bucket, CfgNode* node);
  void Delete(CfgItem* item);
  template <class Operation>
  bool Guard(CfgItem* item, Operation operation);
  void Erase(Buckets::iterator position);
  int HasInFlight(CfgKey key, unsigned int a, unsigned int b);

  Buckets m_buckets;
  CfgKey m_resumeKey;  // where the next pass starts; (1, 0) is the first bucket
  Walk* m_walk;        // the innermost walk over a bucket that is on the call stack, if any
  Call* m_call;        // the innermost call of an item, likewise
};

/// The scheduler of the process, for the libraries that reach it without the router manager. Null
/// until the router manager exists.
extern VANTACORE_API CfgSched* g_cfgsched;

}  // namespace Tarsel

#endif
