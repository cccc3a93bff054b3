// Questions that write down what they are asked.
#ifndef TESTS_SUPPORT_QUESTIONS_DOUBLE_H
#define TESTS_SUPPORT_QUESTIONS_DOUBLE_H

#include <deque>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "device/views/plain_view.h"
#include "device/views/questions.h"

namespace test_support {

/// A view whose pieces a test gives; without any it waits, until it is ended.
class ViewDouble : public views::View {
 public:
  struct Script {
    std::deque<std::string> pieces;
    bool isEnded = true;  // after the pieces
    bool isRefused = false;
    int views = 0;  // that are alive
    ViewDouble* last = nullptr;
  };

  explicit ViewDouble(std::shared_ptr<Script> script) : m_script(std::move(script)) {
    ++m_script->views;
    m_script->last = this;
  }
  ~ViewDouble() override { --m_script->views; }

  Rest Next(std::string& text) override {
    if (!m_script->pieces.empty()) {
      text += m_script->pieces.front();
      m_script->pieces.pop_front();
    }
    if (!m_script->pieces.empty()) {
      return Rest::MORE;
    }
    return m_script->isEnded ? Rest::NONE : Rest::LATER;
  }
  bool IsRefused() const override { return m_script->isRefused; }
  using View::Wake;

 private:
  const std::shared_ptr<Script> m_script;
};

class QuestionsDouble : public views::Questions {
 public:
  views::AnyView Routes(const views::RouteQuery& query, views::Format format) override {
    const char* const states[] = {"installed", "waiting", "refused"};
    std::string text = query.ip6 ? "route6" : "route";
    text += VlanOf(query.vlan);
    text += query.address ? " address " + views::Describe(*query.address) : "";
    text += query.prefix ? " prefix " + views::Describe(*query.prefix) : "";
    text += query.isLonger ? " longer" : "";
    text += query.protocol ? " proto " + std::to_string(static_cast<int>(*query.protocol)) : "";
    text += query.via ? " via " + views::Describe(*query.via) : "";
    text += query.interface.empty() ? "" : " dev " + query.interface;
    text += query.state ? std::string(" ") + states[static_cast<int>(*query.state)] : "";
    text += query.isSummary ? " summary" : "";
    return Note(text, format);
  }
  views::AnyView Explain(const views::ExplainQuery& query, views::Format format) override {
    std::string text = "explain" + VlanOf(query.vlan);
    text += query.address ? " address " + views::Describe(*query.address) : "";
    text += query.prefix ? " prefix " + views::Describe(*query.prefix) : "";
    return Note(text, format);
  }
  views::AnyView Summary(std::optional<unsigned short> vlan, views::Format format) override {
    return Note("summary" + VlanOf(vlan), format);
  }
  views::AnyView Requests(std::optional<unsigned short> vlan, views::Format format) override {
    return Note("requests" + VlanOf(vlan), format);
  }
  views::AnyView Status(views::Format format) override { return Note("status", format); }
  views::AnyView Version(views::Format format) override { return Note("version", format); }
  views::AnyView Metrics() override { return Note("metrics", views::Format::TEXT); }
  views::AnyView Watch(const views::WatchQuery& query, views::Format format) override {
    const char* const kinds[] = {" route", " request", " interface", " reload"};
    return Note(
        "watch" + VlanOf(query.vlan) + (query.kind ? kinds[static_cast<int>(*query.kind)] : ""),
        format);
  }
  views::Retried Retry(const std::optional<views::Prefix>& prefix) override {
    calls.push_back("retry" + (prefix ? " " + views::Describe(*prefix) : ""));
    return {retried, std::to_string(retried) + " rows\n"};
  }
  std::vector<std::string> CompleteVlan(const std::string& begun, std::size_t) override {
    return Beginning({"10", "20"}, begun);
  }
  std::vector<std::string> CompleteInterface(unsigned short vlan, const std::string& begun,
                                             std::size_t) override {
    return Beginning(vlan == 10 ? std::vector<std::string>{"eth0", "eth1", "lo10"}
                                : std::vector<std::string>{"eth2"},
                     begun);
  }
  std::vector<std::string> CompletePrefix(unsigned short, bool ip6, const std::string& begun,
                                          std::size_t) override {
    return Beginning(ip6 ? std::vector<std::string>{"2001:db8::/32"}
                         : std::vector<std::string>{"10.9.0.0/16", "10.40.0.0/13"},
                     begun);
  }

  std::vector<std::string> calls;
  std::size_t retried = 0;  // by Retry
  /// Of the next views.
  std::shared_ptr<ViewDouble::Script> script = std::make_shared<ViewDouble::Script>();

 private:
  static std::string VlanOf(std::optional<unsigned short> vlan) {
    return vlan ? " vlan " + std::to_string(*vlan) : " all";
  }
  static std::vector<std::string> Beginning(const std::vector<std::string>& all,
                                            const std::string& begun) {
    std::vector<std::string> some;
    for (const std::string& one : all) {
      if (one.compare(0, begun.size(), begun) == 0) {
        some.push_back(one);
      }
    }
    return some;
  }
  views::AnyView Note(std::string text, views::Format format) {
    calls.push_back(std::move(text) + (format == views::Format::JSON ? " json" : ""));
    return std::make_unique<ViewDouble>(script);
  }
};

}  // namespace test_support

#endif
