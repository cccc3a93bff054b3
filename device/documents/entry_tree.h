// Builds what the library reads of a document: jsoncpp's tree of it, without the routes.
#ifndef DEVICE_DOCUMENTS_ENTRY_TREE_H
#define DEVICE_DOCUMENTS_ENTRY_TREE_H

#include <json/value.h>

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "json_tree.h"
#include "member_value.h"
#include "members.h"

namespace documents {

/// Gets the parts of a document as a ShapeVisitor does. The tree has only members that somebody has
/// declared, and what an ANY_OBJECT holds.
class EntryTree {
 public:
  /// Of what ANY_OBJECTs hold, what is beyond `mostBytes` for the whole tree is left out. GetBytes
  /// tells it. The rest is left out by whoever calls.
  explicit EntryTree(std::size_t mostBytes);

  void BeginObject(const Member& member, std::string_view name);
  /// Whoever calls decides whether the object can be used. One of a list that has an object of its
  /// name already is left out: the first counts.
  void EndObject(bool isUsable);
  /// Whether that is so of the object that is being read.
  bool HasNamesake() const;
  void BeginList(const Member& member, bool isArray);
  void EndList();
  JsonEvents& BeginAny(const Member& member);
  void Take(const Member& member, const Scalar& scalar, const Value& value);

  /// What has been read so far of the object that is being read.
  const Json::Value& GetCurrent();
  Json::Value TakeRoot();
  /// About how much memory the tree takes, or would take if nothing were left out.
  std::size_t GetBytes() const { return m_bytes + m_any.GetBytes(); }

 private:
  struct Node {
    Json::Value value;
    const char* member =
        nullptr;  // the declared name, which outlives the tree; null for a free one
    std::string name;
  };

  void FinishAny();
  void Put(const char* member, const std::string& name, Json::Value value);

  const std::size_t m_mostBytes;
  std::vector<Node> m_nodes;
  JsonTree m_any;
  const Member* m_anyMember = nullptr;
  std::size_t m_bytes = 0;
};

}  // namespace documents

#endif
