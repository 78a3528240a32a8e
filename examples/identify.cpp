// Which device is this, and which packages are meant for it?

#include <tl/DeviceProperties.h>
#include <tl/DeviceType.h>

#include <iostream>

int main()
{
    const DeviceType_t type = tl::DeviceType::get();
    if (type == DT_INVALID) {
        std::cerr << "identify: no device id in the kernel's strings or in the host name\n";
        return 3;
    }
    std::cout << "id:       " << tl::DeviceType::toString(type) << '\n'
              << "name:     " << tl::DeviceType::toServerName(type) << '\n'
              << "prefix:   " << tl::DeviceType::toUuid(type) << '\n';

    // Not every device type has a record, so check the pointer.
    const tl::DeviceProperties* properties = tl::DevicePropertiesMap::instance().get(type);
    if (properties != nullptr)
        std::cout << "platform: " << properties->platform_ << '\n'
                  << "packages: " << properties->packageDir_ << '\n';
}
