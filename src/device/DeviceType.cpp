#include "tl/DeviceType.h"

#include <array>
#include <string_view>

#include "builtEarly.h"
#include "catalogue.h"

namespace tl {

// The strings come first: they are constructed before instance_ and destroyed after it.
TL_BUILT_EARLY const std::string DeviceType::INVALID_DEV_STR = CATALOGUE[DT_INVALID].id_;
TL_BUILT_EARLY const std::string DeviceType::ERROR_SERVER_NAME = CATALOGUE[DT_INVALID].serverName_;
TL_BUILT_EARLY const std::string DeviceType::EMPTY_UUID = NO_PREFIX;
TL_BUILT_EARLY DeviceType DeviceType::instance_;

namespace {

constexpr int BY_TYPE = 0;
constexpr int BY_ID = 2;

// The number of a pair of neighbouring characters, made of their low five bits.  Some pairs share
// a number.
constexpr std::size_t pairOf(const char* at)
{
    const auto lowBits = [](char c) { return static_cast<unsigned char>(c) % 32U; };
    return 32 * lowBits(at[0]) + lowBits(at[1]);
}

// Orders as std::string does.  Most ids differ in their first character, which saves a memcmp(3).
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

// The ids in ascending order, for find().  It tries all of them, and an array is faster to walk
// than the scattered nodes of an index.
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
    // Rows before buckets.  The container's destructor would do the same.
    catalogue_.clear();
}

DeviceType& DeviceType::instance()
{
    return instance_;
}

void DeviceType::initializeDeviceTypes()
{
    // Filled aside and swapped in: if memory runs out half-way, the catalogue keeps its rows.
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

// Tries every row in ascending order of id; a later id must be longer to win.  The row of
// DT_INVALID takes part like any other, so a text with its long id in it yields DT_INVALID.  An id
// is only searched for if its first two characters occur in the text side by side.
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
