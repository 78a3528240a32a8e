#include <dlfcn.h>
#include <gmock/gmock.h>
#include <syslog.h>
#include <unwind.h>

#include <cerrno>
#include <cstdint>
#include <functional>

#include "CapturedLog.h"
#include "frames.h"
#include "tracedFunctions.h"

namespace {

using ::testing::Each;
using ::testing::Ge;
using ::testing::MatchesRegex;
using ::testing::SizeIs;

using Lines = std::vector<std::string>;

// The line for a frame of this program.
std::string frame(const std::string& number, const std::string& function)
{
    return ::frame(number, function, "assertWrite_test");
}

struct Build {
    const char* name;
    tl::StackTrace (*exported)();
    tl::StackTrace (*throughStatic)();
    tl::StackTrace (*throughNoReturn)();
    tl::StackTrace (*deep)(int);
};

constexpr Build BUILDS[] = {
    {"unoptimised", unoptimised::exported, unoptimised::throughStatic, unoptimised::throughNoReturn,
     unoptimised::deep},
    {"optimised", optimised::exported, optimised::throughStatic, optimised::throughNoReturn,
     optimised::deep},
};

void PrintTo(const Build& build, std::ostream* stream)
{
    *stream << build.name;
}

std::function<int(Dl_info* info)> moduleOf;  // unset: the dynamic linker answers
int framesLeftOut = 0;                       // innermost frames that the unwinder skips

struct Unwinding {
    _Unwind_Trace_Fn function;
    void* argument;
    int leftOut;
};

_Unwind_Reason_Code leaveOut(_Unwind_Context* context, void* to)
{
    Unwinding& unwinding = *static_cast<Unwinding*>(to);
    if (unwinding.leftOut-- > 0)
        return _URC_NO_REASON;
    return unwinding.function(context, unwinding.argument);
}

class StackTrace : public ::testing::TestWithParam<Build> {
protected:
    ~StackTrace() override
    {
        moduleOf = nullptr;
        framesLeftOut = 0;
    }

    std::string function(const std::string& name) const { return GetParam().name + ("::" + name); }
};

}  // namespace

extern "C" int dladdr(const void* address, Dl_info* info) noexcept
{
    using Dladdr = int(const void*, Dl_info*);
    return moduleOf ? moduleOf(info) : hooks::real<Dladdr>("dladdr")(address, info);
}

extern "C" _Unwind_Reason_Code _Unwind_Backtrace(_Unwind_Trace_Fn function, void* argument)
{
    using Backtrace = _Unwind_Reason_Code(_Unwind_Trace_Fn, void*);
    Unwinding unwinding{function, argument, framesLeftOut};
    return hooks::real<Backtrace>("_Unwind_Backtrace")(leaveOut, &unwinding);
}

TEST_P(StackTrace, BeginsWithTheFunctionThatMadeIt)
{
    const Lines lines = GetParam().exported().lines();

    ASSERT_THAT(lines, SizeIs(Ge(2U)));
    EXPECT_THAT(lines[0], MatchesRegex(frame("0", function("exported\\(\\)"))));
}

TEST_P(StackTrace, NamesTheCallersFromWithinAndNumbersThem)
{
    const Lines lines = GetParam().deep(2).lines();

    ASSERT_THAT(lines, SizeIs(Ge(5U)));
    EXPECT_THAT(lines[0], MatchesRegex(frame("0", function("exported\\(\\)"))));
    EXPECT_THAT(lines[1], MatchesRegex(frame("1", function("deep\\(int\\)"))));
    EXPECT_THAT(lines[2], MatchesRegex(frame("2", function("deep\\(int\\)"))));
    EXPECT_THAT(lines[3], MatchesRegex(frame("3", function("deep\\(int\\)"))));
    for (std::size_t i = 0; i < lines.size(); ++i)
        EXPECT_EQ(0U, lines[i].find("#" + std::to_string(i) + " ")) << lines[i];
}

TEST_P(StackTrace, GivesModuleAndOffsetWhereNoSymbolIsExported)
{
    const Lines lines = GetParam().throughStatic().lines();

    ASSERT_THAT(lines, SizeIs(Ge(2U)));
    EXPECT_THAT(lines[0], MatchesRegex("#0 0x[0-9a-f]+ \\(assertWrite_test\\)"));
    EXPECT_THAT(lines[1], MatchesRegex(frame("1", function("throughStatic\\(\\)"))));
}

