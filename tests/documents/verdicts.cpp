// Checks documents: each line of standard input is "KIND DOCUMENT", KIND being device, vlans or
// remote. For each of them one line is written: the errors, each with a tab after it.
#include <cstdio>
#include <iostream>
#include <string>

#include "device/documents/check.h"

namespace {

using documents::DocumentKind;

DocumentKind KindOf(const std::string& word) {
  return word == "device"  ? DocumentKind::DEVICE
         : word == "vlans" ? DocumentKind::VLANS
                           : DocumentKind::REMOTE;
}

}  // namespace

int main() {
  const documents::Protocols protocols = documents::DeclaredProtocols();
  std::string line;
  while (std::getline(std::cin, line)) {
    const std::size_t blank = line.find(' ');
    const std::string kind = line.substr(0, blank);
    const auto result = CheckDocument(KindOf(kind), line.substr(blank + 1), kind, protocols);
    for (const std::string& error : result.errors) {
      std::printf("%s\t", error.c_str());
    }
    std::puts("");
  }
  return 0;
}
