// Makes the library call everything that it takes from the support library, each once, and takes the timer manager
// itself: what the maker's library says of it on standard error is compared with swap.expected.

#include <tl/DeviceProperties.h>
#include <tl/Facade.h>
#include <tl/tlTimer.h>
#include <tlshared/LogX.h>

#include <string>

int main(int, char* arguments[])
{
    const std::string directory = arguments[1];

    LogXMessage(5, "program: %d", 1);
    tl::DevicePropertiesMap::instance().get(DT_IRX);
    tl::Facade::makeFullPath(directory + "/made");
    tl::Facade::instance().rawSystem("exit 3", "swap");

    TlTimer limit;
    limit.startTimerMS(1);
    while (!limit.isExpired())
        SimpleSingleton<CTimerManager>::Instance().Process();
    limit.startTimerSec(4000000000);
    limit.OnTimerExpired(1, 0);  // an id that is not its own

    TlTimer cleared;
    cleared.startTimerSec(60);
}
