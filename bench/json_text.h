// Parsing a text with the JSON library: the yardstick of a run.
#ifndef BENCH_JSON_TEXT_H
#define BENCH_JSON_TEXT_H

#include <json/json.h>

#include <cstdlib>
#include <memory>
#include <string>

namespace bench {

inline Json::Value ParseJson(const std::string& text) {
  Json::Value root;
  Json::CharReaderBuilder builder;
  const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
  std::string errors;
  if (!reader->parse(text.data(), text.data() + text.size(), &root, &errors)) std::abort();
  return root;
}

}  // namespace bench

#endif
