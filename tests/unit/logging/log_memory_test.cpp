// The log while there is no memory: what it cannot keep is lost, and told like anything else that
// is.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>
#include <uv.h>

#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <new>
#include <optional>
#include <string>

#include "device/logging/log_writer.h"
#include "tarsel/trace.h"

namespace {

// Blocks of so many bytes, and larger ones, are refused.
std::size_t tooLarge = SIZE_MAX;

}  // namespace

void* operator new(std::size_t size) {
  void* const memory = size < tooLarge ? std::malloc(size != 0 ? size : 1) : nullptr;
  if (memory == nullptr) {
    throw std::bad_alloc();
  }
  return memory;
}
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }

namespace {

constexpr std::size_t PIPE_SIZE = 65536;

class LogMemory : public testing::Test {
 protected:
  void SetUp() override {
    std::signal(SIGPIPE, SIG_IGN);
    uv_loop_init(&m_loop);
    ASSERT_EQ(pipe(m_ends), 0);
    ASSERT_EQ(fcntl(m_ends[0], F_SETPIPE_SZ, PIPE_SIZE), static_cast<int>(PIPE_SIZE));
    fcntl(m_ends[0], F_SETFL, O_NONBLOCK);
    m_writer.emplace(&m_loop, m_ends[1], logging::LogFormat());
  }
  void TearDown() override {
    m_writer.reset();
    uv_run(&m_loop, UV_RUN_DEFAULT);
    uv_loop_close(&m_loop);
    close(m_ends[0]);
    close(m_ends[1]);
  }
  // What is there by now.
  std::string Read() {
    std::string text(2 * PIPE_SIZE, '\0');
    const ssize_t count = read(m_ends[0], text.data(), text.size());
    text.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
    return text;
  }

 private:
  uv_loop_t m_loop;
  int m_ends[2] = {-1, -1};
  std::optional<logging::LogWriter> m_writer;
};

std::string LineOf(std::size_t size) { return std::string(size - 1, '.') + "\n"; }

// The reader has stopped, and 6,000 bytes wait.
TEST_F(LogMemory, TellsOfALineThatItCannotKeep) {
  const std::string first = LineOf(PIPE_SIZE + 6000);
  const std::string lost = LineOf(3000);
  Tarsel::TRACE("%s", first.c_str());
  tooLarge = 8000;
  Tarsel::TRACE("%s", lost.c_str());
  tooLarge = SIZE_MAX;
  std::string text = Read();
  Tarsel::TRACE("next\n");
  text += Read();
  EXPECT_TRUE(text.substr(0, first.size()) == first) << "what was kept before";
  EXPECT_EQ(text.substr(first.size()),
            "1 lines of the log were lost: Cannot allocate memory\nnext\n");
}

TEST_F(LogMemory, TellsOfALineThatItCannotMakePrintable) {
  const std::string strange = std::string(1000, '\x1b') + "\n" + std::string(1000, '\x1b') + "\n";
  tooLarge = 6000;
  Tarsel::TRACE("%s", strange.c_str());
  tooLarge = SIZE_MAX;
  EXPECT_EQ(Read(), "");
  Tarsel::TRACE("next\n");
  EXPECT_EQ(Read(), "2 lines of the log were lost: Cannot allocate memory\nnext\n");
}

}  // namespace
