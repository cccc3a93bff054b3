// How the next requests are answered, in place of the normal answers.
#ifndef DEVICE_STACK_SCRIPTS_H
#define DEVICE_STACK_SCRIPTS_H

#include <array>
#include <cstdint>
#include <deque>
#include <map>
#include <utility>
#include <vector>

#include "oid.h"
#include "stack_control.h"

namespace routing_stack {

class Scripts {
 public:
  void Add(RowType type, const Answer& answer, unsigned int times);
  void AddRow(const unsigned int* oid, unsigned int length, const Answer& answer,
              unsigned int times);
  void AddVlan(RowType type, std::uint32_t vlan, const Answer& answer, unsigned int times);
  void Clear();

  /// Whether any script could concern a request of the type. If not, the engine need not build the
  /// row's identifier.
  bool Concerns(RowType type) const;
  /// Takes one answer for the row: from its own scripts, else from those for its type in its VLAN,
  /// else from its type's. Returns false if there is none.
  bool Take(RowType type, const Oid& oid, Answer* answer);

 private:
  struct Entry {
    Answer answer;
    unsigned int times;
  };
  using Entries = std::deque<Entry>;
  static bool TakeFirst(Entries& entries, Answer* answer);

  std::array<Entries, kRowTypes> m_types;
  std::map<std::vector<unsigned int>, Entries> m_rows;
  std::map<std::pair<RowType, std::uint32_t>, Entries> m_vlans;
};

}  // namespace routing_stack

#endif
