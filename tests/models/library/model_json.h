// How the model reads a document.
#ifndef TESTS_MODELS_LIBRARY_MODEL_JSON_H
#define TESTS_MODELS_LIBRARY_MODEL_JSON_H

#include <json/value.h>

#include <string>

namespace library_model {

inline bool IsNothing(const Json::Value& value) {
  return value.isNull() || ((value.isObject() || value.isArray()) && value.empty());
}

inline Json::Value Child(const Json::Value& value, const std::string& key) {
  return value.isObject() && value.isMember(key) ? value[key] : Json::Value();
}

inline bool ReadInt(const Json::Value& node, const char* key, int& value) {
  const Json::Value child = Child(node, key);
  if (child.isBool() || !child.isIntegral() || !child.isInt()) {
    return false;
  }
  value = child.asInt();
  return true;
}

inline bool ReadUnsigned(const Json::Value& node, const char* key, unsigned int& value) {
  const Json::Value child = Child(node, key);
  if (child.isBool() || !child.isIntegral() || !child.isUInt()) {
    return false;
  }
  value = child.asUInt();
  return true;
}

}  // namespace library_model

#endif
