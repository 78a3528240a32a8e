#include <cstdio>

#include "tl/DeviceType.h"

// Prints on one line what the library says about this machine.
int main()
{
    const DeviceType_t type = tl::DeviceType::get();
    std::printf("type=%d id=%s uuid=%s kernel=%d\n", static_cast<int>(type),
                tl::DeviceType::toString(type).c_str(), tl::DeviceType::getUuid().c_str(),
                getKernelVersion());
}
