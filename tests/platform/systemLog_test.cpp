// What every outlet really sends to the system log.  The tests bind /dev/log, so they need a
// private /dev: run them with ctest, which provides one.

#include <gtest/gtest.h>

#include <cerrno>
#include <iostream>

#include "CapturedStream.h"
#include "FacadeLayout.h"
#include "KernelStrings.h"
#include "SystemLog.h"
#include "isPrivate.h"
#include "tl/DeviceProperties.h"
#include "tl/DeviceType.h"
#include "tl/Facade.h"
#include "tl/WatchProcess.h"
#include "tl/tlTimer.h"
#include "tlshared/AssertWrite.h"
#include "tlshared/LogX.h"

namespace {

constexpr int USER = 1 << 3;  // the default facility
constexpr int ERROR = USER + 3;
constexpr int NOTICE = USER + 5;
constexpr int DEBUG = USER + 7;

}  // namespace

class SystemLogOutlet : public ::testing::Test {
protected:
    void SetUp() override
    {
        if (!isPrivate("/dev"))
            GTEST_SKIP() << "this is the machine's own /dev";
        log = std::make_unique<SystemLog>();
    }

    std::unique_ptr<SystemLog> log;
};

TEST_F(SystemLogOutlet, LogXMessageSendsATextAsItStands)
{
    LogXMessage(3, std::string("100% %s %n %m"));
    LogXMessage(7, std::string("two\nlines"));

    EXPECT_EQ((LogLines{{ERROR, "100% %s %n %m"}, {DEBUG, "two\nlines"}}), log->lines());
}

TEST_F(SystemLogOutlet, LogXMessageSendsWhatAFormatGives)
{
    LogXMessage(3, "%s is %d%%", "this", 42);

    EXPECT_EQ((LogLines{{ERROR, "this is 42%"}}), log->lines());
}

TEST_F(SystemLogOutlet, LogXMessageChoosesNoFacility)
{
    for (const unsigned int level : {0U, 7U, 8U, 19U, 0xFFFFFFFFU})
        LogXMessage(level, std::string("text"));

    EXPECT_EQ((LogLines{{USER + 0, "text"},
                        {USER + 7, "text"},
                        {USER + 0, "text"},
                        {USER + 3, "text"},
                        {USER + 7, "text"}}),
              log->lines());
}

TEST_F(SystemLogOutlet, LogXMessageKeepsErrno)
{
    errno = EXDEV;
    LogXMessage(3, std::string("text"));
    LogXMessage(3, "format");
    EXPECT_EQ(EXDEV, errno);

    log.reset();  // no more listener
    LogXMessage(3, std::string("text"));
    LogXMessage(3, "format");
    EXPECT_EQ(EXDEV, errno);
}

TEST_F(SystemLogOutlet, DetectionSendsTheDevice)
{
    KernelStrings kernel;
    tl::DeviceType::get();
    kernel.version = "#1 kr20v2";
    tl::DeviceType::get();

    EXPECT_EQ(
        (LogLines{{NOTICE, "Device is <error>"}, {NOTICE, "Device is Home Controller KR20v2"}}),
        log->lines());
}

TEST_F(SystemLogOutlet, PropertiesSendAMissingRecord)
{
    tl::DevicePropertiesMap::instance().get(DT_IRX);

    EXPECT_EQ((LogLines{{ERROR, "Could not find deviceType = 5"}}), log->lines());
}

TEST_F(SystemLogOutlet, PropertiesSendAMissingHostName)
{
    const hooks::Reset reset;
    hooks::gethostname = [](char*, size_t) { return -1; };

    tl::DeviceProperties().hostname();

    EXPECT_EQ((LogLines{{ERROR, "Unable to get hostname from system.  Sending error string."}}),
              log->lines());
}

TEST_F(SystemLogOutlet, FacadeSendsFailuresAndTraces)
{
    const tl::Facade& facade = tl::Facade::instance();
    facade.unlink("/nowhere/100%s", "upman");
    facade.chmodX("/nowhere/file", "upman");
    facade.rawSystem("exit 3", "upman");
    {
        const FacadeLayout sandbox(true);
        facade.rawSystem("true", "upman");
        facade.system("reboot", "upman");
    }

    EXPECT_EQ((LogLines{{ERROR, "upman: cannot remove /nowhere/100%s"},
                        {ERROR, "upman: chmod failed, " + text(ENOENT)},
                        {ERROR, "upman: cmd = 'exit 3', exit status = 3, errno = (0) " + text(0)},
                        {DEBUG, "running: 'true'"},
                        {DEBUG, "skipping: 'reboot'"}}),
              log->lines());
}

TEST_F(SystemLogOutlet, FacadeKeepsErrnoWhereNobodyListens)
{
    log.reset();

    EXPECT_EQ(-1, tl::Facade::instance().unlink("/dev/null/x", "upman"));

    EXPECT_EQ(ENOTDIR, errno);
}

TEST_F(SystemLogOutlet, SupervisorSendsARefusedStart)
{
    const CapturedStream errors(std::cerr);

    tl::WatchProcess().startProcess("/nowhere/100%s", 1);

    EXPECT_EQ(
        (LogLines{{ERROR, "WatchProcess:runProcess: /nowhere/100%s, No such file or directory"}}),
        log->lines());
    EXPECT_EQ("WatchProcess:runProcess: /nowhere/100%s, No such file or directory\n",
              errors.text());
}

TEST_F(SystemLogOutlet, SupervisorsChildSendsWhyItCouldNotExecute)
{
    tl::WatchProcess job;
    ASSERT_EQ(0, job.startProcess("/", {"directory"}, 1000));
    job.wait();

    EXPECT_EQ(255, job.exitStatus());
    EXPECT_EQ((LogLines{{ERROR, "exec failed: errno = 13, Permission denied"}}), log->lines());
}

TEST_F(SystemLogOutlet, TimerSendsAForeignIdAndAssertionsTheirPlaceAndCallers)
{
    TlTimer timer;
    timer.OnTimerExpired(42, 0);

    const LogLines& lines = log->lines();
    ASSERT_LE(3U, lines.size());
    EXPECT_EQ((LogLine{ERROR, "Timer expired ids are wrong idTimer 42 m_idTimer 0"}), lines[0]);
    EXPECT_EQ(0U, lines[1].text.find("Assertion failed: tlTimer.cpp:")) << lines[1].text;
    for (std::size_t i = 2; i < lines.size(); ++i) {
        EXPECT_EQ(ERROR, lines[i].level);
        EXPECT_EQ(0U, lines[i].text.find("#" + std::to_string(i - 2) + " ")) << lines[i].text;
    }
}
