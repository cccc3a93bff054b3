// Documents of tests, read as the configuration folder reads them.
#ifndef TESTS_SUPPORT_READ_DOCUMENTS_H
#define TESTS_SUPPORT_READ_DOCUMENTS_H

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "device/documents/device_document.h"
#include "device/documents/vlan_document.h"

namespace test_support {

/// A device document without mistakes.
inline documents::Device ReadDevice(const std::string& text) {
  documents::DeviceFile file;
  EXPECT_TRUE(documents::ReadDeviceDocument(text, "device.json", file));
  EXPECT_TRUE(file.findings.Lines().empty()) << file.findings.Lines()[0];
  return file.device;
}

/// A VLAN document, if it is named so, or a remote document: what can be used of it.
inline std::shared_ptr<const documents::ConfigFile> ReadConfig(const std::string& name,
                                                               const std::string& text) {
  const auto file = std::make_shared<documents::ConfigFile>();
  file->name = name;
  file->type = name == "vlans.json" ? Tarsel::DclConfigObject::VLAN_OPTIONS
                                    : Tarsel::DclConfigObject::REMOTE_OPTIONS;
  const documents::VlanShapes shapes(documents::DeclaredProtocols());
  EXPECT_TRUE(documents::ReadVlanDocument(text, shapes, *file));
  return file;
}

}  // namespace test_support

#endif
