// Where something is in the configuration folder.
#ifndef DEVICE_DOCUMENTS_PLACE_H
#define DEVICE_DOCUMENTS_PLACE_H

#include <cstddef>
#include <memory>
#include <string>

namespace documents {

/// A file, by its name relative to the folder, and the path of a member in it; an empty path means
/// the document itself. A place is the origin of what was read there. Places of one file share its
/// name.
class Place {
 public:
  explicit Place(std::string file);

  /// A member of the object at this place.
  Place Member(const std::string& name) const;
  /// An element of the array at this place.
  Place Element(std::size_t index) const;
  /// The entry for a VLAN, whatever the entry's name is. Only at the place of a document itself.
  Place Vlan(unsigned short vlan) const;

  const std::string& File() const { return *m_file; }
  const std::string& Path() const { return m_path; }
  /// "FILE: PATH", or "FILE" for the document itself.
  std::string Text() const { return m_path.empty() ? *m_file : *m_file + ": " + m_path; }

 private:
  Place(std::shared_ptr<const std::string> file, std::string path);

  std::shared_ptr<const std::string> m_file;
  std::string m_path;
};

}  // namespace documents

#endif
