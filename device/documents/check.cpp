#include "check.h"

#include <utility>

#include "device_document.h"
#include "document_shapes.h"
#include "vlan_document.h"

namespace documents {

namespace {

Findings Check(DocumentKind kind, const std::string& text, const std::string& file,
               const Protocols& protocols) {
  if (kind == DocumentKind::DEVICE) {
    DeviceFile document;
    ReadDeviceDocument(text, file, document);
    return std::move(document.findings);
  }
  const VlanShapes shapes(protocols);
  ConfigFile document;
  document.name = file;
  document.type = kind == DocumentKind::VLANS ? Tarsel::DclConfigObject::VLAN_OPTIONS
                                              : Tarsel::DclConfigObject::REMOTE_OPTIONS;
  ReadVlanDocument(text, shapes, document);
  return std::move(document.findings);
}

std::vector<std::string> Lines(const std::vector<Finding>& findings) {
  std::vector<std::string> lines;
  lines.reserve(findings.size());
  for (const Finding& finding : findings) {
    lines.push_back(finding.Line());
  }
  return lines;
}

}  // namespace

CheckResult CheckDocument(DocumentKind kind, const std::string& text, const std::string& file,
                          const Protocols& protocols) {
  const Findings findings = Check(kind, text, file, protocols);
  return {Lines(findings.Get(Severity::ERROR)), Lines(findings.Get(Severity::WARNING))};
}

}  // namespace documents
