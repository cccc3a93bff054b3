#include "tests/unit/routers/router_fixture.h"

#include <sstream>

using Tarsel::DclConfigObject;
using Tarsel::DcRouterBase;
using Tarsel::DcRouterMgr;

namespace {

class Collector : public Tarsel::DclConfigListIteratorFunc {
 public:
  bool operator()(DclConfigObject* object) override {
    objects.push_back(object);
    return true;
  }

  std::vector<DclConfigObject*> objects;
};

std::string Show(const DcRouterMgr::CmdHandlers& handlers, const char* name,
                 std::vector<std::string> words) {
  words.insert(words.begin(), name);
  std::vector<char*> argv;
  for (std::string& word : words) {
    argv.push_back(&word[0]);
  }
  const auto log = test_support::NewConsoleLog(10);
  test_support::RecordingConsole console(log);
  handlers.at(name).handler(nullptr, &console, static_cast<int>(argv.size()), argv.data());
  EXPECT_EQ(log->ends, 0);
  return log->all;
}

}  // namespace

void RouterFixture::SetUp() { Start(10); }

void RouterFixture::Load(const std::string& members, const std::string& fileName,
                         DclConfigObject::OptionType type) {
  Reload("{\"VLAN_CONFIGURATIONS\": {\"v\": {\"vid\": 10" +
             std::string(members.empty() ? "" : ", ") + members + "}}}",
         fileName, type);
}

void RouterFixture::LoadRemote(const std::string& members, const std::string& fileName) {
  Load(members, fileName, DclConfigObject::REMOTE_OPTIONS);
}

void RouterFixture::Apply(const std::string& members) {
  Load(members);
  ASSERT_TRUE(Settle());
}

DcRouterBase* RouterFixture::Router(DcRouterMgr::ProtocolType type) {
  return Manager().GetDcRouterByVID(10, type);
}

std::vector<DclConfigObject*> RouterFixture::Objects(DcRouterMgr::ProtocolType type,
                                                     std::size_t list, const char* fileName) {
  Collector collector;
  Router(type)->GetConfigLists().at(fileName)->GetLists().at(list)->ForEach(&collector);
  return collector.objects;
}

std::vector<std::string> RouterFixture::TakeRequests() {
  const std::string function = "sms_act_protocol_row(";
  std::vector<std::string> requests;
  for (const std::string& call : TakeCalls()) {
    if (call.compare(0, function.size(), function) == 0) {
      requests.push_back(call.substr(function.size(), call.size() - function.size() - 1));
    }
  }
  return requests;
}

std::vector<std::string> RouterFixture::Rows() {
  const std::string word = "protocol ";
  std::vector<std::string> rows;
  std::istringstream dump(Dump());
  for (std::string line; std::getline(dump, line);) {
    if (line.compare(0, word.size(), word) == 0) {
      rows.push_back(line.substr(word.size()));
    }
  }
  return rows;
}

void RouterFixture::Refuse(unsigned int status, unsigned int times) {
  routing_stack::Answer answer;
  answer.status = status;
  Control().Script(routing_stack::RowType::kProtocol, answer, times);
}

std::vector<std::string> RouterFixture::Skipped() const { return traces.AtLevel(-1); }

std::string RouterFixture::ShowIp(const char* name, std::vector<std::string> words) {
  return Show(Manager().GetIp4ConCmdHandlers(), name, std::move(words));
}

std::string RouterFixture::ShowIp6(const char* name, std::vector<std::string> words) {
  return Show(Manager().GetIp6ConCmdHandlers(), name, std::move(words));
}
