// A program whose static object uses the library before main() starts and after it returns:
// catalogue, layouts and the names of the kernel classes.  Exits with 0 if they were intact both
// times.

#include <unistd.h>

#include "tl/DeviceType.h"
#include "tl/Facade.h"

namespace {

bool isWhole()
{
    return tl::DeviceType::find("#1 kr20v2") == DT_KR20V2 &&
           tl::DeviceType::toEnum("kr20") == DT_KR20 &&
           tl::DeviceType::toServerName(DT_KR20) == "Home Controller KR20" &&
           tl::DeviceType::toString(static_cast<DeviceType_t>(-1)) == "Invalid device" &&
           tl::release.packagesDir == "/packages/" &&
           tl::devel.packagesDir == "/tmp/upmand/packages/" && kernelVersionNames[1] == "2.6";
}

struct StaticObject {
    StaticObject() : wasWhole(isWhole()) {}
    ~StaticObject()
    {
        if (!isWhole())
            ::_exit(2);
    }

    const bool wasWhole;
};

const StaticObject object;

}  // namespace

int main()
{
    return object.wasWhole ? 0 : 1;
}
