#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tl/WatchProcess.h"

namespace {

using Words = std::vector<std::string>;

struct Line {
    const char* name;
    std::string line;
    Words words;
    int result;
};

const Words TEN = {"a", "b", "c", "d", "e", "f", "g", "h", "i", "j"};

const std::vector<Line> LINES = {
    // clang-format off
    { "oneWord",                    "word",                    { "word" },                1 },
    { "twoWords",                   "/bin/echo hi",            { "/bin/echo", "hi" },     2 },
    { "twoBlanksBetween",           "a  b",                    { "a", "", "b" },          3 },
    { "blankInFront",               " a",                      { "", "a" },               2 },
    { "blankBehind",                "a ",                      { "a", "" },               2 },
    { "onlyABlank",                 " ",                       { "", "" },                2 },
    { "onlyThreeBlanks",            "   ",                     { "", "", "", "" },        4 },
    { "nothing",                    "",                        { "" },                    1 },
    { "tabIsNoBlank",               "a\tb",                    { "a\tb" },                1 },
    { "newlineIsNoBlank",           "a\nb c",                  { "a\nb", "c" },           2 },
    { "quotesAreKept",              "'a b' \"c\"",             { "'a", "b'", "\"c\"" },   3 },
    { "backslashDoesNotEscape",     "a\\ b",                   { "a\\", "b" },            2 },
    { "nulIsAnOrdinaryByte",        std::string("a\0b c", 5),  { std::string("a\0b", 3), "c" }, 2 },
    { "highBytesAreOrdinary",       "\xff\xa0 \xe9",           { "\xff\xa0", "\xe9" },    2 },
    { "nineWords",                  "a b c d e f g h i",       { "a", "b", "c", "d", "e", "f", "g", "h", "i" }, 9 },
    { "tenWords",                   "a b c d e f g h i j",     TEN,                      10 },
    { "elevenWordsLoseOne",         "a b c d e f g h i j k",   TEN,                      11 },
    { "twelveWordsLoseTwo",         "a b c d e f g h i j k l", TEN,                      11 },
    { "blankBehindTenCounts",       "a b c d e f g h i j ",    TEN,                      11 },
    { "blankBehindNineIsTheTenth",  "a b c d e f g h i ",      { "a", "b", "c", "d", "e", "f", "g", "h", "i", "" }, 10 },
    { "tenBlanks",                  std::string(10, ' '),      Words(10),                11 },
    { "nineBlanks",                 std::string(9, ' '),       Words(10),                10 },
    { "aThousandWords",             std::string(1999, ' '),    Words(10),                11 },
    // clang-format on
};

class ArgumentsFromCommandString : public ::testing::TestWithParam<Line> {};

TEST_P(ArgumentsFromCommandString, SplitsAtEachSingleBlank)
{
    Words words;

    const int result = tl::WatchProcess::getArgsFromCommandString(GetParam().line, words);

    EXPECT_EQ(GetParam().words, words);
    EXPECT_EQ(GetParam().result, result);
}

INSTANTIATE_TEST_SUITE_P(, ArgumentsFromCommandString, ::testing::ValuesIn(LINES),
                         [](const auto& test) { return test.param.name; });

TEST(ArgumentsFromCommandStringOutput, ForgetsWhatWasInIt)
{
    Words words = {"old", "older"};

    EXPECT_EQ(1, tl::WatchProcess::getArgsFromCommandString("new", words));

    EXPECT_EQ(Words{"new"}, words);
}

TEST(ArgumentsFromCommandStringOutput, MayHoldTheLineItself)
{
    Words words = {"first", "/usr/bin/a-long-enough-name with-a-long-enough-argument"};

    EXPECT_EQ(2, tl::WatchProcess::getArgsFromCommandString(words[1], words));

    EXPECT_EQ((Words{"/usr/bin/a-long-enough-name", "with-a-long-enough-argument"}), words);
}

}  // namespace
