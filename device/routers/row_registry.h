// All rows that documents configure, by name: where the stack's answers find them.
#ifndef DEVICE_ROUTERS_ROW_REGISTRY_H
#define DEVICE_ROUTERS_ROW_REGISTRY_H

#include <deque>
#include <map>
#include <memory>
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

  /// Call it when a request for the row goes to the stack: the next answer belongs to it.
  void NoteIssued(const RowName& name, const std::weak_ptr<WantedRow>& asker, unsigned int sequence,
                  int rowStatus);
  /// Calls the owner's RowDue after a while, never from inside this call.
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
  };
  typedef std::map<RowName, Entry> Entries;

  RowRegistry();

  static void OnAnswer(unsigned int table, unsigned int instance, const unsigned char* key,
                       unsigned int keyLength, int rowStatus, int adminStatus, unsigned int status);
  void Answer(const RowName& name, int rowStatus, unsigned int status);
  void OnTimeout(unsigned int, void*);
  void Forget(Entries::iterator entry);

  Entries m_entries;
  std::deque<std::weak_ptr<WantedRow>> m_due;
  Tarsel::OneShotTimer m_timer;
};

}  // namespace routers

#endif
