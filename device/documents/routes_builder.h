// Builds the routes of a document while it is read.
#ifndef DEVICE_DOCUMENTS_ROUTES_BUILDER_H
#define DEVICE_DOCUMENTS_ROUTES_BUILDER_H

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "document_findings.h"
#include "member_value.h"
#include "route.h"
#include "shape_reader.h"

namespace documents {

/// Gets the parts of routes as a ShapeVisitor does, and finds what no single member can tell: host
/// bits, a metric that the library would cut, one route with two metrics.
class RoutesBuilder {
 public:
  /// `findings` is borrowed.
  explicit RoutesBuilder(DocumentFindings& findings) : m_findings(findings) {}

  /// An entry of the document begins.
  void BeginEntry();
  /// It has ended. Without a VLAN its routes are left out.
  void EndEntry(const unsigned short* vlan);

  void BeginList(std::string path, bool isArray, bool ip6);
  /// `index` is that of an array's element, `name` that of an object's member.
  void BeginRoute(std::string_view name, std::size_t index, std::size_t offset);
  void Take(const Member& member, const Scalar& scalar, const Value& value, std::size_t offset);
  void EndRoute(const Outcome& outcome);

  /// All routes have been read: `text` is the document's. Nothing else may be called afterwards.
  Routes Finish(std::string_view text);

 private:
  /// A route whose members are being read.
  struct Draft {
    Route route;
    std::size_t offset = 0;
    std::uint32_t metric = 0;
    std::size_t metricOffset = 0;
    std::size_t networkOffset = 0;
    std::size_t modeOffset = 0;
    std::string wrongMode;
    bool hasMode = false;
    bool passesThrough = false;
  };

  void TakeText(const Member& member, const Scalar& scalar, std::size_t offset);
  bool Judge();
  bool JudgeHostBits();
  bool JudgeMetric();
  void Complain(Severity severity, std::size_t offset, const char* member,
                const std::string& problem);
  std::uint32_t NumberOf(std::string_view interface);
  void SortInterfaces();
  void FindPositions(std::string_view text);
  void Sort();
  void DropDoubled();
  void TellDoubled(const Route& route, const Route& other);

  DocumentFindings& m_findings;
  Routes m_result;
  std::map<std::string, std::uint32_t, std::less<>> m_interfaceNumbers;
  std::size_t m_firstOfEntry = 0;
  bool m_ip6 = false;
  Draft m_draft;
};

}  // namespace documents

#endif
