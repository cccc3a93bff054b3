// The paths of many elements of a document's lists.
#ifndef DEVICE_DOCUMENTS_ELEMENT_NAMES_H
#define DEVICE_DOCUMENTS_ELEMENT_NAMES_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace documents {

/// There can be a million routes or rows, so a list's path is kept once, and of an element its name
/// only.
class ElementNames {
 public:
  /// An element: its list, and its name or, in an array, its index.
  struct Element {
    std::uint32_t list = 0;
    std::uint32_t name = 0;
  };

  /// Adds a list, whose elements are added next.
  void AddList(std::string path, bool isArray);
  /// Adds an element of the list that was added last. A name must not have a NUL.
  Element Add(std::string_view name, std::uint32_t index);
  void ShrinkToFit() { m_names.shrink_to_fit(); }

  std::string PathOf(const Element& element) const;
  /// Whether `a` counts before `b`: by index in an array, else by name. Both are of one list. Takes
  /// no longer than the shorter name asks for.
  bool ComesFirst(const Element& a, const Element& b) const;

 private:
  struct List {
    std::string path;
    bool isArray = false;
  };

  const char* NameOf(const Element& element) const { return m_names.c_str() + element.name; }

  std::vector<List> m_lists;
  std::string m_names;  // each with a NUL after it
};

}  // namespace documents

#endif
