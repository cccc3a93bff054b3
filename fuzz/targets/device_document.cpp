// The device document: any text as what the machine around the library looks like.
//
// The input holds up to four texts, separated by the byte 0x1E, which are applied one after the other
// to the interface registry; what cannot be used is left out, as a device does that takes folders in
// part. What was read keeps its promises; and when the documents have gone the library and the stack
// know of no interface any more. What is found about documents is the target `documents`' own matter.
// The registry's name index keeps the names it has seen; the name lookups do not take part here.
#include "device/documents/device_document.h"

#include "device/keepers/interfaces.h"
#include "fuzz/support/bytes.h"
#include "fuzz/support/check.h"
#include "fuzz/support/device.h"

namespace {

using fuzz::Check;
using fuzz::Device;

constexpr std::size_t MAX_DOCUMENTS = 4;

documents::Device ReadText(const std::string& text) {
  documents::DeviceFile file;
  const bool isDocument = documents::ReadDeviceDocument(text, "device.json", file);
  for (const std::string& line : file.findings.Lines()) Device::Get().Note(line);
  Check(isDocument || file.findings.HasErrors(), "no document, and no reason why");
  return isDocument ? file.device : documents::Device();
}

void CheckDocument(const documents::Device& document) {
  for (const auto& [key, interface] : document.interfaces) {
    Check(!interface.name.empty(), "an interface without a name");
    Check(document.origins.at(key).ip6.size() == interface.ip6.size(),
          "an address without a place");
    for (const Tarsel::Ip6Prefix& prefix : interface.ip6) {
      Check(prefix.GetLength() <= 128, "an address with too long a prefix");
    }
  }
}

void Run(const std::vector<std::string>& texts) {
  Device& device = Device::Get();
  keepers::Interfaces* const state = new keepers::Interfaces;
  std::set<unsigned short> vlans;
  for (const std::string& text : texts) {
    const documents::Device document = ReadText(text);
    CheckDocument(document);
    state->Apply(document, {10});
    Check(device.Settle(), "the stack does not come to rest");
    Check(device.Control().Interfaces().size() <= 2 * document.interfaces.size(),
          "the stack has more interfaces than the document");
    for (const auto& entry : document.primaries) vlans.insert(entry.first);
  }
  state->Apply({}, vlans);
  Check(device.Settle(), "the stack does not come to rest at the end");
  Check(device.Control().Interfaces().empty() && device.Control().Addresses().empty(),
        "interfaces are left behind:\n" + device.Dump());
  delete state;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::vector<std::string> texts =
      fuzz::Split(std::string(reinterpret_cast<const char*>(data), size), '\x1E');
  if (texts.size() > MAX_DOCUMENTS) return 0;
  fuzz::RunTwice([&] { Run(texts); });
  return 0;
}
