// Makes the library call each function of the support library once, and uses the timer manager
// itself.  The maker's library reports each call on standard error, which is compared with
// swap.expected.

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
    limit.OnTimerExpired(1, 0);  // not its own id

    TlTimer cleared;
    cleared.startTimerSec(60);
}
