#include <gtest/gtest.h>

#include <climits>
#include <string>
#include <vector>

#include "tl/Utilities.h"

namespace {

struct Field {
    const char* name;
    const char* line;
    unsigned int index;
    const char* field;
};

// clang-format off
constexpr Field BLANK_SEPARATED[] = {
    { "First",               "ab cd ef",     0, "ab" },
    { "Middle",              "ab cd ef",     1, "cd" },
    { "Last",                "ab cd ef",     2, "ef" },
    { "None",                "ab cd ef",     3, "" },
    { "RunsOfBlanks",        "  ab   cd ",   1, "cd" },
    { "LeadingBlanks",       "  ab   cd ",   0, "ab" },
    { "TrailingBlanks",      "  ab   cd ",   2, "" },
    { "Empty",               "",             0, "" },
    { "EmptyAndIndex",       "",             1, "" },
    { "BlanksOnly",          "   ",          0, "" },
    { "BlanksOnlyAndIndex",  "   ",          1, "" },
    { "OneField",            "ab",           0, "ab" },
    { "TabIsNoBlank",        "a\tb c",       0, "a\tb" },
    { "NewlineIsNoBlank",    "a\nb c",       0, "a\nb" },
    { "TabBeginsAField",     "a \t b",       1, "\t" },
    { "TabBeginsTheFirst",   " \tb c",       0, "\tb" },
    { "TabAlone",            " \t ",         0, "\t" },
    { "LargestIndex",        "ab cd",        UINT_MAX, "" },
};

constexpr Field HEX_SEPARATED[] = {
    { "First",               "n=0x1f-9",     0, "0" },
    { "Second",              "n=0x1f-9",     1, "1f" },
    { "Third",               "n=0x1f-9",     2, "9" },
    { "None",                "n=0x1f-9",     3, "" },
    { "LettersOfWordsCount", "mac=00:1A:2b", 0, "ac" },
    { "BehindTheWord",       "mac=00:1A:2b", 1, "00" },
    { "KeepsUpperCase",      "mac=00:1A:2b", 2, "1A" },
    { "KeepsLowerCase",      "mac=00:1A:2b", 3, "2b" },
    { "WholeLine",           "0123456789abcdefABCDEF", 0, "0123456789abcdefABCDEF" },
    { "NeighboursOfDigits",  "/0:@A`a:9",    0, "0" },
    { "NeighboursOfA",       "/0:@A`a:9",    1, "A" },
    { "NeighboursOfLowerA",  "/0:@A`a:9",    2, "a" },
    { "GIsNoDigit",          "fgFG",         1, "F" },
    { "Empty",               "",             0, "" },
    { "NoDigits",            "xyz",          0, "" },
    { "TrailingSeparators",  "1 --",         1, "" },
    { "LargestIndex",        "1 2",          UINT_MAX, "" },
};
// clang-format on

class GetStringFieldOf : public ::testing::TestWithParam<Field> {};
class GetHexFieldOf : public ::testing::TestWithParam<Field> {};

std::string nameOf(const ::testing::TestParamInfo<Field>& test)
{
    return test.param.name;
}

}  // namespace

TEST_P(GetStringFieldOf, IsSeparatedByRunsOfBlanks)
{
    EXPECT_EQ(GetParam().field, getStringField(GetParam().line, GetParam().index));
}

TEST_P(GetHexFieldOf, IsARunOfHexadecimalDigits)
{
    EXPECT_EQ(GetParam().field, getHexField(GetParam().line, GetParam().index));
}

INSTANTIATE_TEST_SUITE_P(, GetStringFieldOf, ::testing::ValuesIn(BLANK_SEPARATED), nameOf);
INSTANTIATE_TEST_SUITE_P(, GetHexFieldOf, ::testing::ValuesIn(HEX_SEPARATED), nameOf);

TEST(GetStringField, TakesANulWithinForACharacter)
{
    EXPECT_EQ(std::string("a\0b", 3), getStringField(std::string("a\0b c", 5), 0));
}

TEST(GetHexField, TakesANulWithinForASeparator)
{
    EXPECT_EQ("b", getHexField(std::string("a\0b", 3), 1));
}

namespace {

using Pieces = std::vector<std::string>;

struct Split {
    const char* name;
    const char* text;
    const char* separator;
    int separators;
    Pieces pieces;
};

// clang-format off
const Split SPLITS[] = {
//    name                         text             separator  found  pieces
    { "Plain",                     "a,b,c",         ",",       2,     { "a", "b", "c" } },
    { "SeparatorsAtBothEnds",      ",a,",           ",",       2,     { "a" } },
    { "TwoInARow",                 "a,,b",          ",",       1,     { "a", ",b" } },
    { "ThreeInARow",               "a,,,b",         ",",       2,     { "a", ",", "b" } },
    { "TwoInFront",                ",,a",           ",",       1,     { ",a" } },
    { "TwoAtTheEnd",               "a,,",           ",",       1,     { "a", "," } },
    { "SeparatorAlone",            ",",             ",",       1,     {} },
    { "TwoSeparatorsAlone",        ",,",            ",",       1,     { "," } },
    { "ThreeSeparatorsAlone",      ",,,",           ",",       2,     { "," } },
    { "LongSeparator",             "a--b--c",       "--",      2,     { "a", "b", "c" } },
    { "LongInARow",                "a----b",        "--",      1,     { "a", "--b" } },
    { "LongOneBehind",             "a---b",         "--",      1,     { "a", "-b" } },
    { "LongAtDistanceOne",         "a--x--b",       "--",      2,     { "a", "x", "b" } },
    { "LongAlone",                 "--",            "--",      1,     {} },
    { "EmptySeparator",            "abc",           "",        4,     { "a", "b", "c" } },
    { "EmptySeparatorOneLetter",   "a",             "",        2,     { "a" } },
    { "EmptySeparatorEmptyText",   "",              "",        1,     {} },
    { "NoSeparator",               "abc",           ",",       0,     {} },
    { "EmptyText",                 "",              ",",       0,     {} },
    { "SeparatorLongerThanText",   "a",             "aa",      0,     {} },
};
// clang-format on

void PrintTo(const Split& split, std::ostream* stream)
{
    *stream << '"' << split.text << "\" at \"" << split.separator << '"';
}

class SplitString : public ::testing::TestWithParam<Split> {};

}  // namespace

TEST_P(SplitString, AppendsThePiecesAndCountsTheSeparators)
{
    for (const Pieces& before : {Pieces{}, Pieces{"before", ""}}) {
        Pieces out = before;
        Pieces expected = before;
        expected.insert(expected.end(), GetParam().pieces.begin(), GetParam().pieces.end());

        const int separators = StringUtils::SplitString(GetParam().text, GetParam().separator, out);

        EXPECT_EQ(GetParam().separators, separators);
        EXPECT_EQ(expected, out);
    }
}

INSTANTIATE_TEST_SUITE_P(, SplitString, ::testing::ValuesIn(SPLITS),
                         [](const auto& test) { return test.param.name; });
