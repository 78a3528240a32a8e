#include "tl/DeviceType.h"

#include "catalogue.h"

namespace tl {

// The strings come first: they are built before the one object and destroyed after it.
const std::string DeviceType::INVALID_DEV_STR = CATALOGUE[DT_INVALID].id_;
const std::string DeviceType::ERROR_SERVER_NAME = CATALOGUE[DT_INVALID].serverName_;
const std::string DeviceType::EMPTY_UUID = NO_PREFIX;
DeviceType DeviceType::instance_;

namespace {

constexpr int BY_TYPE = 0;
constexpr int BY_ID = 2;

}  // namespace

DeviceType::DeviceType() : deviceType_(DT_INVALID)
{
    initializeDeviceTypes();
}

DeviceType::~DeviceType()
{
    catalogue_.clear();
}

DeviceType& DeviceType::instance()
{
    return instance_;
}

void DeviceType::initializeDeviceTypes()
{
    catalogue_.clear();
    for (const CatalogueRow& row : CATALOGUE)
        catalogue_.emplace(row.type_, row.id_, row.serverName_, row.uuid_, row.uuidFile_);
}

const std::string& DeviceType::toString(DeviceType_t type)
{
    const auto& rows = instance_.catalogue_.get<BY_TYPE>();
    const auto row = rows.find(type);
    return row == rows.end() ? INVALID_DEV_STR : row->id_;
}

const std::string& DeviceType::toServerName(DeviceType_t type)
{
    const auto& rows = instance_.catalogue_.get<BY_TYPE>();
    const auto row = rows.find(type);
    return row == rows.end() ? ERROR_SERVER_NAME : row->serverName_;
}

const std::string& DeviceType::toUuid(DeviceType_t type)
{
    auto& rows = instance_.catalogue_.get<BY_TYPE>();
    const auto row = rows.find(type);
    if (row == rows.end())
        return EMPTY_UUID;

    if (row->uuid_.empty() && !row->uuidFile_.empty()) {
        std::string prefix = readUuidFromFile(row->uuidFile_);
        rows.modify(row, [&prefix](DeviceTypeEntry& entry) { entry.uuid_.swap(prefix); });
    }
    return row->uuid_;
}

DeviceType_t DeviceType::toEnum(const std::string& id)
{
    const auto& rows = instance_.catalogue_.get<BY_ID>();
    const auto row = rows.find(id);
    return row == rows.end() ? DT_INVALID : row->type_;
}

// Every row is looked at, in ascending order of id: a later one must be longer to win.  The row of
// DT_INVALID takes part like any other, so a text that holds its long id yields DT_INVALID.
DeviceType_t DeviceType::find(const std::string& text)
{
    DeviceType_t best = DT_INVALID;
    std::size_t bestLength = 0;
    for (const DeviceTypeEntry& row : instance_.catalogue_.get<BY_ID>()) {
        if (text.find(row.id_) != std::string::npos && row.id_.size() > bestLength) {
            best = row.type_;
            bestLength = row.id_.size();
        }
    }
    return best;
}

}  // namespace tl
