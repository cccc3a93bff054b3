// A configuration item that does what a test says and writes down what happens to it.
#ifndef TESTS_MODELS_SCRIPTED_ITEM_H
#define TESTS_MODELS_SCRIPTED_ITEM_H

#include <functional>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "host/dc_console.h"
#include "vantacore/cfg_sched.h"

namespace test_models {

class ScriptedItem;

/// What happened to the items of one scheduler.
struct ItemLog {
  std::vector<std::string> Take() { return std::exchange(lines, {}); }

  std::vector<std::string> lines;
  std::set<const ScriptedItem*> alive;
  bool listReady = true;  // of items that do not say otherwise
};

/// Lines: "send ID", "end ID", "in-mib ID yes|no STATUS", "replace NEW OLD".
class ScriptedItem : public Tarsel::CfgItem {
 public:
  ScriptedItem(ItemLog& log_, unsigned int row_, int id_) : log(log_), row(row_), id(id_) {
    oid.SetOid(&row, 1);
    log.alive.insert(this);
  }
  ~ScriptedItem() override {
    log.lines.push_back("end " + std::to_string(id));
    log.alive.erase(this);
    if (onEnd) {
      onEnd();
    }
  }

  bool CfgListReady() override {
    // A copy of each script: the item may be replaced, and its scripts with it, while one runs.
    const auto script = isListReady;
    return script ? script() : log.listReady;
  }
  bool CfgItemReady() override {
    const bool ready = itemReady;
    if (onItemReady) {
      const auto script = onItemReady;
      script();
    }
    return ready;
  }
  void PrintItem(Tarsel::DcConsole* console) const override {
    console->Print("%d row %u %s reason %u retries %u\n", id, row, StateText(GetActionState()),
                   GetReasonCode(), GetRetryCount());
  }
  void Send() override {
    log.lines.push_back("send " + std::to_string(id));
    if (onSend) {
      const auto script = onSend;
      script();
    }
    if (sendSucceeds) {
      SetActionState(ISSUED);
    }
  }
  const Tarsel::MibOid& GetOid() override { return oid; }
  void SetInMib(bool inMib, unsigned int status) override {
    log.lines.push_back("in-mib " + std::to_string(id) + (inMib ? " yes " : " no ") +
                        std::to_string(status));
    if (onInMib) {
      const auto script = onInMib;
      script();
    }
  }
  bool Replace(void* existing) override {
    const auto* old = static_cast<const ScriptedItem*>(static_cast<CfgItem*>(existing));
    log.lines.push_back("replace " + std::to_string(id) + " " + std::to_string(old->id));
    return replaces;
  }
  bool RemoveOnNotReady() const override { return removeOnNotReady; }
  bool IsInFlight(unsigned int a, unsigned int b) const override {
    return inFlight == std::make_pair(a, b);
  }

  ItemLog& log;
  const unsigned int row;
  const int id;
  Tarsel::MibOid oid;
  bool itemReady = true;
  bool sendSucceeds = true;
  bool replaces = true;
  bool removeOnNotReady = false;
  std::pair<unsigned int, unsigned int> inFlight{0, 0};
  std::function<bool()> isListReady;
  std::function<void()> onItemReady;
  std::function<void()> onSend;
  std::function<void()> onInMib;
  std::function<void()> onEnd;
};

/// A console that collects what is printed.
class TextConsole : public Tarsel::DcConsole {
 public:
  void Print(const char* format, ...) override __attribute__((format(printf, 2, 3))) {
    std::va_list arguments;
    va_start(arguments, format);
    VPrint(format, arguments);
    va_end(arguments);
  }
  void VPrint(const char* format, std::va_list arguments) override
      __attribute__((format(printf, 2, 0))) {
    char line[256];
    std::vsnprintf(line, sizeof line, format, arguments);
    text += line;
  }
  void PrintError(const char* error) override { text += error; }
  void CommandEnd() override {}
  unsigned short GetVlan(int, char**) override { return 0; }

  std::string text;
};

}  // namespace test_models

#endif
