// The name of a row of a protocol's table in the stack.
#ifndef DEVICE_ROUTERS_ROW_NAME_H
#define DEVICE_ROUTERS_ROW_NAME_H

#include <string>

namespace routers {

/// Names a row: its table, the protocol instance and the key within the table.
struct RowName {
  unsigned int table = 0;
  unsigned int instance = 0;
  std::string key;
};

/// By instance, table and key.
bool operator<(const RowName& a, const RowName& b);

}  // namespace routers

#endif
