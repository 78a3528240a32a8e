#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstring>
#include <filesystem>

#include "CapturedLog.h"
#include "FacadeLayout.h"
#include "TemporaryDirectory.h"
#include "tl/Facade.h"

namespace fs = std::filesystem;

namespace {

std::string errnoPart(int error)
{
    return ", errno = (" + std::to_string(error) + ") " + std::strerror(error);
}

struct Ending {
    const char* name;
    int status;
    const char* words;  // logged between the command and the errno; "": nothing is logged
};

// clang-format off
constexpr Ending ENDINGS[] = {
//    name                     wait status        logged
    { "success",               0,                 ""                       },
    { "exit1",                 0x0100,            ", exit status = 1"      },
    { "exit3",                 0x0300,            ", exit status = 3"      },
    { "exit255",               0xFF00,            ", exit status = 255"    },
    { "exitWithHighBits",      0x10300,           ", exit status = 3"      },
    { "hangup",                1,                 ", signal = 1"           },
    { "killed",                9,                 ", signal = 9"           },
    { "coreDumped",            0x8B,              ", signal = 11"          },
    { "highestSignal",         0x7E,              ", signal = 126"         },
    { "signalAndExitByte",     0x0309,            ", signal = 9"           },
    { "stoppedByStop",         0x137F,            ", signal = 19"          },
    { "stoppedByNothing",      0x007F,            ", signal = 0"           },
    { "stoppedByTheHighest",   0xFF7F,            ", signal = 255"         },
    { "coreFlagAlone",         0x80,              ", rc = 128"             },
    { "continued",             0xFFFF,            ", rc = 65535"           },
    { "stoppedWithCoreFlag",   0x13FF,            ", rc = 5119"            },
    { "bitsAboveTheStatus",    0x10000,           ", rc = 65536"           },
    { "negative",              -2,                ", signal = 126"         },
    { "mostNegative",          INT32_MIN,         ", rc = -2147483648"     },
};
// clang-format on

}  // namespace

class FacadeCommand : public ::testing::Test {
protected:
    FacadeCommand()
    {
        // Logging may change errno, for example if it writes to a file.
        hooks::LogXMessage = [this](unsigned int level, const std::string& text) {
            lines.push_back({static_cast<int>(level), text});
            errno = EXDEV;
        };
    }

    // What tl::system() returns from now on, without running anything.
    void commandEndsWith(int status, int error)
    {
        hooks::tl_system = [=](const char* cmd) {
            errnoAtCommand = errno;
            commands.push_back(cmd);
            linesAtCommand = lines.size();
            errno = error;
            return status;
        };
    }

    hooks::Reset reset;
    LogLines lines;
    std::vector<std::string> commands;
    int errnoAtCommand = -1;
    std::size_t linesAtCommand = 0;
    TemporaryDirectory place;
    const tl::Facade& facade = tl::Facade::instance();
};

using FacadeRawSystem = FacadeCommand;
using FacadeSystem = FacadeCommand;

// Results of the real shell.

TEST_F(FacadeRawSystem, RunsACommandAndLogsNothing)
{
    const std::string file = place.path() + "made";

    EXPECT_EQ(0, facade.rawSystem("echo content > " + file, "t"));

    EXPECT_EQ("content\n", contentOf(file));
    EXPECT_TRUE(lines.empty());
}

TEST_F(FacadeRawSystem, ReportsAnExitStatusAndReturnsTheWaitStatus)
{
    errno = EBUSY;

    EXPECT_EQ(0x300, facade.rawSystem("exit 3", "t"));

    EXPECT_EQ((LogLines{{level::ERROR, "t: cmd = 'exit 3', exit status = 3" + errnoPart(0)}}),
              lines);
}

TEST_F(FacadeRawSystem, ReportsTheSignalThatEndedTheCommand)
{
    EXPECT_EQ(SIGKILL, facade.rawSystem("kill -9 $$", "t"));

    EXPECT_EQ((LogLines{{level::ERROR, "t: cmd = 'kill -9 $$', signal = 9" + errnoPart(0)}}),
              lines);
}

TEST_F(FacadeRawSystem, ReportsACommandThatTheShellCannotFind)
{
    EXPECT_EQ(127 << 8, facade.rawSystem("/nowhere/command 2>/dev/null", "t"));

    EXPECT_EQ(
        (LogLines{{level::ERROR,
                   "t: cmd = '/nowhere/command 2>/dev/null', exit status = 127" + errnoPart(0)}}),
        lines);
}

