// Looking up the id of a type, and the type of an id.

#include <cstring>
#include <map>
#include <unordered_map>

#include "catalogue.h"
#include "columns.h"
#include "tl/DeviceType.h"

namespace {

const int TYPES = bench::numberOfTypes();

std::vector<int> types()
{
    std::vector<int> all;
    for (int i = 0; i < TYPES; ++i)  // from both ends in turn
        all.push_back(i % 2 == 0 ? i / 2 : TYPES - 1 - i / 2);
    return all;
}

std::vector<std::string> ids()
{
    std::vector<std::string> all;
    for (const int type : types())
        all.push_back(tl::DeviceType::toString(static_cast<DeviceType_t>(type)));
    return all;
}

std::unordered_map<int, std::string> idsByType()
{
    std::unordered_map<int, std::string> map;
    for (int type = 0; type < TYPES; ++type)
        map.emplace(type, tl::DeviceType::toString(static_cast<DeviceType_t>(type)));
    return map;
}

std::map<std::string, int> typesById()
{
    std::map<std::string, int> map;
    for (int type = 0; type < TYPES; ++type)
        map.emplace(tl::DeviceType::toString(static_cast<DeviceType_t>(type)), type);
    return map;
}

// The result of a miss is part of the answer, so both columns ask for it.
template <class Map, class Key, class Value>
const Value& valueOr(const Map& map, const Key& key, const Value& missing)
{
    const auto found = map.find(key);
    return found == map.end() ? missing : found->second;
}

const bool ASKED = [] {
    static const std::string MISSING = "Invalid device";
    static const int NONE = 0;

    bench::Question<int> byType("look-up-by-type", types());
    byType.column("tldevice", [](int type) -> const std::string& {
        return tl::DeviceType::toString(static_cast<DeviceType_t>(type));
    });
    static const auto idsOf = idsByType();
    byType.column("std::unordered_map",
                  [](int type) -> const std::string& { return valueOr(idsOf, type, MISSING); });
    static const std::vector<std::string> IDS = ids();
    byType.floor(
        [](int type) -> const std::string& { return IDS[static_cast<std::size_t>(type)]; });

    bench::Question<std::string> byId("look-up-by-id", ids());
    byId.column("tldevice",
                [](const std::string& id) { return static_cast<int>(tl::DeviceType::toEnum(id)); });
    static const auto typesOf = typesById();
    byId.column("std::map", [](const std::string& id) { return valueOr(typesOf, id, NONE); });
    // The id that was found must be compared once.
    byId.floor([](const std::string& id) {
        static const std::string SAME_LENGTH = "Invalid device";
        return std::memcmp(id.data(), SAME_LENGTH.data(), id.size());
    });
    return true;
}();

}  // namespace
