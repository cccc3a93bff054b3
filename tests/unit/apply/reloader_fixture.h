// A device whose configuration folder a test writes.
#ifndef TESTS_UNIT_APPLY_RELOADER_FIXTURE_H
#define TESTS_UNIT_APPLY_RELOADER_FIXTURE_H

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <uv.h>

#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "device/apply/reloader.h"
#include "device/logging/asker_log.h"
#include "device/loop/loop.h"
#include "device/ports/protocol_rows.h"
#include "device/ports/stack_port.h"
#include "device/stack/stack_control.h"
#include "tarsel/trace.h"
#include "tests/support/device_fixture.h"
#include "tests/support/reported_lines.h"
#include "tests/support/scratch_folder.h"

namespace apply_test {

/// What somebody who asks for a reload or a check hears.
struct Heard {
  std::vector<std::string> lines;
  std::vector<std::string> headlines;
  std::vector<bool> ends;

  apply::Asker Asker(const std::string& name = {}) {
    return {[this](const std::string& line) {
              (test_support::IsHeadline(line) ? headlines : lines).push_back(line);
            },
            [this](bool hasPassed) { ends.push_back(hasPassed); }, name};
  }
};

/// The device's time is virtual, the waiting of the loop and of the pool is real: Turn() lets both
/// go on.
class ReloaderFixture : public test_support::DeviceFixture {
 protected:
  struct Settings {
    bool isPartial = false;
    std::string stateDirectory = {};  // empty: no revisions
    unsigned int guardPercent = apply::Guard::OFF;
    unsigned int keepOldSeconds = 60;
  };

