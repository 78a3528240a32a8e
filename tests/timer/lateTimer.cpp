// A program whose static objects outlive the process's timer manager.  Exits with 0 if that does no
// harm.

#include <unistd.h>

#include "tl/tlTimer.h"

namespace {

CTimerManager& manager()
{
    return SimpleSingleton<CTimerManager>::Instance();
}

class Counter final : public ITimerManagerCallback {
public:
    void OnTimerExpired(unsigned long, long) override { ++calls; }
    int calls = 0;
};

// Created before the manager, so its destructor runs after the manager's.
class Late {
public:
    ~Late()
    {
        timer.clearTimer();
        manager().Process();
        if (early.calls != 0)
            ::_exit(1);  // the old registrations still exist

        // A timer that is added so late still works.
        manager().AddTimer(0, 1, &late);
        manager().Process();
        ::_exit(late.calls == 1 ? 0 : 2);
    }

    TlTimer timer;
    Counter early;
    Counter late;
};

Late object;
TlTimer destroyedRunning;

}  // namespace

int main()
{
    object.timer.startTimerSec(1000);
    destroyedRunning.startTimerSec(1000);
    for (int i = 0; i < 1000; ++i)
        manager().AddTimer(0, 1, &object.early);
    return 3;
}
