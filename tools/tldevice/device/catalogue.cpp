#include "device/catalogue.h"

#include "device/identifierFile.h"
#include "src/device/catalogue.h"

namespace tool {

// Uses the library's table, because toUuid() would read this machine's file.
bool hasPrefixInAFile(DeviceType_t type)
{
    for (const CatalogueRow& row : CATALOGUE)
        if (row.type_ == type)
            return row.uuidFile_[0] != '\0';
    return false;
}

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
    if (hasPrefixInAFile(type) && (!ofThisDevice || !readIdentifierFile().isSafe()))
        return tl::DeviceType::EMPTY_UUID;
    return tl::DeviceType::toUuid(type);
}

}  // namespace tool
