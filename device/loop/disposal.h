// Frees what is large.
#ifndef DEVICE_LOOP_DISPOSAL_H
#define DEVICE_LOOP_DISPOSAL_H

#include <memory>
#include <vector>

#include "work.h"

namespace loop {

/// Frees things in the thread pool, because freeing a large tree takes nearly as long as making it.
/// Afterwards the memory goes back to the system. The destructors must be fit for any thread.
class Disposal {
 public:
  using Thing = std::shared_ptr<const void>;

  explicit Disposal(uv_loop_s* loop) : m_work(loop) {}

  /// Takes things to free. One of which somebody else has a share stays until that is let go; so
  /// move things here.
  void Free(std::vector<Thing> things);
  void Free(Thing thing);

 private:
  void Begin();

  std::vector<Thing> m_things;  // that wait for the work before them
  Work m_work;
};

/// Gives memory that is free in this process back to the system. Takes milliseconds if there is much:
/// for the pool.
void GiveBackFreeMemory();

}  // namespace loop

#endif
