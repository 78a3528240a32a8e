#include <gtest/gtest.h>

#include <climits>
#include <locale>
#include <string>

#include "tl/Utilities.h"

namespace {

struct Hexadecimal {
    const char* name;
    const char* text;
    int length;
    int value;
};

// clang-format off
constexpr Hexadecimal HEXADECIMALS[] = {
//    name                           text           length  value
    { "LowerCase",                   "1f",           2,     31 },
    { "UpperCase",                   "1F",           2,     31 },
    { "EveryDigit",                  "01234567",     8,     0x01234567 },
    { "EveryLowerLetter",            "00abcdef",     8,     0x00ABCDEF },
    { "EveryUpperLetter",            "00ABCDEF",     8,     0x00ABCDEF },
    { "OneDigit",                    "f",            1,     15 },
    { "FewerThanThereAre",           "1f3a",         2,     0x1F },
    { "NinthDigitIgnored",           "123456789",    9,     305419896 },
    { "LengthFarBeyondEight",        "123456789",    INT_MAX, 305419896 },
    { "ForeignNinthIgnored",         "12345678 ",    9,     305419896 },
    { "EightDigitsFillAllBits",      "FFFFFFFF",     8,     -1 },
    { "EightDigitsSmallest",         "80000000",     8,     INT_MIN },
    { "EightDigitsLargest",          "7fffffff",     8,     INT_MAX },
    { "ForeignEndsIt",               "1F3G",         4,     0x1F3 },
    { "NulEndsIt",                   "12",           8,     0x12 },
    { "EmptyText",                   "",             8,     0 },
    { "Prefix",                      "0x1f",         4,     0 },
    { "PrefixUpper",                 "0X1F",         4,     0 },
    { "PlusSign",                    "+1f",          3,     0 },
    { "MinusSign",                   "-1f",          3,     0 },
    { "LeadingBlank",                " 1f",          3,     0 },
    { "SevenDigitsAndBlank",         "7ffffff ",     8,     0x7FFFFFF },
    { "SevenDigitsTurnNegative",     "8000000 ",     8,     -134217728 },
    { "SevenFsTurnNegative",         "fffffff ",     8,     -1 },
    { "SevenDigitsAndNul",           "8000000",      8,     -134217728 },
    { "SevenDigitsWithoutForeign",   "8000000",      7,     0x8000000 },
    { "SixDigitsAndBlank",           "ffffff ",      7,     0xFFFFFF },
    { "SlashBeforeDigits",           "1/",           2,     1 },
    { "ColonBehindDigits",           "1:",           2,     1 },
    { "AtBeforeUpper",               "1@",           2,     1 },
    { "GBehindUpper",                "1G",           2,     1 },
    { "BackquoteBeforeLower",        "1`",           2,     1 },
    { "GBehindLower",                "1g",           2,     1 },
    { "ByteAbove127",                "1\xE6",        2,     1 },
    { "LengthZero",                  "ff",           0,     0 },
    { "LengthNegative",              "ff",           -1,    0 },
    { "LengthMostNegative",          "ff",           INT_MIN, 0 },
    { "NullText",                    nullptr,        4,     0 },
};
// clang-format on

class AxtoiOf : public ::testing::TestWithParam<Hexadecimal> {};

}  // namespace

TEST_P(AxtoiOf, ReadsAtMostEightDigits)
{
    EXPECT_EQ(GetParam().value, axtoi(GetParam().text, GetParam().length));
}

INSTANTIATE_TEST_SUITE_P(, AxtoiOf, ::testing::ValuesIn(HEXADECIMALS),
                         [](const auto& test) { return test.param.name; });

TEST(Axtoi, ReadsNothingBehindItsLength)
{
    const char unterminated[] = {'1', 'f'};

    EXPECT_EQ(31, axtoi(unterminated, 2));
}

