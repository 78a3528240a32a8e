#include <gtest/gtest.h>
#include "hooks.h"
#include "tl/tlTimer.h"
TEST(TlTimer, Smoke)
{
    hooks::Reset reset;
    long now = 0;
    hooks::clock_gettime = [&](clockid_t, timespec* t) {
        t->tv_sec = now;
        t->tv_nsec = 0;
        return 0;
    };
    TlTimer timer;
    timer.startTimerSec(2);
    SimpleSingleton<CTimerManager>::Instance().Process();
    EXPECT_FALSE(timer.isExpired());
    now = 2;
    SimpleSingleton<CTimerManager>::Instance().Process();
    EXPECT_TRUE(timer.isExpired());
}
