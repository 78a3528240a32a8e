#pragma once

#include <string>
#include <vector>

#include "goldens.h"
#include "table.h"
#include "tl/DeviceType.h"

/// A device type from the second copy of the catalogue.
struct DeviceTypeRow {
    DeviceType_t type;
    std::string name;  // of the enumerator
    std::string id;
    std::string serverName;
    std::string uuid;
    std::string uuidFile;
};

/// Every device type, DT_INVALID first, in the order of the enumeration.  Tests that need all types
/// or their number use this list.
inline const std::vector<DeviceTypeRow>& deviceTypes()
{
    static const std::vector<DeviceTypeRow> types = [] {
        std::vector<DeviceTypeRow> rows;
        for (const auto& row : rowsOf(golden::catalogue))
            rows.push_back({static_cast<DeviceType_t>(std::stoi(row.at(0))), row.at(1),
                            unquoted(row.at(2)), unquoted(row.at(3)), unquoted(row.at(4)),
                            unquoted(row.at(5))});
        return rows;
    }();
    return types;
}

inline std::string enumeratorOf(DeviceType_t type)
{
    for (const DeviceTypeRow& row : deviceTypes())
        if (row.type == type)
            return row.name;
    return "?";
}

/// Whether the second copy of the properties has a record of `type`.
inline bool hasRecord(DeviceType_t type)
{
    static const TableRows records = rowsOf(golden::properties);
    for (const auto& row : records)
        if (row.at(0) == enumeratorOf(type))
            return true;
    return false;
}
