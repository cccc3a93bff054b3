// Text in two columns.
#include "vantacore/two_columns_formatter.h"

#include <gtest/gtest.h>

#include <string>

namespace Tarsel {
namespace {

std::string Padded(const std::string& text, std::size_t width = 40) {
  return text + std::string(width - text.size(), ' ');
}

TEST(TwoColumns, Constants) {
  EXPECT_EQ(40U, TwoColumnsFormatter::DEFAULT_COL1_WIDTH);
  EXPECT_EQ(40U, TwoColumnsFormatter::DEFAULT_COL2_WIDTH);
  EXPECT_STREQ("    ", TwoColumnsFormatter::DEFAULT_SEPARATOR);
  EXPECT_STREQ("    ", TwoColumnsFormatter::INDENTATION);
}

TEST(TwoColumns, ANumberIsPrintedDecimal) {
  TwoColumnsFormatter formatter;
  formatter.PushRow("Age", 5U);
  formatter.PushRow("Most", 4294967295U);
  EXPECT_EQ(Padded("Age") + "    " + Padded("5") + "\n" + Padded("Most") + "    " +
                Padded("4294967295") + "\n",
            formatter.Format());
}

TEST(TwoColumns, WidthsAndSeparatorAreTheCallers) {
  TwoColumnsFormatter formatter;
  formatter.PushRow("Route Type", "remote");
  EXPECT_EQ("Route Type          :  " + Padded("remote", 8) + "\n",
            std::string(formatter.Format(20, 8, ":  ")));
  EXPECT_EQ(Padded("Route Type") + "|" + Padded("remote") + "\n",
            std::string(formatter.Format("|")));
}

TEST(TwoColumns, ALongSecondTextWrapsAtABlankThatBeginsTheNextLine) {
  TwoColumnsFormatter formatter;
  const std::string text = "one two three four five six seven eight nine ten!!";
  ASSERT_EQ(50U, text.size());
  formatter.PushRow("Label", text.c_str());
  EXPECT_EQ(Padded("Label", 20) + ":  " + Padded("one two three four five six seven eight") + "\n" +
                Padded("", 20) + ":  " + Padded(" nine ten!!") + "\n",
            std::string(formatter.Format(20, 40, ":  ")));
}

TEST(TwoColumns, TheFirstColumnIsNarrowerOnLaterLinesAndNotIndented) {
  TwoColumnsFormatter formatter;
  formatter.PushRow("aaaa bbbb cccc dddd", "x");
  // 10 on the first line, 6 on the others.
  EXPECT_EQ(
      "aaaa bbbb |x    \n"
      " cccc     |\n"
      " dddd     |\n",
      std::string(formatter.Format(10, 5, "|")));
}

TEST(TwoColumns, AnEmptySecondTextLeavesNoSecondColumn) {
  TwoColumnsFormatter formatter;
  formatter.PushRow("Label", "");
  EXPECT_EQ(Padded("Label", 10) + "|\n", std::string(formatter.Format(10, 10, "|")));
}

TEST(TwoColumns, AnEmptyFirstTextIsBlank) {
  TwoColumnsFormatter formatter;
  formatter.PushRow("", "value");
  EXPECT_EQ("          |value\n", std::string(formatter.Format(10, 5, "|")));
}

TEST(TwoColumns, WithoutAnyTextThereIsNothing) {
  TwoColumnsFormatter formatter;
  EXPECT_EQ(nullptr, formatter.Format());
  formatter.PushRow("", "");
  EXPECT_EQ(nullptr, formatter.Format());
  formatter.PushRow("a", "");
  EXPECT_EQ(Padded("a") + "    \n", formatter.Format());  // the empty row has no line
}

TEST(TwoColumns, WrongArgumentsYieldNothing) {
  TwoColumnsFormatter formatter;
  formatter.PushRow("a", "b");
  EXPECT_EQ(nullptr, formatter.Format(0, 10, "|"));
  EXPECT_EQ(nullptr, formatter.Format(10, 0, "|"));
  EXPECT_EQ(nullptr, formatter.Format(10, 10, ""));
  EXPECT_EQ(nullptr, formatter.Format(10, 10, nullptr));
  EXPECT_EQ(nullptr, formatter.Format(""));
}

TEST(TwoColumns, FormattingKeepsTheRows) {
  TwoColumnsFormatter formatter;
  formatter.PushRow("a", "b");
  const std::string once = formatter.Format();
  EXPECT_EQ(once, formatter.Format());
}

TEST(TwoColumns, ClearingKeepsTheLastOutput) {
  TwoColumnsFormatter formatter;
  formatter.PushRow("a", "b");
  const char* const output = formatter.Format(4, 4, "|");
  formatter.ClearRows();
  EXPECT_STREQ("a   |b   \n", output);
  EXPECT_EQ(nullptr, formatter.Format(4, 4, "|"));
  EXPECT_STREQ("a   |b   \n", output);
  formatter.PushRow("c", "d");
  EXPECT_STREQ("c   |d   \n", formatter.Format(4, 4, "|"));
}

TEST(TwoColumns, AWordWithoutABlankIsCutAtTheWidth) {
  TwoColumnsFormatter formatter;
  formatter.PushRow("abcdefghijklmno", "0123456789");
  EXPECT_EQ(
      "abcdefgh|01234\n"
      "ijkl    |56789\n"
      "mno     |\n",
      std::string(formatter.Format(8, 5, "|")));
}

TEST(TwoColumns, ABlankThatBeginsAPieceMayStandAlone) {
  TwoColumnsFormatter formatter;
  formatter.PushRow("x", "ab cdefghi");
  EXPECT_EQ(
      "x   |ab   \n"
      "    |     \n"
      "    |cdefg\n"
      "    |hi   \n",
      std::string(formatter.Format(4, 5, "|")));
}

TEST(TwoColumns, AColumnTooNarrowForTheIndentationIsCutAllTheSame) {
  for (const unsigned int width : {1U, 2U, 3U, 4U}) {
    TwoColumnsFormatter formatter;
    formatter.PushRow("abcdefgh", "");
    std::string expected;
    for (std::size_t i = 0; i < 8; i += width) {
      expected += Padded(std::string("abcdefgh").substr(i, width), width) + "|\n";
    }
    EXPECT_EQ(expected, std::string(formatter.Format(width, 4, "|"))) << width;
  }
}

TEST(TwoColumns, LongTextsCostTheirLength) {
  std::string text;
  for (int i = 0; i < 200000; ++i) {
    text += "word ";
  }
  TwoColumnsFormatter formatter;
  formatter.PushRow("a", text.c_str());
  EXPECT_GT(std::string(formatter.Format()).size(), text.size());
}

TEST(Segment, EndsAtTheLastCharacterThatFits) {
  TwoColumnsFormatter formatter;
  const char* const text = "one two three";
  EXPECT_EQ(text + 12, formatter.Segment(text, 13));
  EXPECT_EQ(text + 12, formatter.Segment(text, 100));
  EXPECT_EQ(text + 12, formatter.Segment(text, 0xFFFFFFFFu));  // where adding one would begin again
  EXPECT_EQ(text + 6, formatter.Segment(text, 12));
  EXPECT_EQ(text + 6, formatter.Segment(text, 7));  // the blank stands right behind the width
  EXPECT_EQ(text + 2, formatter.Segment(text, 6));
  EXPECT_EQ(text + 2, formatter.Segment(text, 3));
}

TEST(Segment, IsOneCharacterWithoutWidthOrText) {
  TwoColumnsFormatter formatter;
  const char* const text = "one two";
  EXPECT_EQ(text, formatter.Segment(text, 0));
  const char* const empty = "";
  EXPECT_EQ(empty, formatter.Segment(empty, 5));
}

TEST(Segment, IsTheBlankWhenThatIsTheOnlyOneWithinReach) {
  TwoColumnsFormatter formatter;
  const char* const text = " abcdefgh ij";
  EXPECT_EQ(text, formatter.Segment(text, 5));
}

TEST(Segment, EndsAtABlankOnly) {
  TwoColumnsFormatter formatter;
  const char* const text = "a\tb cdef";
  EXPECT_EQ(text + 2, formatter.Segment(text, 3));
  EXPECT_EQ(text + 1, formatter.Segment(text, 2));
}

TEST(Segment, CutsAWordThatIsTooLong) {
  TwoColumnsFormatter formatter;
  const char* const text = "abcdefgh";
  EXPECT_EQ(text + 4, formatter.Segment(text, 5));
}

}  // namespace
}  // namespace Tarsel
