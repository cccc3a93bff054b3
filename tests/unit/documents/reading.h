// Reads documents the way the folder does, for tests.
#ifndef TESTS_UNIT_DOCUMENTS_READING_H
#define TESTS_UNIT_DOCUMENTS_READING_H

#include <string>
#include <vector>

#include "device/documents/device_document.h"
#include "device/documents/document_shapes.h"
#include "device/documents/folder.h"
#include "device/documents/members.h"
#include "device/documents/vlan_document.h"
#include "tarsel/options.h"
#include "tarsel/string.h"

namespace documents_tests {

/// With the members that the protocol routers declare.
inline const documents::VlanShapes& Shapes() {
  static const documents::VlanShapes shapes(documents::DeclaredProtocols());
  return shapes;
}

/// What became of a document: whether it is one, and its file.
template <class File>
struct Read {
  bool isDocument = false;
  File file;
  std::vector<std::string> Lines() const { return file.findings.Lines(); }
};

inline Read<documents::ConfigFile> ReadVlans(const std::string& text,
                                             const documents::VlanShapes& shapes = Shapes()) {
  Read<documents::ConfigFile> read;
  read.file.name = "vlans.json";
  read.isDocument = documents::ReadVlanDocument(text, shapes, read.file);
  return read;
}

inline Read<documents::ConfigFile> ReadRemote(const std::string& text) {
  Read<documents::ConfigFile> read;
  read.file.name = "remote/a.json";
  read.file.type = Tarsel::DclConfigObject::REMOTE_OPTIONS;
  read.isDocument = documents::ReadVlanDocument(text, Shapes(), read.file);
  return read;
}

inline Read<documents::DeviceFile> ReadDevice(const std::string& text) {
  Read<documents::DeviceFile> read;
  read.isDocument = documents::ReadDeviceDocument(text, "device.json", read.file);
  return read;
}

/// The text of a document with these entries: `"a": {...}, "b": {...}`.
inline std::string WithEntries(const std::string& entries) {
  return R"({"VLAN_CONFIGURATIONS": {)" + entries + "}}";
}

/// The same with one entry `v` of VLAN 10 that has these members, too.
inline std::string WithMembers(const std::string& members) {
  return WithEntries(R"("v": {"vid": 10, )" + members + "}");
}

/// What the library reads of a node: its members in the library's order, and each as what it can be
/// read. Of a scalar in an array only that it is there.
inline std::string TextOf(const Tarsel::OptionsNode& node) {
  std::string text = node.IsObject() ? "{" : "[";
  const auto end = node.end();
  for (auto child = node.begin(); child != end; ++child) {
    const Tarsel::string name = child.GetName();
    text += std::string(name.c_str(), name.get_length()) + ":";
    bool flag = false;
    int number = 0;
    unsigned int large = 0;
    Tarsel::string value;
    if ((*child).IsObject() || (*child).begin() != (*child).end()) {
      text += TextOf(*child);
    } else if (!node.IsObject()) {
      text += (*child).IsNull() ? "null" : (*child).IsEmpty() ? "[]" : "scalar";
    } else if (node.AsVal(flag, name.c_str())) {
      text += flag ? "true" : "false";
    } else if (node.AsVal(number, name.c_str())) {
      text += std::to_string(number);
    } else if (node.AsVal(large, name.c_str())) {
      text += std::to_string(large);
    } else if (node.GetAsString(value, name.c_str())) {
      text += "'" + std::string(value.c_str(), value.get_length()) + "'";
    } else {
      text += "[]";
    }
    text += ", ";
  }
  return text + (node.IsObject() ? "}" : "]");
}

}  // namespace documents_tests

#endif
