// The walks over the stack's tables, as far as consoles care.
#ifndef DEVICE_CONSOLE_WALKS_H
#define DEVICE_CONSOLE_WALKS_H

#include <vector>

namespace console {

/// What a host can tell of the stack's walks and do to them. Made by the host, and used on the
/// loop's thread. All of it may be called from inside a handler of a walk, and none of it calls
/// back.
class Walks {
 public:
  struct Walk {
    unsigned int number;  // counts up from 1
    /// The outermost walk from inside which this one was begun; its own number if there is none.
    unsigned int first;
    bool isHeld;
  };

  virtual ~Walks() = default;
  /// The number of the walk that was begun last; 0 before the first.
  virtual unsigned int Last() const = 0;
  /// Those that have not ended.
  virtual std::vector<Walk> Running() const = 0;

  // The number of a walk that has ended is ignored.

  /// No further row comes until the walk goes on.
  virtual void Hold(unsigned int number) = 0;
  virtual void GoOn(unsigned int number) = 0;
  /// The walk ends with an error, held or not.
  virtual void End(unsigned int number) = 0;

  /// A walk may have begun: from now on it gets the stack's time until it has ended.
  virtual void Attend() = 0;
};

}  // namespace console

#endif