TEST_F(FacadeRawSystem, ReportsACommandWhoseEndCannotBeLearned)
{
    // Then no child can be waited for.
    const auto former = std::signal(SIGCHLD, SIG_IGN);
    const int status = facade.rawSystem("exit 3", "");
    const int error = errno;
    std::signal(SIGCHLD, former);

    EXPECT_EQ(-1, status);
    EXPECT_EQ(ECHILD, error);
    EXPECT_EQ((LogLines{{level::ERROR, ": cmd = 'exit 3', rc = -1" + errnoPart(ECHILD)}}), lines);
}

TEST_F(FacadeRawSystem, IsSilentAboutTheOutcomeWithoutATag)
{
    EXPECT_EQ(0x300, facade.rawSystem("exit 3", ""));
    EXPECT_EQ(SIGKILL, facade.rawSystem("kill -9 $$", ""));

    EXPECT_TRUE(lines.empty());
}

TEST_F(FacadeRawSystem, RunsInTheSandboxAfterSayingSo)
{
    const FacadeLayout sandbox(true);

    EXPECT_EQ(0, facade.rawSystem("true", "t"));
    EXPECT_EQ((LogLines{{level::DEBUG, "running: 'true'"}}), lines);

    EXPECT_EQ(0x300, facade.rawSystem("exit 3", "t"));
    EXPECT_EQ((LogLines{{level::DEBUG, "running: 'true'"},
                        {level::DEBUG, "running: 'exit 3'"},
                        {level::ERROR, "t: cmd = 'exit 3', exit status = 3" + errnoPart(0)}}),
              lines);
}

// Results that a shell does not produce on demand.

class FacadeRawSystemEnding : public FacadeCommand, public ::testing::WithParamInterface<Ending> {
protected:
    LogLines expected() const
    {
        const std::string words = GetParam().words;
        if (words.empty())
            return {};
        return {{level::ERROR, "t: cmd = 'cmd'" + words + errnoPart(ENOMEM)}};
    }
};

TEST_P(FacadeRawSystemEnding, IsReportedInFixedWordsAndReturned)
{
    commandEndsWith(GetParam().status, ENOMEM);

    EXPECT_EQ(GetParam().status, facade.rawSystem("cmd", "t"));

    EXPECT_EQ(ENOMEM, errno);
    EXPECT_EQ(expected(), lines);
    EXPECT_EQ(std::vector<std::string>{"cmd"}, commands);
}

TEST_P(FacadeRawSystemEnding, IsReturnedInSilenceWithoutATag)
{
    commandEndsWith(GetParam().status, ENOMEM);

    EXPECT_EQ(GetParam().status, facade.rawSystem("cmd", ""));

    EXPECT_EQ(ENOMEM, errno);
    EXPECT_TRUE(lines.empty());
}

INSTANTIATE_TEST_SUITE_P(, FacadeRawSystemEnding, ::testing::ValuesIn(ENDINGS),
                         [](const auto& test) { return test.param.name; });

TEST_F(FacadeRawSystem, ReportsThatNothingCouldBeRun)
{
    commandEndsWith(-1, EAGAIN);

    EXPECT_EQ(-1, facade.rawSystem("cmd", "t"));

    EXPECT_EQ(EAGAIN, errno);
    EXPECT_EQ((LogLines{{level::ERROR, "t: cmd = 'cmd', rc = -1" + errnoPart(EAGAIN)}}), lines);
}

TEST_F(FacadeRawSystem, ReportsThatNothingCouldBeRunWithoutATagToo)
{
    commandEndsWith(-1, EAGAIN);

    EXPECT_EQ(-1, facade.rawSystem("cmd", ""));

    EXPECT_EQ(EAGAIN, errno);
    EXPECT_EQ((LogLines{{level::ERROR, ": cmd = 'cmd', rc = -1" + errnoPart(EAGAIN)}}), lines);
}

TEST_F(FacadeRawSystem, StartsTheCommandWithoutAnErrno)
{
    commandEndsWith(0, 0);
    errno = EBUSY;

    facade.rawSystem("cmd", "t");

    EXPECT_EQ(0, errnoAtCommand);
}

