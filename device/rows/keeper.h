// What is known of one kind of rows, and how it is held against the stack.
#ifndef DEVICE_ROWS_KEEPER_H
#define DEVICE_ROWS_KEEPER_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

#include "row.h"

namespace rows {

/// How a row stands: what is wanted of it, and what the stack has.
struct Standing {
  enum class Kind {
    EQUAL,      // as it is wanted; also a row that is not wanted and not there
    UNDER_WAY,  // a request for it has not been answered, or waits to be made
    MISSING,    // wanted, and not there
    OTHER,      // there with other values
    UNWANTED    // there, and not wanted
  };
  Kind kind = Kind::EQUAL;
  /// Of UNDER_WAY: since when, by the port's clock; 0 if that is not known.
  std::uint64_t since = 0;
  /// Of a difference: the status of the last answer if that was not a success; 0 if none is known.
  unsigned int status = 0;

  bool IsDifference() const { return kind != Kind::EQUAL && kind != Kind::UNDER_WAY; }
};

/// Keeps one kind of rows. It knows what is wanted of each and asks the library for it. Everything
/// is called on the loop's thread, not from inside the stack's run.
class Keeper {
 public:
  using Found = std::function<void(const Row& row, const Standing& standing)>;

  virtual ~Keeper() = default;

  /// The kind as `verify` calls it, in the plural: "routes".
  virtual const char* GetName() const = 0;
  /// How many rows are wanted.
  virtual std::size_t CountWanted() const = 0;

  /// How many rows are in force though they are not wanted, until others can take their place. They
  /// are no differences.
  virtual std::size_t CountKept() const { return 0; }
  /// The first of them.
  virtual std::vector<Row> FirstKept(std::size_t most) const {
    static_cast<void>(most);
    return {};
  }

  /// Begins a pass over all rows that are wanted and all that the stack has. A pass that was begun
  /// before is forgotten.
  virtual void BeginPass() = 0;
  /// Looks at about `most` further rows and tells those that are not EQUAL. Returns false at the
  /// end of the pass. Rows may come and go between two calls: what changes meanwhile is looked at
  /// or not. `found` only notes what it is told; it does not call the keeper.
  virtual bool ContinuePass(std::size_t most, const Found& found) = 0;

  /// How one row of this kind stands now. Any row may be named: one that nobody wants and that is
  /// not there is EQUAL.
  virtual Standing Look(const Row& row) const = 0;
  /// Asks the library once more for what is wanted of the row: to have it, or to have it removed.
  /// Not for one that is UNDER_WAY. What comes of it is told to Differences.
  virtual void AskAgain(const Row& row) = 0;
};

}  // namespace rows

#endif
