// JSON texts of tests, fuzz targets and benchmarks, read into what the library and the device take.
#ifndef TESTS_SUPPORT_JSON_TEXT_H
#define TESTS_SUPPORT_JSON_TEXT_H

#include <json/reader.h>
#include <json/value.h>

#include <memory>
#include <stdexcept>
#include <string>

#include "tarsel/options.h"

namespace test_support {

/// Reads a text that may be wrong. False, with the problem, if it is not JSON.
inline bool ReadJson(const Json::CharReaderBuilder& builder, const std::string& text,
                     Json::Value& value, std::string& problem) {
  const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
  return reader->parse(text.data(), text.data() + text.size(), &value, &problem);
}

/// The value of a text that must be right: throws std::invalid_argument, which begins with `name`,
/// if it is not JSON.
inline Json::Value ParsedJson(const std::string& text, const std::string& name = "JSON text") {
  Json::Value value;
  std::string problem;
  if (!ReadJson(Json::CharReaderBuilder(), text, value, problem)) {
    throw std::invalid_argument(name + ": " + problem + text);
  }
  return value;
}

/// The same as the library's document.
inline Tarsel::Options Document(const std::string& text) {
  return Tarsel::Options(ParsedJson(text));
}

/// A document together with its root node, so that the node cannot outlive what it points into.
class Node {
 public:
  explicit Node(const std::string& text)
      : m_document(Document(text)), m_node(m_document.GetRootNode()) {}
  Node(const Node&) = delete;
  Node& operator=(const Node&) = delete;

  operator const Tarsel::OptionsNode&() const { return m_node; }
  const Tarsel::OptionsNode* operator->() const { return &m_node; }

 private:
  Tarsel::Options m_document;
  Tarsel::OptionsNode m_node;
};

}  // namespace test_support

#endif
