#include <gtest/gtest.h>
#include "CapturedLog.h"
#include "TemporaryDirectory.h"
#include "tl/WatchProcess.h"
TEST(WatchProcess, Smoke)
{
    tl::WatchProcess job;
    ASSERT_EQ(0, job.startProcess("/bin/echo hello", 5));
    while (job.poll() == tl::WP_EXECUTING)
        ::usleep(1000);
    EXPECT_EQ("hello\n", contentOf(job.logFile()));
}
