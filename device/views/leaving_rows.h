// What the stack has of VLANs and interfaces that nobody wants any more.
#ifndef DEVICE_VIEWS_LEAVING_ROWS_H
#define DEVICE_VIEWS_LEAVING_ROWS_H

#include <cstddef>
#include <functional>
#include <optional>

#include "sources.h"

namespace views {

/// Goes over the routing tables, interfaces and addresses of the stack, in slices of the loop's
/// turns. Rows may come and go between two of them.
class LeavingRows {
 public:
  using Found = std::function<void(const rows::Row& row)>;

  explicit LeavingRows(const Sources& sources) : m_sources(sources) {}

  /// Looks at `most` further rows, and tells those that are not wanted. Returns whether there are
  /// more.
  bool Continue(std::size_t most, const Found& found);

 private:
  enum class Stage { INSTANCES, INTERFACES, ADDRESSES, END };

  bool FindInstances(std::size_t most, const Found& found);
  bool FindInterfaces(std::size_t most, const Found& found);
  bool FindAddresses(std::size_t most, const Found& found);
  bool IsWanted(const rows::AddressRow& row) const;

  const Sources m_sources;
  Stage m_stage = Stage::INSTANCES;
  std::optional<rows::StackInstance> m_lastInstance;
  std::optional<amb_stubs_i3_ei> m_lastInterface;
  std::optional<amb_stubs_i3_ea> m_lastAddress;
};

}  // namespace views

#endif
