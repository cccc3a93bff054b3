// What a restart of the stack costs in memory. The library's queue does not free what it has not
// issued when it is reset, so the host has it issued first.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <iterator>
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
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

constexpr std::pair<unsigned short, unsigned int> ETH11 = {10, 11};
constexpr unsigned int FLAPS = 20;
constexpr unsigned int ROWS = 2;  // of an interface: one in each of its VLAN's instances
constexpr unsigned int WARM_UP = 3;
constexpr unsigned int RESTARTS = 10;
constexpr unsigned int MANY_RESTARTS = 100;
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
    model.vlans[10].hasProfile = true;
    for (std::size_t i = 0; i < std::size(convergence::FOLDER_PROTOCOLS); ++i) {
      model.vlans[10].protocols[i].rows[1] = 1;
    }
    model.interfaces[ETH11] = {true, false, 1500, 1, 1};
    for (const auto& [name, text] : model.Files()) m_folder.Write(name, text);
    m_host = std::make_unique<FolderHost>(m_folder.Path(), 1);
    ASSERT_TRUE(m_host->Start().hasPassed);
  }

  /// Flaps of an interface whose first request is never answered: the others wait for it.
  void QueueFlaps() {
    m_host->Control().Script(RowType::kInterface, {Answer::kNever, 0, 0}, ROWS);
    Flap();
  }
  /// The same, for a test after which nothing frees them: a leak detector knows this name.
  void LoseFlaps() { QueueFlaps(); }
  void Flap() {
    for (unsigned int i = 0; i < FLAPS; ++i) {
      m_host->GetInterfaces().SetStatus(ETH11, i % 2 != 0);
      m_host->LetTimePass(1);
    }
  }
  void RestartTheHeldStack() {
    m_host->RestartTheStack();
    m_host->LetTimePass(100);
    m_host->ForgetTheLog();
  }
  void EndsAsItBegan() {
    ASSERT_TRUE(m_host->AwaitDone()) << m_host->WhatIsNotDone();
    ASSERT_NE(m_host->Dump().find("interface 10/11 \"eth11\" flags 0 up"), std::string::npos);
    m_host->ForgetTheLog();
  }
  /// When the pool has freed what it was given to free.
  std::size_t BytesAtRest() {
    m_host->AwaitPool();
    m_host->LetTimePass(100);
    m_host->AwaitPool();
    m_host->ForgetTheLog();
    return test_support::AllocatedBytes();
  }
  /// The bytes that `cycle` leaves behind each time, when it has been done often enough.
  template <typename Cycle>
  std::size_t GrowthOf(Cycle cycle, unsigned int restarts = RESTARTS) {
    for (unsigned int i = 0; i < WARM_UP; ++i) cycle();
    const std::size_t before = BytesAtRest();
    for (unsigned int i = 0; i < restarts; ++i) cycle();
    const std::size_t after = BytesAtRest();
    return after > before ? (after - before) / restarts : 0;
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
  EXPECT_EQ(m_host->GetReloader().CountLosses(), 0u);
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
  EXPECT_EQ(m_host->GetReloader().CountLosses(), WARM_UP + RESTARTS);
}

// Each restart loses what has happened since the one before it, and nothing adds up.
TEST_F(RestartMemory, ManyRestartsOfAStackThatStaysHeldLoseNoMoreEach) {
  m_host->Control().Hold();
  const std::size_t growth = GrowthOf(
      [this] {
        Flap();
        RestartTheHeldStack();
      },
      MANY_RESTARTS);
  EXPECT_LE(growth, FLAPS * ROWS * MOST_BYTES_OF_A_REQUEST);
  const unsigned int losses = m_host->GetReloader().CountLosses();
  EXPECT_EQ(losses, WARM_UP + MANY_RESTARTS);
  m_host->Control().Release();
  EndsAsItBegan();
  m_host->RestartTheStack();
  EndsAsItBegan();
  EXPECT_EQ(m_host->GetReloader().CountLosses(), losses) << "the stack answers again";
}

// What is brought back is one request for each row, so that none waits for another.
TEST_F(RestartMemory, RestartsOfAHeldStackBetweenWhichNothingHappensLoseNothing) {
  m_host->Control().Hold();
  EXPECT_LT(GrowthOf([this] { RestartTheHeldStack(); }, MANY_RESTARTS), CONTAINERS_BYTES);
  EXPECT_EQ(m_host->GetReloader().CountLosses(), 0u);
}

TEST_F(RestartMemory, ALossIsToldInOneLine) {
  LoseFlaps();
  m_host->Control().Hold();
  m_host->RestartTheStack();
  m_host->LetTimePass(100);
  EXPECT_THAT(m_host->GetTraces().AtLevel(1),
              ElementsAre(HasSubstr("lost memory (restarts with such a loss: 1)")));
  m_host->Control().Release();
  EndsAsItBegan();
  m_host->RestartTheStack();
  ASSERT_TRUE(m_host->AwaitDone()) << m_host->WhatIsNotDone();
  EXPECT_THAT(m_host->GetTraces().AtLevel(10), Not(IsEmpty())) << "the stack was told again";
  EXPECT_THAT(m_host->GetTraces().AtLevel(1), IsEmpty());
}

}  // namespace
