// Where something is in the configuration folder.
#ifndef DEVICE_DOCUMENTS_PLACE_H
#define DEVICE_DOCUMENTS_PLACE_H

#include <cstddef>
#include <cstdint>
#include <string>

namespace documents {

/// A position in a text: line and column count from 1, columns in characters; 0 is unknown.
struct Position {
  std::uint32_t line = 0;
  std::uint32_t column = 0;

  friend bool operator==(const Position& a, const Position& b) {
    return a.line == b.line && a.column == b.column;
  }
};

/// The path of a member: "VLAN_CONFIGURATIONS.office.BGP.PEERS[0].as"; empty for the document itself.
/// Names that are not plain words are quoted.
std::string MemberPath(const std::string& path, const std::string& name);
std::string ElementPath(const std::string& path, std::size_t index);

/// The origin of something that was read, by its file (relative to the folder), its position there
/// and the path of its member. Each part may be unknown.
struct Place {
  std::string file;
  Position position;
  std::string path;

  /// "FILE:LINE:COLUMN: PATH", without what is unknown.
  std::string Text() const;
};

}  // namespace documents

#endif
