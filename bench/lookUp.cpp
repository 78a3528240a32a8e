// What is the id of a type, and the type of an id?

#include <map>
#include <unordered_map>

#include "columns.h"
#include "tl/DeviceType.h"

namespace {

constexpr int TYPES = DT_KR25 + 1;

std::vector<int> types()
{
    std::vector<int> all;
    for (int type = 0; type < TYPES; ++type)
        all.push_back(type * 7 % TYPES);
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

// What a miss gives is part of the answer, so both columns ask for it.
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

    bench::Question<std::string> byId("look-up-by-id", ids());
    byId.column("tldevice",
                [](const std::string& id) { return static_cast<int>(tl::DeviceType::toEnum(id)); });
    static const auto typesOf = typesById();
    byId.column("std::map", [](const std::string& id) { return valueOr(typesOf, id, NONE); });
    return true;
}();

}  // namespace
