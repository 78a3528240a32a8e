#pragma once

#include "deviceTypes.h"
#include "tl/DeviceProperties.h"

/// What a layout substitutes for the words of the table.
struct LayoutWords {
    std::string root;
    std::string packages;
    std::string linkScript;
    std::string directoryScript;
};

/// The second copy of a script, with the given path instead of that of the real layout.
inline std::string scriptFor(const char* script, const std::string& logLink)
{
    const std::string standing = "/var/log/upmanlogs";
    std::string text = script;
    for (auto at = text.find(standing); at != std::string::npos;
         at = text.find(standing, at + logLink.size()))
        text.replace(at, standing.size(), logLink);
    return text;
}

/// The properties table as the map returns it, in the order of its second copy.
inline std::string propertiesTable(const LayoutWords& words)
{
    const auto directory = [&](const std::string& path) {
        return path == words.root ? "root" : path == words.packages ? "packages" : quoted(path);
    };
    const auto script = [&](const std::string& text) {
        return text == words.linkScript ? "link" : text == words.directoryScript ? "mkdir" : text;
    };
    const auto flag = [](bool value) { return std::string(value ? "1" : "0"); };

    TableRows rows{{"key", "type", "codeName", "updateManager", "platform", "f1", "directory", "f2",
                    "f3", "script", "f4", "f5", "f6"}};
    for (const auto& row : rowsOf(golden::properties))
        for (const DeviceTypeRow& key : deviceTypes()) {
            if (row.at(0) != key.name)
                continue;
            const tl::DeviceProperties* record = tl::DevicePropertiesMap::instance().get(key.type);
            if (record == nullptr)
                continue;
            rows.push_back({key.name, enumeratorOf(record->type_), quoted(record->codeName_),
                            quoted(record->updateManagerName_), quoted(record->platform_),
                            flag(record->flag1_), directory(record->packageDir_),
                            flag(record->flag2_), flag(record->flag3_),
                            script(record->logDirScript_), flag(record->flag4_),
                            flag(record->flag5_), flag(record->flag6_)});
        }
    return asText(rows);
}
