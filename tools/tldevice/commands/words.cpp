#include "commands/words.h"

#include "device/catalogue.h"
#include "device/layout.h"
#include "device/records.h"

namespace tool {

namespace {

std::vector<std::string> deviceIds(const Command&)
{
    std::vector<std::string> ids;
    for (const DeviceType_t type : deviceTypes())
        ids.push_back(tl::DeviceType::toString(type));
    return ids;
}

std::vector<std::string> pathNames(const Command&)
{
    std::vector<std::string> names;
    for (const PathRow& row : pathRows())
        names.emplace_back(row.name_);
    return names;
}

std::vector<std::string> platforms(const Command&)
{
    return everyRecordsText(&tl::DeviceProperties::platform_);
}

std::vector<std::string> managers(const Command&)
{
    return everyRecordsText(&tl::DeviceProperties::updateManagerName_);
}

}  // namespace

// clang-format off
const Words DEVICE_TYPES { Words::Are::LISTED, deviceIds, "device type", "tldevice types" };
const Words PATH_NAMES   { Words::Are::LISTED, pathNames, "path",        "tldevice paths" };
const Words PLATFORMS    { Words::Are::LISTED, platforms, nullptr,       nullptr };
const Words MANAGERS     { Words::Are::LISTED, managers,  nullptr,       nullptr };
// clang-format on

}  // namespace tool
