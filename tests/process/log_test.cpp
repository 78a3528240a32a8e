#include <filesystem>

#include "SupervisorTest.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class WatchProcessLog : public SupervisorTest {};

TEST_F(WatchProcessLog, IsTheTemplateBeforeTheFirstRun)
{
    EXPECT_STREQ(LOG_TEMPLATE, process.logFile());
}

TEST_F(WatchProcessLog, IsNotDeletedOnAFreshObject)
{
    process.deleteLog();

    EXPECT_THAT(kernel.calls, IsEmpty());
}

TEST_F(WatchProcessLog, KeepsItsNameWhenItIsDeleted)
{
    startMadeUpChild(NO_TIME_OUT);

    process.deleteLog();

    EXPECT_THAT(kernel.takeCalls(), ElementsAre("unlink /tmp/watchprocess.000001"));
    EXPECT_STREQ("/tmp/watchprocess.000001", process.logFile());
}

TEST_F(WatchProcessLog, MayBeMissingWhenItIsDeleted)
{
    startMadeUpChild(NO_TIME_OUT);
    process.deleteLog();

    process.deleteLog();

    EXPECT_THAT(kernel.calls,
                ElementsAre("unlink /tmp/watchprocess.000001", "unlink /tmp/watchprocess.000001"));
    expectReports({});
}

TEST_F(WatchProcessLog, IsForgottenAndNotDeletedByAReset)
{
    startMadeUpChild(NO_TIME_OUT);

    process.resetLogFile();
    process.deleteLog();

    EXPECT_STREQ(LOG_TEMPLATE, process.logFile());
    EXPECT_THAT(kernel.calls, IsEmpty());
    EXPECT_THAT(kernel.files(), ElementsAre("/tmp/watchprocess.000001"));
}

TEST_F(WatchProcessLog, GoesWithTheObjectAndTheTimerGoesToo)
{
    {
        tl::WatchProcess another;
        ASSERT_EQ(0, another.startProcess("/bin/tool", {"tool"}, 30));
        kernel.takeCalls();
    }

    EXPECT_THAT(kernel.calls, ElementsAre("unlink /tmp/watchprocess.000001", "KillTimer latest"))
        << "and the child is neither killed nor waited for";
}

TEST_F(WatchProcessLog, IsNotAskedForByADestroyedObjectThatNeverRan)
{
    {
        tl::WatchProcess another;
    }
    EXPECT_THAT(kernel.calls, IsEmpty());
}

}  // namespace
