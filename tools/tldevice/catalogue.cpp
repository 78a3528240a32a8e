#include "catalogue.h"

#include "Failure.h"
#include "bytes.h"

namespace tool {

std::vector<DeviceType_t> deviceTypes()
{
    std::vector<DeviceType_t> types;
    for (int value = DT_INVALID + 1;; ++value) {
        const auto type = static_cast<DeviceType_t>(value);
        if (tl::DeviceType::toString(type) == tl::DeviceType::INVALID_DEV_STR)
            return types;
        types.push_back(type);
    }
}

std::string identifierPrefix(DeviceType_t type, bool ofThisDevice)
{
    if (type == DT_PARTNER_AVR && !ofThisDevice)
        return tl::DeviceType::EMPTY_UUID;
    return tl::DeviceType::toUuid(type);
}

DeviceType_t typeOfId(const std::string& id)
{
    const DeviceType_t type = tl::DeviceType::toEnum(id);
    if (type == DT_INVALID)
        throw Failure{EXIT_NO, "not_found",
                      "there is no device type '" + escaped(id) + "'; 'tldevice types' lists them"};
    return type;
}

}  // namespace tool
