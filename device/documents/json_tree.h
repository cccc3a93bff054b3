// Builds jsoncpp's tree of what is read by events.
#ifndef DEVICE_DOCUMENTS_JSON_TREE_H
#define DEVICE_DOCUMENTS_JSON_TREE_H

#include <json/value.h>

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "json_events.h"

namespace documents {

/// For a part of a document that nobody has declared: it is handed on as it is. Of a name that an
/// object has twice the last value stays; numbers are what jsoncpp makes of them.
class JsonTree : public JsonEvents {
 public:
  /// About how much memory the next tree may take. What is beyond that is counted and left out.
  void Limit(std::size_t bytes) { m_mostBytes = bytes; }
  /// Takes the tree that is complete.
  Json::Value TakeRoot();
  /// About how much memory the tree takes, or would take without the limit, until it is taken.
  std::size_t GetBytes() const { return m_bytes; }

  void Name(std::string_view name, std::size_t offset) override;
  void Text(std::string_view text, std::size_t offset) override;
  void Number(std::string_view digits, std::size_t offset) override;
  void Flag(bool value, std::size_t offset) override;
  void Null(std::size_t offset) override;
  void BeginObject(std::size_t offset) override;
  void EndObject() override;
  void BeginArray(std::size_t offset) override;
  void EndArray() override;

 private:
  struct Node {
    Json::Value value;
    std::string name;  // of the member that is being read
  };

  bool HasRoom(std::size_t textBytes);
  void Put(Json::Value value);
  void End();

  std::vector<Node> m_nodes;
  Json::Value m_root;
  std::size_t m_bytes = 0;
  std::size_t m_mostBytes = static_cast<std::size_t>(-1);
};

}  // namespace documents

#endif
