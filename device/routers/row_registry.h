// All rows that documents configure, by name: where the stack's answers find them.
#ifndef DEVICE_ROUTERS_ROW_REGISTRY_H
#define DEVICE_ROUTERS_ROW_REGISTRY_H

#include <deque>
#include <map>
#include <memory>
#include <vector>

#include "protocol_row.h"
#include "tarsel/timer.h"

namespace Tarsel {

/// One for the process, created on first use and never destroyed.
class RowRegistry {
 public:
  static RowRegistry& Get();

  void Add(ProtocolRow& row);
  void Drop(ProtocolRow& row);

  /// The document's row that counts among those that want this row; null when none wants it.
  ProtocolRow* FindCounting(const RowName& name) const;
  /// Whether some document has an object for the row, be it one that is to go.
  bool IsConfigured(const RowName& name) const;
  /// `row` no longer wants its row. When it was the one that counted, the next one becomes due.
  void StopCounting(ProtocolRow& row);

  /// A request for the row is going into the stack: the answer that comes next is its answer.
  void NoteIssued(const RowName& name, const std::weak_ptr<ProtocolRow>& asker,
                  unsigned int sequence, int rowStatus);
  /// The row's owner is told after a while, never from inside this call.
  void MakeDue(ProtocolRow& row);

 private:
  struct InFlight {
    std::weak_ptr<ProtocolRow> asker;
    unsigned int sequence = 0;
    int rowStatus = 0;  // 0: nothing is in flight
  };
  struct Entry {
    std::vector<ProtocolRow*> rows;  // by rank
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
  std::deque<std::weak_ptr<ProtocolRow>> m_due;
  OneShotTimer m_timer;
};

}  // namespace Tarsel

#endif
