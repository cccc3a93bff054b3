// The rows for which requests wait, with the times at which these came.
#ifndef DEVICE_STACK_WAITING_ROWS_H
#define DEVICE_STACK_WAITING_ROWS_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <unordered_map>
#include <vector>

#include "row_name.h"

namespace routing_stack {

class WaitingRows {
 public:
  void Add(const Oid& row, std::uint64_t since) { m_rows[WordsOf(row)].push_back(since); }
  /// One that was added.
  void Remove(const Oid& row, std::uint64_t since);
  /// The earliest time of a row; nothing if no request waits for it.
  std::optional<std::uint64_t> Since(const Oid& row) const;

 private:
  struct Hash {
    std::size_t operator()(const OidWords& words) const;
  };

  // Hardly ever more than one time each: the library waits for the end of a row's request.
  std::unordered_map<OidWords, std::vector<std::uint64_t>, Hash> m_rows;
};

}  // namespace routing_stack

#endif
