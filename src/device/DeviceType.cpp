#include "tl/DeviceType.h"

#include <array>
#include <string_view>

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

// Two neighbouring characters, told apart by their low five bits: a few pairs look alike.
constexpr std::size_t pairOf(const char* at)
{
    const auto lowBits = [](char c) { return static_cast<unsigned char>(c) % 32U; };
    return 32 * lowBits(at[0]) + lowBits(at[1]);
}

// The order of std::string.  Most ids differ in the first character, which saves a memcmp(3).
struct ByFirstCharacter {
    bool operator()(const std::string& a, const std::string& b) const
    {
        const auto first = [](const std::string& s) { return static_cast<unsigned char>(s[0]); };
        return first(a) != first(b) ? first(a) < first(b) : a < b;
    }
};

struct Id {
    DeviceType_t type_;
    std::string_view text_;
    std::size_t firstPair_;
};

// What find() looks for, in ascending order of id.  It goes through all of them, and they lie side
// by side here, where the nodes of an index are scattered.
constexpr auto IDS = [] {
    std::array<Id, std::size(CATALOGUE)> ids{};
    std::size_t count = 0;
    for (const CatalogueRow& row : CATALOGUE) {
        std::size_t place = count++;
        for (; place > 0 && row.id_ < ids[place - 1].text_; --place)
            ids[place] = ids[place - 1];
        ids[place] = Id{row.type_, row.id_, pairOf(row.id_)};
    }
    return ids;
}();

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
    // Built aside, so that the rows there are stay when memory runs out half-way.
    DeviceTypeContainer rows;
    for (const CatalogueRow& row : CATALOGUE)
        rows.emplace(row.type_, row.id_, row.serverName_, row.uuid_, row.uuidFile_);
    catalogue_.swap(rows);
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
    const auto row = rows.find(id, ByFirstCharacter());
    return row == rows.end() ? DT_INVALID : row->type_;
}

// Every row is looked at, in ascending order of id: a later one must be longer to win.  The row of
// DT_INVALID takes part like any other, so a text that holds its long id yields DT_INVALID.  An id
// whose first two characters do not follow each other in the text need not be searched for.
DeviceType_t DeviceType::find(const std::string& text)
{
    bool occurs[32 * 32] = {};
    for (const char& c : text)
        occurs[pairOf(&c)] = true;  // the last pair ends in the terminating NUL

    DeviceType_t best = DT_INVALID;
    std::size_t bestLength = 0;
    for (const Id& id : IDS) {
        if (occurs[id.firstPair_] && id.text_.size() > bestLength &&
            text.find(id.text_) != std::string::npos) {
            best = id.type_;
            bestLength = id.text_.size();
        }
    }
    return best;
}

}  // namespace tl
