#include <cstdio>

#include "tl/DeviceType.h"

// What the library makes of the machine that this runs on, on one line.
int main()
{
    const DeviceType_t type = tl::DeviceType::get();
    std::printf("type=%d id=%s uuid=%s kernel=%d\n", static_cast<int>(type),
                tl::DeviceType::toString(type).c_str(), tl::DeviceType::getUuid().c_str(),
                getKernelVersion());
}
