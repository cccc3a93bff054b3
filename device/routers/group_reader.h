// Reads the members of one group of a document, and reports what is wrong with it.
#ifndef DEVICE_ROUTERS_GROUP_READER_H
#define DEVICE_ROUTERS_GROUP_READER_H

#include <cstddef>

#include "device/documents/members.h"
#include "tarsel/options.h"
#include "tarsel/string.h"

namespace routers {

/// Returns a document's text made safe for an operator's terminal: with '?' for each control
/// character, including those outside of ASCII.
Tarsel::string Printable(const unsigned char* text, std::size_t length);

/// An absent member leaves the value as it was. A wrong member is reported in one line that names
/// the document, the router, the group and what was expected. The group is then not good, and
/// further mistakes in it are not reported.
class GroupReader {
 public:
  /// `source` and `router` are for the report and are borrowed, as is the node.
  GroupReader(const Tarsel::OptionsNode& node, const Tarsel::string& source,
              const Tarsel::string& router);

  /// Reads a ROW_NAME: at least three fields separated by '_'. The first one begins with the row's
  /// prefix, which may be empty; the second one is the VLAN, the third one the id. What else there
  /// is to a name is not looked at.
  bool ReadName(const documents::Member& member, unsigned short vlan);
  /// The name that was read; never null.
  const char* GetName() const { return m_name.c_str(); }

  void ReadFlag(const documents::Member& member, bool& value);
  /// The range is the member's.
  void ReadNumber(const documents::Member& member, unsigned int& value);
  /// An ANY_CASE_WORD; the value is its index.
  void ReadWord(const documents::Member& member, unsigned int& value);
  /// Four bytes of a dotted address.
  void ReadDotted(const documents::Member& member, unsigned char (&bytes)[4]);

  /// Reports the member unless something was reported before. The group is not good then.
  void Reject(const documents::Member& member, const char* expected);
  bool IsGood() const { return m_good; }
  const Tarsel::OptionsNode& GetNode() const { return m_node; }

 private:
  bool IsThere() const;

  const Tarsel::OptionsNode& m_node;
  const Tarsel::string& m_source;
  const Tarsel::string& m_router;
  Tarsel::string m_name;
  bool m_good;
};

}  // namespace routers

#endif
