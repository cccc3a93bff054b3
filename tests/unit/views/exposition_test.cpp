#include "device/views/exposition.h"

#include <gtest/gtest.h>

#include "tests/support/exposition_reader.h"

namespace {

using test_support::ReadMetrics;

TEST(Exposition, WritesFamilies) {
  views::Exposition out;
  out.Counter("a_total", "How many a.");
  out.Sample(7);
  out.Gauge("b", "What b is.");
  out.Sample(0, R"(state="up")");
  out.Microseconds(1000002, R"(state="down")");
  out.Microseconds(999999);
  EXPECT_EQ(out.Take(),
            "# HELP a_total How many a.\n# TYPE a_total counter\na_total 7\n"
            "# HELP b What b is.\n# TYPE b gauge\nb{state=\"up\"} 0\n"
            "b{state=\"down\"} 1.000002\nb 0.999999\n");
}

// The tests rely on the reader.
TEST(Exposition, IsReadStrictly) {
  const std::string head = "# HELP a What a is.\n# TYPE a gauge\n";
  EXPECT_EQ(ReadMetrics(head + "a 1\n").problem, "");
  EXPECT_EQ(ReadMetrics(head + "a{b=\"c\",d=\"e\"} 1.5\n").samples.at(R"(a{b="c",d="e"})"), 1.5);
  for (const std::string& wrong :
       {std::string(),
        head,
        head + "a 1",
        head + "a 1 \n",
        head + "a x\n",
        head + "a -1\n",
        head + "b 1\n",
        head + "a 1\na 1\n",
        head + "a 1\n\n",
        head + "a 1\n" + head + "a 2\n",
        head + "a{} 1\n",
        head + "a{b=c} 1\n",
        head + "a{b=\"c\"}1\n",
        head + "a 1 123\n",
        std::string("# TYPE a gauge\na 1\n"),
        std::string("# HELP a What.\na 1\n"),
        std::string("# HELP a What.\n# TYPE a counter\na 1\n"),
        std::string("# HELP a_total What.\n# TYPE a_total gauge\na_total 1\n"),
        std::string("a 1\n"),
        head + "# HELP b What.\n# TYPE b gauge\nb 1\n",
        head + "a\n"}) {
    EXPECT_NE(ReadMetrics(wrong).problem, "") << wrong;
  }
}

}  // namespace
