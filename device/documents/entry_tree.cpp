#include "entry_tree.h"

#include <algorithm>
#include <utility>

namespace documents {

namespace {

// Of a 64-bit machine: a member or an element in its parent's map, an object of its own, a text or a
// name beside its letters.
constexpr std::size_t NODE_BYTES = 96;
constexpr std::size_t OBJECT_BYTES = 64;
constexpr std::size_t TEXT_BYTES = 24;

Json::Value ValueOf(const Scalar& scalar, const Value& value) {
  switch (scalar.type) {
    case Scalar::FLAG:
      return Json::Value(value.flag);
    case Scalar::NUMBER:
      return Json::Value(value.number);
    default:
      return {scalar.text.data(), scalar.text.data() + scalar.text.size()};
  }
}

}  // namespace

EntryTree::EntryTree(std::size_t mostBytes) : m_mostBytes(mostBytes) {
  m_nodes.push_back({Json::objectValue, nullptr, {}});
}

void EntryTree::BeginObject(const Member& member, std::string_view name) {
  FinishAny();
  const char* const declared = member.kind == Kind::OBJECT ? member.name : nullptr;
  m_nodes.push_back({Json::objectValue, declared, std::string(name)});
  m_bytes += OBJECT_BYTES;
}

bool EntryTree::HasNamesake() const {
  const Node& node = m_nodes.back();
  const Json::Value& parent = m_nodes[m_nodes.size() - 2].value;
  return node.member == nullptr && parent.isObject() && parent.isMember(node.name);
}

void EntryTree::EndObject(bool isUsable) {
  FinishAny();
  const bool isLeftOut = HasNamesake();
  Node node = std::move(m_nodes.back());
  m_nodes.pop_back();
  if (isUsable && !isLeftOut) {
    Put(node.member, node.name, std::move(node.value));
  }
}

void EntryTree::BeginList(const Member& member, bool isArray) {
  FinishAny();
  m_nodes.push_back({isArray ? Json::arrayValue : Json::objectValue, member.name, {}});
}

void EntryTree::EndList() { EndObject(true); }

JsonEvents& EntryTree::BeginAny(const Member& member) {
  FinishAny();
  m_anyMember = &member;
  m_any.Limit(m_mostBytes - std::min(m_bytes, m_mostBytes));
  return m_any;
}

// The end of an ANY_OBJECT is heard by the tree that collects it.
void EntryTree::FinishAny() {
  if (m_anyMember != nullptr) {
    m_bytes += m_any.GetBytes();
    Put(m_anyMember->name, {}, m_any.TakeRoot());
    m_anyMember = nullptr;
  }
}

void EntryTree::Take(const Member& member, const Scalar& scalar, const Value& value) {
  m_bytes += scalar.type == Scalar::TEXT ? TEXT_BYTES + scalar.text.size() : 0;
  Put(member.name, {}, ValueOf(scalar, value));
}

// Declared names are not copied into the tree.
void EntryTree::Put(const char* member, const std::string& name, Json::Value value) {
  Json::Value& parent = m_nodes.back().value;
  m_bytes += NODE_BYTES + (name.empty() ? 0 : TEXT_BYTES + name.size());
  if (parent.isArray()) {
    parent.append(std::move(value));
  } else if (member != nullptr) {
    parent[Json::StaticString(member)] = std::move(value);
  } else {
    parent[name] = std::move(value);
  }
}

const Json::Value& EntryTree::GetCurrent() {
  FinishAny();
  return m_nodes.back().value;
}

Json::Value EntryTree::TakeRoot() { return std::move(m_nodes.front().value); }

}  // namespace documents
