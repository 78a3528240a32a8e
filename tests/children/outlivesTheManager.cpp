// outlivesTheManager PROGRAM: destroys a timer and a supervisor after the shared timer manager,
// while their timers run.
#include <cstdio>

#include "tl/WatchProcess.h"
#include "tl/tlTimer.h"

namespace {

TlTimer timer;
tl::WatchProcess job;

}  // namespace

int main(int, char** argv)
{
    timer.startTimerSec(1000);  // creates the manager, which is destroyed first
    if (job.startProcess(argv[1], {"child", "0"}, 1000) != 0)
        return 1;
    std::printf("%s\n", job.logFile());
    return 0;
}
