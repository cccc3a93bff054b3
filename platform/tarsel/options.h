// The configuration tree: a read-only view of one JSON document.
#ifndef TARSEL_OPTIONS_H
#define TARSEL_OPTIONS_H

#include <json/value.h>

#include "tarsel/export.h"
#include "tarsel/string.h"

namespace Tarsel {

class OptionsNodeIterator;

/// One node of a configuration document: a pointer into the document that it came from and the
/// error text of the last failed read. Copying a node copies the pointer, never a sub-tree; the
/// document (`Options`) must outlive all its nodes. No operation throws, for any document.
///
/// Reads by key need the node to be a JSON object. They return 1 on success; on failure they return
/// 0, leave the result untouched and keep an error text on the node read from: "Incorrect Node type
/// for Object or Array operations" when the node is not an object, "cannot find the node element"
/// when the member is missing (or null, unless read as text), and "" when the member has another
/// type than the one asked for (or a number does not fit).
class TARSEL_API OptionsNode {
 public:
  /// A null node: no value, no children.
  OptionsNode();
  /// A view of `value`, which must outlive the node.
  explicit OptionsNode(const Json::Value& value);
  explicit OptionsNode(Json::Value&& value) = delete;

  /// Whether there is no value here: a default node, a missing child or a JSON null.
  bool IsNull() const;
  /// Whether there is nothing inside: a null node, {} or []. Scalars are never empty.
  bool IsEmpty() const;
  /// Whether there is a JSON object here, also an empty one.
  bool IsObject() const;

  /// The member named `key`; a null node if there is none or this is not an object.
  OptionsNode GetChildNode(const char* key) const;

  /// The member as text. Numbers and bools are converted, a null is the empty text; objects and
  /// arrays fail.
  int GetAsString(string& value, const char* key) const;
  /// The member as a JSON bool.
  int AsVal(bool& value, const char* key) const;
  /// The member as an integer in the range of `int`.
  int AsVal(int& value, const char* key) const;
  /// The member as an integer in the range of `unsigned int`.
  int AsVal(unsigned int& value, const char* key) const;

  /// The text of the last failed read through this node object, "" when there was none. Never null.
  const char* GetErrorText() const;

  /// Children in the document's own order: by index for an array, by key for an object. A scalar or
  /// null node has none.
  OptionsNodeIterator begin() const;
  /// The end, after the last child.
  OptionsNodeIterator end() const;

 private:
  const Json::Value* FindMember(const char* key) const;

  const Json::Value* m_value;
  mutable const char* m_error;
};

/// Goes through the children of a node; valid as long as the document is neither changed nor
/// destroyed.
class TARSEL_API OptionsNodeIterator {
 public:
  /// At a place in a document's tree.
  explicit OptionsNodeIterator(const Json::Value::const_iterator& position);

  /// A fresh node of the child here, without any error text.
  OptionsNode operator*() const;
  /// To the next child; not beyond the end.
  OptionsNodeIterator& operator++();
  /// The same child of the same node.
  bool operator==(const OptionsNodeIterator& other) const;
  /// Another child.
  bool operator!=(const OptionsNodeIterator& other) const;

  /// The child's member name; the empty text for an array's element.
  string GetName() const;

 private:
  Json::Value::const_iterator m_position;
};

/// One configuration document. Owns the JSON tree that its nodes point into.
class TARSEL_API Options {
 public:
  Options();
  /// Takes the tree over.
  explicit Options(Json::Value document);

  /// The whole document; valid while this object lives unchanged.
  OptionsNode GetRootNode() const;

 private:
  Json::Value m_document;
};

}  // namespace Tarsel

#endif
