// What a restart of the stack costs in memory. The library's queue does not free what it has not
// issued when it is reset, so the host has it issued first.

#include <gtest/gtest.h>

#include <cstddef>
#include <memory>
#include <string>

#include "tests/convergence/folder_host.h"
#include "tests/convergence/folder_model.h"
#include "tests/support/allocated_bytes.h"
#include "tests/support/scratch_folder.h"

namespace {

using convergence::FolderHost;
using convergence::FolderModel;
using routing_stack::Answer;
using routing_stack::RowType;

constexpr std::pair<unsigned short, unsigned int> ETH11 = {10, 11};
constexpr unsigned int FLAPS = 20;
constexpr unsigned int ROWS = 2;  // of an interface: one in each of its VLAN's instances
constexpr unsigned int WARM_UP = 3;
constexpr unsigned int RESTARTS = 10;
/// Of a request that waits in the library's queue: itself, its entry and the allocator's words.
constexpr std::size_t MOST_BYTES_OF_A_REQUEST = 400;
/// What containers may grow by now and then; one request is many times as much.
constexpr std::size_t CONTAINERS_BYTES = 20;

class RestartMemory : public testing::Test {
 protected:
  void SetUp() override {
    FolderModel model;
    model.mark = 1;
    model.vlans[10].routes[{false, 0, 0, false}] = 1;
    model.interfaces[ETH11] = {true, false, 1500, 1, 1};
    for (const auto& [name, text] : model.Files()) m_folder.Write(name, text);
    m_host = std::make_unique<FolderHost>(m_folder.Path(), 1);
    ASSERT_TRUE(m_host->Start().hasPassed);
  }

  /// Flaps of an interface whose first request is never answered: the others wait for it.
  void QueueFlaps() {
    m_host->Control().Script(RowType::kInterface, {Answer::kNever, 0, 0}, ROWS);
    for (unsigned int i = 0; i < FLAPS; ++i) {
      m_host->GetInterfaces().SetStatus(ETH11, i % 2 != 0);
      m_host->LetTimePass(1);
    }
  }
  void EndsAsItBegan() {
    ASSERT_TRUE(m_host->AwaitDone()) << m_host->WhatIsNotDone();
    ASSERT_NE(m_host->Dump().find("interface 10/11 \"eth11\" flags 0 up"), std::string::npos);
    m_host->ForgetTheLog();
  }
  /// The bytes that `cycle` leaves behind each time, when it has been done often enough.
  template <typename Cycle>
  std::size_t GrowthOf(Cycle cycle) {
    for (unsigned int i = 0; i < WARM_UP; ++i) cycle();
    const std::size_t before = test_support::AllocatedBytes();
    for (unsigned int i = 0; i < RESTARTS; ++i) cycle();
    const std::size_t after = test_support::AllocatedBytes();
    return after > before ? (after - before) / RESTARTS : 0;
  }

  test_support::ScratchFolder m_folder;
  std::unique_ptr<FolderHost> m_host;
};

TEST_F(RestartMemory, WhatWasQueuedAndNotIssuedIsFreed) {
  const std::size_t growth = GrowthOf([this] {
    QueueFlaps();
    m_host->RestartTheStack();
    EndsAsItBegan();
  });
  EXPECT_LT(growth, CONTAINERS_BYTES);
}

// A held stack answers nothing, so that what is queued cannot be issued. It is lost, and there is
// no more of it than requests that waited.
TEST_F(RestartMemory, WhatCannotBeIssuedIsLostAndBounded) {
  const std::size_t growth = GrowthOf([this] {
    QueueFlaps();
    m_host->Control().Hold();
    m_host->RestartTheStack();
    m_host->LetTimePass(100);
    m_host->Control().Release();
    EndsAsItBegan();
  });
  EXPECT_LE(growth, FLAPS * ROWS * MOST_BYTES_OF_A_REQUEST);
}

}  // namespace
