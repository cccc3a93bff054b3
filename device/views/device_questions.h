// The questions, asked of a device that is put together as the daemon is.
#ifndef DEVICE_VIEWS_DEVICE_QUESTIONS_H
#define DEVICE_VIEWS_DEVICE_QUESTIONS_H

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "questions.h"
#include "sources.h"

namespace views {

class DeviceQuestions : public Questions {
 public:
  explicit DeviceQuestions(const Sources& sources) : m_sources(sources) {}

  AnyView Routes(const RouteQuery& query, Format format) override;
  AnyView Explain(const ExplainQuery& query, Format format) override;
  AnyView Summary(std::optional<unsigned short> vlan, Format format) override;
  AnyView Requests(std::optional<unsigned short> vlan, Format format) override;
  AnyView Status(Format format) override;
  AnyView Version(Format format) override;
  AnyView Metrics() override;
  AnyView Watch(const WatchQuery& query, Format format) override;
  Retried Retry(const std::optional<Prefix>& prefix) override;
  std::vector<std::string> CompleteVlan(const std::string& begun, std::size_t most) override;
  std::vector<std::string> CompleteInterface(unsigned short vlan, const std::string& begun,
                                             std::size_t most) override;
  std::vector<std::string> CompletePrefix(unsigned short vlan, bool ip6, const std::string& begun,
                                          std::size_t most) override;

 private:
  const Sources m_sources;
};

}  // namespace views

#endif