namespace {

struct Decimal {
    const char* name;
    const char* text;
    int value;
};

// clang-format off
constexpr Decimal DECIMALS[] = {
    { "Empty",                ""                          , 0 },
    { "OneDigit",             "7"                         , 7 },
    { "TwoDigits",            "42"                        , 42 },
    { "EveryDigit",           "1234567890"                , 1234567890 },
    { "LeadingZeros",         "0000000000042"             , 42 },
    { "BlankWithin",          "4 2"                       , 0 },
    { "BlankInFront",         " 42"                       , 0 },
    { "BlankBehind",          "42 "                       , 0 },
    { "PlusSign",             "+1"                        , 0 },
    { "MinusSign",            "-5"                        , 0 },
    { "LetterBehind",         "42a"                       , 0 },
    { "SlashBeforeDigits",    "4/"                        , 0 },
    { "ColonBehindDigits",    "4:"                        , 0 },
    { "ByteAbove127",         "4\xB2"                     , 0 },
    { "Largest",              "2147483647"                , INT_MAX },
    { "WrapsToTheSmallest",   "2147483648"                , INT_MIN },
    { "WrapsToMinusOne",      "4294967295"                , -1 },
    { "WrapsToZero",          "4294967296"                , 0 },
    { "WrapsManyTimes",       "99999999999999999999"      , 1661992959 },
};
// clang-format on

class StringToIntOf : public ::testing::TestWithParam<Decimal> {};

}  // namespace

TEST_P(StringToIntOf, TakesDigitsAlone)
{
    EXPECT_EQ(GetParam().value, stringToInt(GetParam().text));
}

INSTANTIATE_TEST_SUITE_P(, StringToIntOf, ::testing::ValuesIn(DECIMALS),
                         [](const auto& test) { return test.param.name; });

TEST(StringToInt, TakesANulWithinForNoDigit)
{
    EXPECT_EQ(0, stringToInt(std::string("4\0"
                                         "2",
                                         3)));
}

TEST(Itoax, WritesTheLow16BitsAsFourLowerCaseDigits)
{
    std::string out;

    itoax(0, out);
    EXPECT_EQ("0000", out);
    itoax(109517, out);
    EXPECT_EQ("abcd", out);
    itoax(0x0E0F, out);
    EXPECT_EQ("0e0f", out);
    itoax(0xFFFF, out);
    EXPECT_EQ("ffff", out);
    itoax(0x10000, out);
    EXPECT_EQ("0000", out);
    itoax(ULONG_MAX - 1, out);
    EXPECT_EQ("fffe", out);
}

TEST(Itoax, ReplacesWhatWasThere)
{
    std::string longer(100, 'x');
    itoax(0x12, longer);
    EXPECT_EQ("0012", longer);

    std::string shorter = "x";
    itoax(0x3456, shorter);
    EXPECT_EQ("3456", shorter);
    EXPECT_STREQ("3456", shorter.c_str());
}

TEST(Wtoax, WritesEveryValueAsFourLowerCaseDigits)
{
    EXPECT_EQ("beef", wtoax(0xBEEF));
    EXPECT_EQ("000a", wtoax(10));
    for (unsigned int value = 0; value <= 0xFFFF; ++value) {
        char expected[5];
        std::snprintf(expected, sizeof expected, "%04x", value);
        ASSERT_EQ(expected, wtoax(static_cast<unsigned short>(value)));
    }
}

TEST(IntToString, WritesDecimalWithoutFill)
{
    EXPECT_EQ("0", intToString(0));
    EXPECT_EQ("7", intToString(7));
    EXPECT_EQ("-1", intToString(-1));
    EXPECT_EQ("1000000", intToString(1000000));
    EXPECT_EQ("2147483647", intToString(INT_MAX));
    EXPECT_EQ("-2147483648", intToString(INT_MIN));
}