// Code outside of any module, as from a just-in-time compiler.  dladdr() then returns no usable
// data.
TEST_P(StackTrace, GivesTheAddressWhereThereIsNoModule)
{
    moduleOf = [](Dl_info* info) {
        *info = Dl_info{"/lib/wrong.so", nullptr, "wrong", nullptr};
        return 0;
    };
    const Lines unknown = GetParam().exported().lines();
    moduleOf = [](Dl_info* info) {
        *info = Dl_info{};
        return 1;
    };
    const Lines nameless = GetParam().exported().lines();

    const std::uintptr_t function = codeOf(GetParam().exported);
    for (const std::string& line : {unknown[0], nameless[0]}) {
        ASSERT_THAT(line, MatchesRegex("#0 0x[0-9a-f]+"));
        EXPECT_GT(4096U, std::stoull(line.substr(3), nullptr, 16) - function) << line;
    }
}

TEST_P(StackTrace, TakesAModuleNamedWithoutAFolder)
{
    moduleOf = [](Dl_info* info) {
        *info = Dl_info{"program", nullptr, nullptr, nullptr};
        return 1;
    };
    EXPECT_THAT(GetParam().exported().lines()[0], MatchesRegex("#0 0x[0-9a-f]+ \\(program\\)"));
}

TEST_P(StackTrace, NamesAFunctionThatEndsInACallWithoutReturn)
{
    const Lines lines = GetParam().throughNoReturn().lines();

    ASSERT_THAT(lines, SizeIs(Ge(4U)));
    EXPECT_THAT(lines[1], MatchesRegex(frame("1", function("leave\\(\\)"))));
    EXPECT_THAT(lines[2], MatchesRegex(frame("2", function("onlyLeaves\\(\\)"))));
    EXPECT_THAT(lines[3], MatchesRegex(frame("3", function("throughNoReturn\\(\\)"))));
}

// The stand-in, the trace function and its caller.
TEST_P(StackTrace, ShowsAllFramesWhereNoneIsItsCallers)
{
    framesLeftOut = 3;
    const Lines lines = GetParam().deep(2).lines();

    ASSERT_THAT(lines, SizeIs(Ge(4U)));
    EXPECT_THAT(lines[0], MatchesRegex(frame("0", function("deep\\(int\\)"))));
    EXPECT_THAT(lines[2], MatchesRegex(frame("2", function("deep\\(int\\)"))));
}

TEST_P(StackTrace, EndsSomewhereInADeepRecursion)
{
    const Lines lines = GetParam().deep(1000).lines();

    EXPECT_THAT(lines, SizeIs(::testing::AllOf(Ge(32U), ::testing::Le(64U))));
}

TEST_P(StackTrace, LeavesErrnoAlone)
{
    errno = EDOM;
    const tl::StackTrace trace;
    EXPECT_EQ(EDOM, errno);
}

INSTANTIATE_TEST_SUITE_P(, StackTrace, ::testing::ValuesIn(BUILDS),
                         [](const auto& test) { return test.param.name; });

namespace {

class AssertWrite : public ::testing::Test {
protected:
    hooks::Reset reset;
    CapturedSyslog log;
    const tl::StackTrace trace;
};

}  // namespace

TEST_F(AssertWrite, LogsThePlaceAndThenEachFrameAtErrorLevel)
{
    LogLines expected{{LOG_ERR, "Assertion failed: pump%s.cpp:417"}};
    for (const std::string& line : trace.lines())
        expected.push_back({LOG_ERR, line});

    tl::AssertWrite("pump%s.cpp", 417, trace);

    EXPECT_EQ(expected, log.lines);
    EXPECT_THAT(log.lines, SizeIs(Ge(3U)));
}

TEST_F(AssertWrite, LeavesErrnoAlone)
{
    hooks::syslog = [](int, const std::string&) { errno = EPIPE; };
    errno = EDOM;

    tl::AssertWrite("pump.cpp", 1, trace);

    EXPECT_EQ(EDOM, errno);
}
