// Reads the members of one group of a document, and says what is wrong with it.
#ifndef DEVICE_ROUTERS_GROUP_READER_H
#define DEVICE_ROUTERS_GROUP_READER_H

#include <cstddef>

#include "tarsel/options.h"
#include "tarsel/string.h"

namespace Tarsel {

/// A text of a document as an operator's terminal may get it: with '?' for each control character,
/// those of UTF-8 behind the ASCII as well.
string Printable(const unsigned char* text, std::size_t length);

/// Members that are absent leave the value as it was. A member that is wrong is reported in one line
/// that names the document, the router, the group and what was expected; the group is then not good,
/// and further mistakes in it are not reported.
class GroupReader {
 public:
  /// `source` and `router` are for the report and are borrowed, as is the node.
  GroupReader(const OptionsNode& node, const string& source, const string& router);

  /// Reads "Name": at least three fields separated by '_', the first one beginning with `protocol`,
  /// which may be empty, the second one the VLAN, and the third one the id.
  bool ReadName(const char* protocol, unsigned short vlan);
  /// The name that was read; never null.
  const char* GetName() const { return m_name.c_str(); }

  void ReadFlag(const char* key, bool& value);
  void ReadNumber(const char* key, unsigned int& value, unsigned int low, unsigned int high);
  /// Four bytes of a dotted address.
  void ReadDotted(const char* key, unsigned char (&bytes)[4]);

  /// Reports the member unless something else was reported before; the group is not good.
  void Reject(const char* key, const char* expected);
  bool IsGood() const { return m_good; }
  const OptionsNode& GetNode() const { return m_node; }

 private:
  bool IsThere() const;

  const OptionsNode& m_node;
  const string& m_source;
  const string& m_router;
  string m_name;
  bool m_good;
};

}  // namespace Tarsel

#endif
