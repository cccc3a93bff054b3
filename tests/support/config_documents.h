// Documents for the tests of the configuration model.
#ifndef TESTS_SUPPORT_CONFIG_DOCUMENTS_H
#define TESTS_SUPPORT_CONFIG_DOCUMENTS_H

#include <gtest/gtest.h>
#include <json/json.h>

#include <memory>
#include <sstream>
#include <string>

#include "tarsel/options.h"

namespace config_test {

/// The document of a JSON text; a text that is no JSON fails the test.
inline Tarsel::Options Document(const std::string& json) {
  Json::Value value;
  std::string errors;
  std::istringstream input(json);
  EXPECT_TRUE(Json::parseFromStream(Json::CharReaderBuilder(), input, &value, &errors))
      << json << "\n"
      << errors;
  return Tarsel::Options(value);
}

/// A document together with a node of it, so that the node cannot outlive what it points into.
class Node {
 public:
  explicit Node(const std::string& json) : m_document(Document(json)) {
    m_node = m_document.GetRootNode();
  }
  Node(const Node&) = delete;
  Node& operator=(const Node&) = delete;

  operator const Tarsel::OptionsNode&() const { return m_node; }
  const Tarsel::OptionsNode* operator->() const { return &m_node; }

 private:
  Tarsel::Options m_document;
  Tarsel::OptionsNode m_node;
};

}  // namespace config_test

#endif
