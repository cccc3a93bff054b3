// describe_members [--check] ROOT: writes what docs/ of the sources in the folder ROOT says of the
// members of documents, or checks that it is up to date.
#include <cstdio>
#include <exception>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <string_view>

#include "device/documents/document_shapes.h"
#include "schema.h"
#include "tables.h"

namespace {

std::string Read(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) {
    throw std::runtime_error(path + " cannot be read");
  }
  return {std::istreambuf_iterator<char>(file), {}};
}

void Write(const std::string& path, const std::string& text) {
  std::ofstream file(path, std::ios::binary);
  if (!(file << text).flush()) {
    throw std::runtime_error(path + " cannot be written");
  }
}

/// Whether the file has the text now.
bool Settle(const std::string& path, const std::string& text, bool isCheck) {
  if (Read(path) == text) {
    return true;
  }
  if (isCheck) {
    std::fprintf(stderr, "%s is not what the declarations say; run tools/describe-members\n",
                 path.c_str());
    return false;
  }
  Write(path, text);
  std::printf("%s\n", path.c_str());
  return true;
}

bool Describe(const std::string& root, bool isCheck) {
  const documents::Protocols protocols = documents::DeclaredProtocols();
  const documents::VlanShapes shapes(protocols);
  const auto schema = [&](const std::string& name, const documents::Object& document) {
    return Settle(root + "/docs/schema/" + name, reference::Schema(name, document), isCheck);
  };
  const std::string page = root + "/docs/documents.md";
  bool isSettled = schema("device.schema.json", documents::DeviceShape());
  isSettled = schema("vlans.schema.json", shapes.Vlans()) && isSettled;
  isSettled = schema("remote.schema.json", shapes.Remote()) && isSettled;
  return Settle(page, reference::WithTables(Read(page), shapes, protocols), isCheck) && isSettled;
}

}  // namespace

int main(int argc, char** argv) {
  const bool isCheck = argc == 3 && std::string_view(argv[1]) == "--check";
  if (argc != (isCheck ? 3 : 2)) {
    std::fputs("usage: describe_members [--check] ROOT\n", stderr);
    return 2;
  }
  try {
    return Describe(argv[argc - 1], isCheck) ? 0 : 1;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
  }
}
