#include "tests/support/device_fixture.h"

#include <utility>

#include "tests/support/json_text.h"

namespace test_support {

namespace {

constexpr std::uint64_t STEP_MILLISECONDS = 10;
constexpr std::uint64_t QUIET_MILLISECONDS = 300;  // three periods of the configuration scheduler

}  // namespace

void SocketRecorder::RegisterDescriptor(int fd, int mode, int id) {
  calls.push_back("register fd=" + std::to_string(fd) + " mode=" + std::to_string(mode) +
                  " id=" + std::to_string(id));
}

void SocketRecorder::RemoveDescriptor(int fd, int id) {
  calls.push_back("remove fd=" + std::to_string(fd) + " id=" + std::to_string(id));
}

void SocketRecorder::ChangeDescriptorMode(int fd, int mode) {
  calls.push_back("change fd=" + std::to_string(fd) + " mode=" + std::to_string(mode));
}

Device::Device() : stack([this] { return loop.Now() / 1000; }) {
  Tarsel::TimerLoop::SetCurrent(&loop);
  stack.MakeCurrent();
}

Device::~Device() { Control().SetCallObserver({}); }

void Device::Start(unsigned short defaultVlan) {
  Tarsel::DcRouterMgr* manager = Tarsel::DcRouterMgr::GetInstance();
  manager->Initialize(defaultVlan, &ipInterface);
  manager->SckInterfaceInitialize(&sockets);
}

bool Device::Reload(const std::string& json, const std::string& fileName,
                    Tarsel::DclConfigObject::OptionType type) {
  // The document ends with this call: whoever kept a node of it is found out by the sanitizer.
  const Tarsel::Options document = Document(json);
  return Reload(document, fileName, type);
}

bool Device::Reload(const Tarsel::Options& document, const std::string& fileName,
                    Tarsel::DclConfigObject::OptionType type) {
  return Manager().Reload(document, Tarsel::string(fileName.c_str()), type);
}

bool Device::Settle(std::uint64_t limitMilliseconds) {
  std::uint64_t seen = stack.GetFacts().CountRequests();
  std::uint64_t quiet = 0;
  for (std::uint64_t gone = 0; gone < limitMilliseconds; gone += STEP_MILLISECONDS) {
    loop.AdvanceMilliseconds(STEP_MILLISECONDS);
    const std::uint64_t now = stack.GetFacts().CountRequests();
    quiet = now == seen && stack.IsIdle() ? quiet + STEP_MILLISECONDS : 0;
    seen = now;
    if (quiet >= QUIET_MILLISECONDS) {
      return true;
    }
  }
  return false;
}

void Device::RecordCalls() {
  Control().SetCallObserver(
      [this](routing_stack::Call, const std::string& line) { m_calls.push_back(line); });
}

std::vector<std::string> Device::TakeCalls() { return std::exchange(m_calls, {}); }

}  // namespace test_support