  explicit ReloaderFixture(bool isPartial = false) : ReloaderFixture(Settings{isPartial}) {}
  explicit ReloaderFixture(const Settings& settings) {
    Tarsel::TimerLoop::SetTickMicroseconds(100);
    m_files.Write("device.json", R"({"default_vlan": 10, "interfaces": [
      {"name": "eth0", "vlan": 10, "index": 3, "ipv4": "10.1.0.1/16"}]})");
    MakeReloader(settings);
  }
  ~ReloaderFixture() override { m_reloader.reset(); }

  /// One that has not started.
  void MakeReloader(const Settings& settings) {
    m_reloader.emplace(
        m_turns.Get(),
        apply::Reloader::Source{m_files.Path(),
                                {documents::DeclaredProtocols(), settings.isPartial}},
        m_interfaces, m_port, m_protocolRows,
        apply::ReloadHooks{
            [this](const std::string& line) {
              if (m_hearLine) {
                m_hearLine(line);
              }
              (test_support::IsHeadline(line) ? m_headlines : reported.lines).push_back(line);
            },
            logging::HearWhile,
            [this](const std::function<void()>& work) {
              ++m_libraryWorks;
              if (!m_libraryLine.empty()) {
                Tarsel::TRACE("%s", std::exchange(m_libraryLine, {}).c_str());
              }
              work();
            },
            [this] {
              ++m_overs;
              if (const auto call = std::exchange(m_whenOver, nullptr)) {
                call();
              }
            },
            [this] { ++m_restarts; },
            {},
            {},
            [this] { ++m_begins; }},
        PlaceOf(settings),
        apply::ReloaderOptions{settings.guardPercent, false, settings.keepOldSeconds});
  }

  apply::History::Place PlaceOf(const Settings& settings) {
    apply::History::Place place;
    place.reason = "this test keeps none";
    if (!settings.stateDirectory.empty()) {
      place.store =
          revisions::RevisionStore::Open(settings.stateDirectory, m_files.Path(), {}, place.reason);
      EXPECT_NE(place.store, nullptr) << place.reason;
    }
    place.clock = [] { return std::int64_t{1000000000}; };
    return place;
  }

  /// Initialises the library when the folder has been judged, if it is taken.
  void BeginToStart() {
    m_reloader->Start(
        [this](bool isTaken) {
          m_isTaken = isTaken;
          if (isTaken) {
            Start(m_reloader->GetIntent().GetDevice().defaultVlan);
            TakeCalls();
          }
        },
        [this] { ++m_starts; });
  }
  void StartWith(const std::string& entries) {
    WriteVlans(entries);
    BeginToStart();
    TurnUntilDone();
    ASSERT_EQ(m_starts, 1u);
    ASSERT_TRUE(SettleAll());
    TakeCalls();
    reported.lines.clear();
  }
  void WriteVlans(const std::string& entries) {
    m_files.Write("vlans.json", R"({"VLAN_CONFIGURATIONS": {)" + entries + "}}");
  }
  /// From beginning to end.
  void Reload(apply::Asker asker = {}, const apply::ReloadRequest& request = {}) {
    m_reloader->Reload(std::move(asker), request);
    TurnUntilDone();
  }
  /// The host notices by itself.
  void RestartTheStack() {
    const unsigned int before = m_restarts;
    Control().Restart();
    ASSERT_TRUE(TurnUntil([&] { return m_restarts != before; }));
    ASSERT_TRUE(SettleAll());
  }

  /// One turn of the loop; the device's time stands still.
  void TurnOnly() { uv_run(m_turns.Get(), UV_RUN_NOWAIT); }
  /// While the pool works, the device's time stands still: how long that takes is the machine's.
  void Turn() {
    TurnOnly();
    if (m_turns.Get()->active_reqs.count == 0) {
      loop.AdvanceMilliseconds(1);
    }
  }
  /// False if it does not come about in twenty seconds.
  [[nodiscard]] bool TurnUntil(const std::function<bool()>& isDone, bool doesTimeGoBy = true) {
    const std::uint64_t begin = uv_hrtime();
    while (!isDone() && uv_hrtime() - begin < 20000000000) {
      doesTimeGoBy ? Turn() : TurnOnly();
    }
    return isDone();
  }
  void TurnUntilDone() {
    EXPECT_TRUE(TurnUntil([this] { return !m_reloader->IsBusy(); }));
  }
  /// Until everything has been asked for, answered and compared.
  [[nodiscard]] bool SettleAll() {
    return TurnUntil([this] { return m_reloader->IsSettled(); });
  }
  /// Until a reload has been judged; it is applied in later turns.
  void TurnUntilItIsApplied() {
    const intent::Intent* before = &m_reloader->GetIntent();
    ASSERT_TRUE(TurnUntil([&] { return &m_reloader->GetIntent() != before; }));
    ASSERT_TRUE(m_reloader->IsBusy());
  }
  /// While the stack answers nothing: until a reload is over and a VLAN waits for its answers.
  void TurnUntilAVlanWaits() {
    const intent::Intent* before = &m_reloader->GetIntent();
    ASSERT_TRUE(TurnUntil([&] { return &m_reloader->GetIntent() != before; }));
    TurnUntilDone();
    ASSERT_FALSE(m_reloader->IsSettled());
  }

  std::vector<unsigned> Vlans() {
    std::vector<unsigned> vlans;
    for (const auto& vlan : Manager().GetVlans()) {
      vlans.push_back(vlan.first);
    }
    return vlans;
  }
  const intent::ResolvedRoutes& RequestedRoutes() const {
    return *m_reloader->GetKnowledge().GetRoutes().GetWanted();
  }
  const routes::RuleKeeper& Rules() const { return m_reloader->GetKnowledge().GetRules(); }

  const std::string WITH_ROUTE = R"("a": {"vid": 10, "STATIC_ROUTES": {"r": {"interface": "eth0",
    "network": "10.9.0.0", "netmask": "255.255.0.0", "gateway": "10.1.2.1"}}})";
  loop::Loop m_turns;
  test_support::ScratchFolder m_files;
  test_support::ReportedLines reported;  // what the log gets, except for headlines
  std::vector<std::string> m_headlines;
  keepers::Interfaces m_interfaces;
  ports::SoftwareStackPort m_port{stack, [this] { return loop.Now() / 1000; }};
  ports::ProtocolRows m_protocolRows{m_port};
  std::optional<apply::Reloader> m_reloader;
  std::function<void(const std::string&)> m_hearLine;  // what the log gets, headlines included
  std::optional<bool> m_isTaken;                       // by the start
  unsigned int m_starts = 0;
  unsigned int m_begins = 0;
  unsigned int m_overs = 0;
  unsigned int m_restarts = 0;
  std::function<void()> m_whenOver;  // called at the end of the next reload
  unsigned int m_libraryWorks = 0;
  std::string m_libraryLine;  // which the library's next work says
};

}  // namespace apply_test

#endif
