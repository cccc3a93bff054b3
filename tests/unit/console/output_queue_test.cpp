#include "device/console/output_queue.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include "device/wire/wire.h"

namespace {

using testing::EndsWith;
using testing::StartsWith;

class OutputQueue : public testing::Test {
 protected:
  OutputQueue() { EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0); }
  ~OutputQueue() override {
    close(ends[0]);
    CloseReader();
  }

  void CloseReader() {
    if (ends[1] >= 0) {
      close(ends[1]);
      ends[1] = -1;
    }
  }
  std::string Receive() {
    std::string bytes(1024 * 1024, '\0');
    const ssize_t count = recv(ends[1], &bytes[0], bytes.size(), MSG_DONTWAIT);
    bytes.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
    return bytes;
  }
  void SendUntilItStops() {
    do {
      ASSERT_TRUE(queue.Send(ends[0]));
    } while (!queue.IsStopped() && !queue.IsEmpty());
  }
  // Everything, as a reader that catches up gets it.
  std::string ReceiveAll() {
    std::string all;
    for (std::string piece = Receive(); !piece.empty() || !queue.IsEmpty(); piece = Receive()) {
      all += piece;
      EXPECT_TRUE(queue.Send(ends[0]));
    }
    return all;
  }

  int ends[2];
  console::OutputQueue queue;
  const std::string line = std::string(1021, 'x') + "\n";  // 1 KB on the wire
};

TEST_F(OutputQueue, SendsWhatItTakesInOrder) {
  EXPECT_TRUE(queue.Add("one\ntw"));
  EXPECT_TRUE(queue.Add("o\n"));
  queue.AddReply("R 0 10\n");
  EXPECT_TRUE(queue.Send(ends[0]));
  EXPECT_TRUE(queue.IsEmpty());
  EXPECT_EQ(Receive(), "O one\nP tw\nO o\nR 0 10\n");
}

TEST_F(OutputQueue, WaitsForASlowReader) {
  std::string all;
  for (int i = 0; i < 4 * 1024; ++i) {
    ASSERT_TRUE(queue.Add(line));
    all += wire::EncodeOutput(line);
  }
  SendUntilItStops();
  EXPECT_FALSE(queue.IsEmpty());
  EXPECT_TRUE(ReceiveAll() == all);
}

// Sixty readers who have made room at the same time would otherwise keep a session waiting.
TEST_F(OutputQueue, SendsSoMuchAtOnceThatOthersHaveTheirTurn) {
  const int room = 1024 * 1024;
  ASSERT_EQ(setsockopt(ends[0], SOL_SOCKET, SO_SNDBUF, &room, sizeof room), 0);
  for (int i = 0; i < 130; ++i) {
    queue.Add(line);
  }
  for (const std::size_t sent : {64u, 64u, 2u}) {
    EXPECT_TRUE(queue.Send(ends[0]));
    EXPECT_FALSE(queue.IsStopped()) << "the socket takes more";
    EXPECT_EQ(Receive().size(), sent * 1024);
  }
  EXPECT_TRUE(queue.IsEmpty());
  queue.Add(std::string(200 * 1024, 'y'));
  EXPECT_TRUE(queue.Send(ends[0]));
  EXPECT_EQ(Receive().size(), 64u * 1024) << "of one long text, too";
}

TEST_F(OutputQueue, KnowsWhetherTheSocketTakesMore) {
  EXPECT_FALSE(queue.IsStopped());
  for (int i = 0; i < 4 * 1024; ++i) {
    queue.Add(line);
  }
  SendUntilItStops();
  EXPECT_TRUE(queue.IsStopped());
  ReceiveAll();
  EXPECT_FALSE(queue.IsStopped());
}

TEST_F(OutputQueue, CountsWhatTheSocketHasNotTaken) {
  std::size_t added = 0;
  for (int i = 0; i < 100 * 1024; i += 1000) {  // texts of all sizes, up to many blocks in one
    const std::string text(static_cast<std::size_t>(i % 4096), 'x');
    queue.Add(text);
    added += wire::EncodeOutput(text).size();
    EXPECT_EQ(queue.CountWaiting(), added);
  }
  const std::string longText(300 * 1024, 'y');
  queue.Add(longText);
  added += wire::EncodeOutput(longText).size();
  std::size_t received = 0;
  for (int i = 0; i < 1000 && !queue.IsEmpty(); ++i) {
    EXPECT_TRUE(queue.Send(ends[0]));
    received += Receive().size();
    EXPECT_EQ(queue.CountWaiting(), added - received);
  }
  EXPECT_EQ(received, added);
}

TEST_F(OutputQueue, CutsWhatIsMoreThanEightMegabytes) {
  for (int i = 0; i < 8 * 1024; ++i) {
    ASSERT_TRUE(queue.Add(line)) << i;
  }
  EXPECT_EQ(queue.CountWaiting(), 8u * 1024 * 1024);
  EXPECT_FALSE(queue.IsCut());
  EXPECT_FALSE(queue.Add("a"));
  EXPECT_TRUE(queue.IsCut());
  const std::size_t cut = queue.CountWaiting();
  EXPECT_FALSE(queue.Add("b"));
  EXPECT_EQ(queue.CountWaiting(), cut) << "what follows the cut is dropped";
  queue.AddReply("R 0 10\n");
  const std::string all = ReceiveAll();
  EXPECT_THAT(all.substr(8u * 1024 * 1024),
              "O \nO Output was cut here: more than 8 MB were waiting for their reader\n"
              "R 0 10\n");
  EXPECT_FALSE(queue.IsCut());
  EXPECT_TRUE(queue.Add("the next command's\n"));
}

TEST_F(OutputQueue, HasCutNothingOfWhatIsDropped) {
  for (int i = 0; i <= 8 * 1024; ++i) {
    queue.Add(line);
  }
  EXPECT_TRUE(queue.IsCut());
  queue.Drop();
  EXPECT_FALSE(queue.IsCut());
  EXPECT_TRUE(queue.IsEmpty());
}

TEST_F(OutputQueue, DropsNothingOfALineThatHasBegun) {
  for (int i = 0; i < 4 * 1024; ++i) {
    queue.Add(line);
  }
  SendUntilItStops();
  queue.Drop();
  EXPECT_LT(queue.CountWaiting(), 1024u);
  queue.AddReply("R 0 10\n");
  const std::string all = ReceiveAll();
  EXPECT_THAT(all, StartsWith("O x"));
  EXPECT_THAT(all, EndsWith("\nR 0 10\n"));
  EXPECT_EQ((all.size() - 7) % 1024, 0u) << "whole lines";
}

TEST_F(OutputQueue, DropsAllBetweenLines) {
  queue.Add("one\n");
  EXPECT_TRUE(queue.Send(ends[0]));
  queue.Add("two\nthree\n");
  queue.Drop();
  EXPECT_TRUE(queue.IsEmpty());
  EXPECT_EQ(Receive(), "O one\n");
}

TEST_F(OutputQueue, TellsThatTheReaderHasGone) {
  EXPECT_TRUE(queue.Send(ends[0]));
  CloseReader();
  queue.Add("one\n");
  EXPECT_FALSE(queue.Send(ends[0]));
}

}  // namespace
