#include "change.h"

#include <ostream>

namespace crashes {

bool operator==(const Outcome& a, const Outcome& b) {
  return a.revision == b.revision && a.routes == b.routes;
}

std::ostream& operator<<(std::ostream& stream, const Outcome& outcome) {
  return stream << "revision " << outcome.revision << " with " << outcome.routes << " routes";
}

std::ostream& operator<<(std::ostream& stream, const Change& change) {
  return stream << change.name;
}

namespace {

constexpr const char* BACK = "Revision 3, way back to revision 1";

}  // namespace

// One route is the old configuration, three are the new one.
const std::vector<Change>& AllChanges() {
  static const Change::Step start{0, "", "Revision 1, start"};
  static const Change::Step again{0, "", "Revision 1, start: it was in force before"};
  static const Change::Step reload{3, "reload", "Revision 2, reload by pipe"};
  static const Change::Step open{3, "reload confirm 600", "`confirm 2` within 600 s keeps it"};
  static const Change::Step brief{3, "reload confirm 1", "`confirm 2` within 1 s keeps it"};
  static const Change::Step confirm{0, "confirm 2", "Revision 2 is confirmed"};
  static const Change::Step second{0, "", "Revision 2, start: it was in force before"};
  static const Change::Step undo{0, "undo", "Revision 3, undo to revision 1 by pipe"};
  static const Change::Step back{0, "undo", "Revision 3, way back to revision 1 by pipe"};
  static const std::vector<Change> changes = {
      {"first_start", {}, 1, {}, start, {0, 0}, {1, 1}, 1},
      {"start", {start}, 3, {}, {0, "", "Revision 2, start: "}, {1, 1}, {2, 3}, 3},
      {"reload", {start}, 1, {again}, reload, {1, 1}, {2, 3}, 3},
      {"reload_confirm", {start}, 1, {again}, open, {1, 1}, {3, 1}, 3, true, 1},
      {"confirm", {start}, 1, {again, open}, confirm, {3, 1}, {2, 3}, 3, true, 3},
      {"undo", {start, reload}, 3, {second}, undo, {2, 3}, {3, 1}, 1},
      {"undo_while_open", {start}, 1, {again, open}, back, {3, 1}, {3, 1}, 1},
      {"way_back", {start}, 1, {again, brief}, {0, "", BACK}, {3, 1}, {3, 1}, 1},
      {"way_back_of_a_start", {start, open}, 3, {}, {0, "", BACK}, {3, 1}, {3, 1}, 1},
  };
  return changes;
}

}  // namespace crashes
