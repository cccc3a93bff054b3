// The configuration tree. A node is two pointers, so walking a document does not copy any part of
// it. jsoncpp throws if a value is asked for a type that it does not have; every read therefore
// looks at the type first.
#include "tarsel/options.h"

#include <cstring>
#include <utility>

namespace Tarsel {

namespace {

const char NOT_A_CONTAINER[] = "Incorrect Node type for Object or Array operations";
const char NOT_FOUND[] = "cannot find the node element";
const char WRONG_TYPE[] = "";

}  // namespace

OptionsNode::OptionsNode() : m_value(nullptr), m_error("") {}
OptionsNode::OptionsNode(const Json::Value& value) : m_value(&value), m_error("") {}

bool OptionsNode::IsNull() const { return m_value == nullptr || m_value->isNull(); }

bool OptionsNode::IsEmpty() const { return m_value == nullptr || m_value->empty(); }

bool OptionsNode::IsObject() const { return m_value != nullptr && m_value->isObject(); }

// The member, which may be a JSON null. A null pointer, with the error text set, if there is none.
const Json::Value* OptionsNode::FindMember(const char* key) const {
  if (!IsObject()) {
    m_error = NOT_A_CONTAINER;
    return nullptr;
  }
  const Json::Value* member = key != nullptr ? m_value->find(key, key + std::strlen(key)) : nullptr;
  if (member == nullptr) {
    m_error = NOT_FOUND;
  }
  return member;
}

OptionsNode OptionsNode::GetChildNode(const char* key) const {
  const Json::Value* member = FindMember(key);
  return member != nullptr ? OptionsNode(*member) : OptionsNode();
}

int OptionsNode::GetAsString(string& value, const char* key) const {
  const Json::Value* member = FindMember(key);
  if (member == nullptr) {
    return 0;
  }
  if (member->isArray() || member->isObject()) {
    m_error = WRONG_TYPE;
    return 0;
  }
  const Json::String text = member->asString();
  value = string(text.data(), text.size());
  return 1;
}

namespace {

// What the typed reads share: the member must exist, not be null, and have the requested type.
bool IsReadable(const Json::Value* member, bool (Json::Value::*isType)() const,
                const char*& error) {
  if (member == nullptr) {
    return false;
  }
  if (member->isNull()) {
    error = NOT_FOUND;
    return false;
  }
  if (!(member->*isType)()) {
    error = WRONG_TYPE;
    return false;
  }
  return true;
}

}  // namespace

int OptionsNode::AsVal(bool& value, const char* key) const {
  const Json::Value* member = FindMember(key);
  if (!IsReadable(member, &Json::Value::isBool, m_error)) {
    return 0;
  }
  value = member->asBool();
  return 1;
}

int OptionsNode::AsVal(int& value, const char* key) const {
  const Json::Value* member = FindMember(key);
  if (!IsReadable(member, &Json::Value::isInt, m_error)) {
    return 0;
  }
  value = member->asInt();
  return 1;
}

int OptionsNode::AsVal(unsigned int& value, const char* key) const {
  const Json::Value* member = FindMember(key);
  if (!IsReadable(member, &Json::Value::isUInt, m_error)) {
    return 0;
  }
  value = member->asUInt();
  return 1;
}

const char* OptionsNode::GetErrorText() const { return m_error; }

OptionsNodeIterator OptionsNode::begin() const {
  return OptionsNodeIterator(m_value != nullptr ? m_value->begin() : Json::Value::const_iterator());
}

OptionsNodeIterator OptionsNode::end() const {
  return OptionsNodeIterator(m_value != nullptr ? m_value->end() : Json::Value::const_iterator());
}

OptionsNodeIterator::OptionsNodeIterator(const Json::Value::const_iterator& position)
    : m_position(position) {}

OptionsNode OptionsNodeIterator::operator*() const { return OptionsNode(*m_position); }

OptionsNodeIterator& OptionsNodeIterator::operator++() {
  ++m_position;
  return *this;
}

bool OptionsNodeIterator::operator==(const OptionsNodeIterator& other) const {
  return m_position == other.m_position;
}

bool OptionsNodeIterator::operator!=(const OptionsNodeIterator& other) const {
  return m_position != other.m_position;
}

string OptionsNodeIterator::GetName() const {
  const Json::String name = m_position.name();
  return string(name.data(), name.size());
}

Options::Options() = default;
Options::Options(Json::Value document) : m_document(std::move(document)) {}

OptionsNode Options::GetRootNode() const { return OptionsNode(m_document); }

}  // namespace Tarsel
