// The static routes that all documents together ask for.
#ifndef DEVICE_DOCUMENTS_MERGED_ROUTES_H
#define DEVICE_DOCUMENTS_MERGED_ROUTES_H

#include <cstddef>
#include <vector>

#include "folder.h"

namespace documents {

/// Goes through the routes of documents in the order of their targets and of their interfaces'
/// names. A route that several documents have comes once for each of them, in the order of the
/// documents: the first one counts. Nothing is copied: there can be a million routes. The documents
/// must outlive the object.
class MergedRoutes {
 public:
  explicit MergedRoutes(const ConfigFiles& documents);
  /// Only the routes of this VLAN.
  MergedRoutes(const ConfigFiles& documents, unsigned short vlan);

  /// Returns the next route, which is that document's; null at the end.
  const Route* Next();
  /// Whether no document before has the route that Next has returned last.
  bool IsFirst() const { return m_isFirst; }
  /// The document of that route.
  const ConfigFile& GetDocument() const { return *m_last.document; }
  /// The name of that route's interface; empty for none.
  const std::string& GetInterface() const { return m_last.Interface(); }

  /// How many routes all documents have.
  std::size_t CountAll() const { return m_count; }

 private:
  // A document of which the routes from `at` on are still to come.
  struct Source {
    const ConfigFile* document = nullptr;
    const Route* at = nullptr;
    const Route* end = nullptr;
    std::size_t number = 0;  // in the order of the documents

    const std::string& Interface() const { return document->routes.InterfaceOf(*at); }
    bool IsSameRoute(const Source& other) const;
    /// For a heap with the first route on top.
    static bool ComesLater(const Source& a, const Source& b);
  };

  void Add(const ConfigFile& document, const Route* begin, const Route* end);
  void Advance();

  std::vector<Source> m_sources;  // a heap
  Source m_last;
  bool m_isFirst = true;
  std::size_t m_count = 0;
};

}  // namespace documents

#endif
