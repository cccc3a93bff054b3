// All rows that documents configure, by name: where the stack's answers find them.
#ifndef DEVICE_ROUTERS_ROW_REGISTRY_H
#define DEVICE_ROUTERS_ROW_REGISTRY_H

#include <deque>
#include <map>
#include <memory>
#include <set>
#include <vector>

#include "tarsel/timer.h"
#include "wanted_row.h"

namespace routers {

/// One for the process, created on first use and never destroyed.
class RowRegistry {
 public:
  static RowRegistry& Get();

  void Add(WantedRow& row);
  void Drop(WantedRow& row);

  /// Returns the WantedRow of highest rank among those that want this row; null if none wants it.
  WantedRow* FindCounting(const RowName& name) const;
  /// Whether some document has an object for the row, even if that object is about to go.
  bool IsConfigured(const RowName& name) const;
  /// `row` does not want its row any more. If it had the highest rank, the next one becomes due.
  void StopCounting(WantedRow& row);

  /// How a row stands that no document has an object for.
  RowStanding LookAtLeftBehind(const RowName& name) const;
  /// Asks the stack to remove a row that was left behind. A request for it that has not been
  /// answered is given up.
  void AskToRemove(const RowName& name);
  /// Forgets those that the stack does not have any more.
  void ForgetGone();

  /// Returns the row that counts or, if nobody wants it any more, the one that is being removed;
  /// null if no document has an object for it.
  WantedRow* Find(const RowName& name) const;
  /// The first row after `last`, or the very first for a null pointer, for which Find finds one or
  /// that was left behind; null at the end.
  const RowName* Next(const RowName* last) const;
  /// How many rows count.
  std::size_t CountWanted() const;
  /// Call it when it begins or ends that a request of the row has no answer, or that it is due.
  void NoteUnderWay(const WantedRow& row);
  const std::set<const WantedRow*>& GetUnderWay() const { return m_underWay; }

  /// Call it when a request for the row goes to the stack: the next answer belongs to it.
  void NoteIssued(const RowName& name, const std::weak_ptr<WantedRow>& asker, unsigned int sequence,
                  int rowStatus);
  /// Calls the owner's RowDue, never from inside this call: for a row that waits for its next try
  /// after a tenth of a second, for any other as soon as the timers allow.
  void MakeDue(WantedRow& row);

 private:
  struct InFlight {
    std::weak_ptr<WantedRow> asker;
    unsigned int sequence = 0;
    int rowStatus = 0;  // 0: nothing is in flight
  };
  struct Entry {
    std::vector<WantedRow*> rows;  // by rank
    InFlight inFlight;
    bool isLeftBehind = false;  // the stack has the row, or may have it, and there are no `rows`
  };
  typedef std::map<RowName, Entry> Entries;

  RowRegistry();

  static void OnAnswer(unsigned int table, unsigned int instance, const unsigned char* key,
                       unsigned int keyLength, int rowStatus, int adminStatus, unsigned int status);
  void Answer(const RowName& name, int rowStatus, unsigned int status);
  void NoteUnasked(const RowName& name, int rowStatus, unsigned int status);
  void RetriesDue(unsigned int, void*);
  void OthersDue(unsigned int, void*);
  static bool ServePortion(std::deque<std::weak_ptr<WantedRow>>& rows);
  void SetLeftBehind(Entry& entry, bool isLeftBehind);
  Entries::iterator Forget(Entries::iterator entry);

  Entries m_entries;
  std::deque<std::weak_ptr<WantedRow>> m_retries;
  std::deque<std::weak_ptr<WantedRow>> m_others;  // that are due
  std::set<const WantedRow*> m_underWay;
  std::size_t m_countLeftBehind = 0;
  Tarsel::OneShotTimer m_retryTimer;
  Tarsel::OneShotTimer m_otherTimer;
};

}  // namespace routers

#endif
