#include "tests/stackfaults/stack_calls.h"

#include <dlfcn.h>
#include <elf.h>
#include <link.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <regex>
#include <vector>

#include "device/stack/stack_control.h"
#include "vantacore/dc_router_mgr.h"

namespace stackfaults {

namespace {

std::string ReadFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) {
    std::perror(path.c_str());
    std::abort();
  }
  return {std::istreambuf_iterator<char>(file), {}};
}

std::string FileOf(const void* address) {
  Dl_info info;
  return address != nullptr && dladdr(address, &info) != 0 ? info.dli_fname : "";
}

// The symbols that a library of this machine's kind asks others for.
std::set<std::string> UndefinedSymbols(const std::string& path) {
  const std::string image = ReadFile(path);
  const auto* const header = reinterpret_cast<const ElfW(Ehdr)*>(image.data());
  const auto* const sections = reinterpret_cast<const ElfW(Shdr)*>(image.data() + header->e_shoff);
  std::set<std::string> names;
  for (int i = 0; i < header->e_shnum; ++i) {
    if (sections[i].sh_type != SHT_DYNSYM) {
      continue;
    }
    const char* const texts = image.data() + sections[sections[i].sh_link].sh_offset;
    const auto* const symbols =
        reinterpret_cast<const ElfW(Sym)*>(image.data() + sections[i].sh_offset);
    for (std::size_t n = 1; n < sections[i].sh_size / sizeof(ElfW(Sym)); ++n) {
      if (symbols[n].st_shndx == SHN_UNDEF) {
        names.insert(texts + symbols[n].st_name);
      }
    }
  }
  return names;
}

}  // namespace

std::set<std::string> DeclaredFunctions() {
  std::string text = ReadFile("platform/stack/sms.h");
  text = std::regex_replace(text, std::regex(R"(/\*[^*]*\*+([^/*][^*]*\*+)*/)"), "");
  text = std::regex_replace(text, std::regex("#[^\n]*"), "");
  const std::regex declaration(R"(SMS_API[^;(]*\b(\w+)\s*\()");
  std::set<std::string> names;
  for (std::sregex_iterator it(text.begin(), text.end(), declaration), end; it != end; ++it) {
    names.insert((*it)[1]);
  }
  return names;
}

std::set<std::string> SymbolsThatTheLibraryNeeds() {
  const std::string library =
      FileOf(reinterpret_cast<const void*>(&Tarsel::DcRouterMgr::GetInstance));
  const std::string stack = FileOf(reinterpret_cast<const void*>(&routing_stack::Control::NameOf));
  void* const handle = dlopen(stack.c_str(), RTLD_LAZY | RTLD_NOLOAD);
  if (handle == nullptr) {
    std::fprintf(stderr, "%s\n", dlerror());
    std::abort();
  }
  std::set<std::string> names;
  for (const std::string& name : UndefinedSymbols(library)) {
    if (FileOf(dlsym(handle, name.c_str())) == stack) {
      names.insert(name);
    }
  }
  dlclose(handle);
  return names;
}

}  // namespace stackfaults