namespace {

/// Groups digits in an unusual way.
class Grouping : public std::numpunct<char> {
protected:
    char do_thousands_sep() const override { return '\''; }
    std::string do_grouping() const override { return "\3\2"; }
};

class GlobalLocale {
public:
    explicit GlobalLocale(const std::locale& locale) : former_(std::locale::global(locale)) {}
    ~GlobalLocale() { std::locale::global(former_); }
    GlobalLocale(const GlobalLocale&) = delete;
    GlobalLocale& operator=(const GlobalLocale&) = delete;

private:
    std::locale former_;
};

}  // namespace

TEST(IntToString, GroupsDigitsAsTheGlobalLocaleDoes)
{
    const GlobalLocale grouping(std::locale(std::locale::classic(), new Grouping));

    EXPECT_EQ("-2'14'74'83'648", intToString(INT_MIN));
    EXPECT_EQ("1'00'000", intToString(100000));
    EXPECT_EQ("999", intToString(999));
}

TEST(IntToString, GroupsNothingAnyMoreWhenTheGlobalLocaleIsClassicAgain)
{
    {
        const GlobalLocale grouping(std::locale(std::locale::classic(), new Grouping));
    }

    EXPECT_EQ("1000000", intToString(1000000));
}

namespace {

struct Guid {
    const char* name;
    const char* id;
    const char* guid;
};

// clang-format off
constexpr Guid GUIDS[] = {
//    name                       id                            sixteen digits
    { "Empty",                   "",                           "0000000000000000" },
    { "Short",                   "abc",                        "0000000000000abc" },
    { "UpperCase",               "ABCDEF",                     "0000000000abcdef" },
    { "LowerCase",               "abcdef",                     "0000000000abcdef" },
    { "EveryDigit",              "0123456789",                 "0000000123456789" },
    { "NineDigitsCarryOver",     "123456789",                  "0000000123456789" },
    { "Sixteen",                 "fedcba9876543210",           "fedcba9876543210" },
    { "LastSixteenSurvive",      "12345678ABCDEF0123",         "345678abcdef0123" },
    { "LongIsCutInFront",        "ffffffff0000000000000001",   "0000000000000001" },
    // 'g' counts as 'G', whose value is 71 - 55 = 16: it carries into the preceding digit.
    { "GIsSixteen",              "g",                          "0000000000000010" },
    { "GIntoTheDigitInFront",    "1g",                         "0000000000000010" },
    // '`' is 96, just before the letters: 96 - 55.  '{' is 123, which counts as 91: 91 - 55.
    { "BackquoteIsLeftAlone",    "`",                          "0000000000000029" },
    { "BraceIsMovedLikeALetter", "{",                          "0000000000000024" },
    { "At",                      "@",                          "0000000000000009" },
    { "Colon",                   ":",                          "0000000000000003" },
    // ' ' is 32 - 55 = -23, which in two's complement fills only the low half.
    { "BlankFillsTheLowHalf",    " ",                          "00000000ffffffe9" },
    { "Slash",                   "/",                          "00000000fffffff8" },
    { "Dash",                    "1-2",                        "0000000fffffff62" },
    // Signed: 0x80 is -128, so 0x80 to 0xff are not lower-case letters.
    { "Byte128",                 "\x80",                       "00000000ffffff49" },
    { "Byte230",                 "\xE6",                       "00000000ffffffaf" },
    { "Byte255",                 "\xFF",                       "00000000ffffffc8" },
    { "HighBitsShiftOn",         " 12345678",                  "ffffffe912345678" },
};
// clang-format on

class CreateGuidStringOf : public ::testing::TestWithParam<Guid> {};

}  // namespace

TEST_P(CreateGuidStringOf, RewritesAsSixteenLowerCaseDigits)
{
    std::string id = GetParam().id;

    createGUIDString(id);

    EXPECT_EQ(GetParam().guid, id);
}

INSTANTIATE_TEST_SUITE_P(, CreateGuidStringOf, ::testing::ValuesIn(GUIDS),
                         [](const auto& test) { return test.param.name; });

TEST(CreateGuidString, TakesANulWithinForACharacter)
{
    std::string id("\0", 1);

    createGUIDString(id);

    EXPECT_EQ("00000000ffffffc9", id);
}
