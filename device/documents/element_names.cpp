#include "element_names.h"

#include <cstring>
#include <utility>

#include "place.h"

namespace documents {

namespace {

// A path shows less of a name, so no more is copied: a name can be as long as a document.
constexpr std::size_t LONGEST_SHOWN = 256;

}  // namespace

void ElementNames::AddList(std::string path, bool isArray) {
  m_lists.push_back({std::move(path), isArray});
}

ElementNames::Element ElementNames::Add(std::string_view name, std::uint32_t index) {
  const auto list = static_cast<std::uint32_t>(m_lists.size() - 1);
  if (m_lists.back().isArray) {
    return {list, index};
  }
  const Element element{list, static_cast<std::uint32_t>(m_names.size())};
  m_names.append(name.data(), name.size());
  m_names += '\0';
  return element;
}

std::string ElementNames::PathOf(const Element& element) const {
  const List& list = m_lists[element.list];
  if (list.isArray) {
    return ElementPath(list.path, element.name);
  }
  const char* const name = NameOf(element);
  return MemberPath(list.path, std::string(name, strnlen(name, LONGEST_SHOWN)));
}

bool ElementNames::ComesFirst(const Element& a, const Element& b) const {
  return m_lists[a.list].isArray ? a.name < b.name : std::strcmp(NameOf(a), NameOf(b)) < 0;
}

}  // namespace documents