TEST_F(FacadeRawSystem, StartsTheCommandWithoutAnErrnoInTheSandboxToo)
{
    const FacadeLayout sandbox(true);
    commandEndsWith(0, 0);
    errno = EBUSY;

    facade.rawSystem("cmd", "t");
    EXPECT_EQ(0, errno);

    EXPECT_EQ(0, errnoAtCommand);
    EXPECT_EQ(1U, linesAtCommand);  // the trace comes first
}

TEST_F(FacadeRawSystem, LogsWithoutAReasonWhereThereIsNoText)
{
    commandEndsWith(0x300, EIO);
    hooks::strerror = [](int) -> char* { return nullptr; };

    facade.rawSystem("cmd", "t");
    EXPECT_EQ(EIO, errno);

    EXPECT_EQ((LogLines{{level::ERROR, "t: cmd = 'cmd', exit status = 3, errno = (5) "}}), lines);
}

TEST_F(FacadeRawSystem, TakesTheReasonOfTheErrnoThatItShows)
{
    commandEndsWith(0x300, EIO);
    char text[] = "text of five";
    hooks::strerror = [&](int error) {
        errno = ENOMEM;
        return error == EIO ? text : nullptr;
    };

    facade.rawSystem("cmd", "t");
    EXPECT_EQ(EIO, errno);

    EXPECT_EQ(
        (LogLines{{level::ERROR, "t: cmd = 'cmd', exit status = 3, errno = (5) text of five"}}),
        lines);
}

TEST_F(FacadeRawSystem, ShowsTheErrnoOfTheCommandWhateverTheMessageCosts)
{
    commandEndsWith(0x300, EIO);

    facade.rawSystem("a command that is longer than a short string", "t");

    EXPECT_EQ(EIO, errno);
    EXPECT_EQ((LogLines{{level::ERROR,
                         "t: cmd = 'a command that is longer than a short string', "
                         "exit status = 3" +
                             errnoPart(EIO)}}),
              lines);
}

TEST_F(FacadeRawSystem, PassesAndLogsTheCommandAsItStands)
{
    commandEndsWith(0x100, 0);

    facade.rawSystem("echo '%s' \"$x\"\n", "100%d");

    EXPECT_EQ(std::vector<std::string>{"echo '%s' \"$x\"\n"}, commands);
    EXPECT_EQ((LogLines{{level::ERROR,
                         "100%d: cmd = 'echo '%s' \"$x\"\n', exit status = 1" + errnoPart(0)}}),
              lines);
}

TEST_F(FacadeSystem, RunsNothingInTheSandbox)
{
    const FacadeLayout sandbox(true);
    commandEndsWith(0x100, EIO);
    errno = EBUSY;

    EXPECT_EQ(0, facade.system("reboot", "t"));
    EXPECT_EQ(EBUSY, errno);

    EXPECT_TRUE(commands.empty());
    EXPECT_EQ((LogLines{{level::DEBUG, "skipping: 'reboot'"}}), lines);
}

TEST_F(FacadeSystem, RunsNothingInTheSandboxForReal)
{
    const FacadeLayout sandbox(true);
    const std::string file = place.path() + "made";

    EXPECT_EQ(0, facade.system("echo content > " + file, ""));

    EXPECT_FALSE(fs::exists(file));
    EXPECT_EQ((LogLines{{level::DEBUG, "skipping: 'echo content > " + file + "'"}}), lines);
}

TEST_F(FacadeSystem, RunsTheCommandInTheRealLayoutWithoutATrace)
{
    const std::string file = place.path() + "made";

    EXPECT_EQ(0, facade.system("echo content > " + file, "t"));

    EXPECT_EQ("content\n", contentOf(file));
    EXPECT_TRUE(lines.empty());
}

TEST_F(FacadeSystem, ReportsLikeRawSystemInTheRealLayout)
{
    commandEndsWith(0x300, EIO);

    EXPECT_EQ(0x300, facade.system("cmd", "t"));
    EXPECT_EQ(0x300, facade.system("cmd", ""));
    EXPECT_EQ(EIO, errno);

    EXPECT_EQ((LogLines{{level::ERROR, "t: cmd = 'cmd', exit status = 3" + errnoPart(EIO)}}),
              lines);
}

TEST_F(FacadeSystem, GoesByTheLayoutOfTheMoment)
{
    commandEndsWith(0, 0);

    tl::Facade::instance().debug(true);
    facade.system("one", "");
    tl::Facade::instance().debug(false);
    facade.system("two", "");

    EXPECT_EQ(std::vector<std::string>{"two"}, commands);
}
