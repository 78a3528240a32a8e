#pragma once

#include <map>
#include <string>

#include "tl/DeviceType.h"
#include "tl/Export.h"

/// \file
/// What the update manager knows about each device type.

namespace tl {

/// What the update manager knows about one device type.
///
/// A plain value.  The library fills in the fields, copies them and compares two of them.  The
/// flags, the directory and the script mean something only to the programs that link the library.
///
/// **Threads.**  Reading the fields is safe from any thread.  hostname() writes a cache without a
/// lock: one thread at a time while the cache is empty.
class TL_EXPORT DeviceProperties {
public:
    /// Stores each argument in the field of the same name.  The order of the arguments is not the
    /// order of the fields: `flag1` comes after the platform.
    DeviceProperties(DeviceType_t type, const std::string& codeName,
                     const std::string& updateManagerName, const std::string& platform, bool flag1,
                     const std::string& packageDir, bool flag2, bool flag3,
                     const std::string& logDirScript, bool flag4, bool flag5, bool flag6);

    /// The record of no device: type #DT_INVALID, both names "Unknown", platform "all", all flags
    /// false, the current Facade::tollanDir() as directory, no script.
    DeviceProperties();

    /// Whether `platform` equals platform_, byte for byte.  No value is special, not even "all".
    bool isPlatformMatch(const std::string& platform) const;

    /// Whether `name` equals updateManagerName_, byte for byte.
    bool isUpdateManagerMatch(const std::string& name) const;

    /// The device's host name, from gethostname(2).
    ///
    /// The first call asks the system and caches the answer in this record.  A failure is logged at
    /// level 3 and returns "error_no_hostname"; the next call tries again.
    ///
    /// \returns a reference to the cache, which lives as long as the record.
    const std::string& hostname() const;

    DeviceType_t type_;              ///< the type that this record describes
    std::string codeName_;           ///< the device's code name
    bool flag1_;                     ///< setting 1
    std::string updateManagerName_;  ///< the name under which the update manager knows the device
    std::string platform_;           ///< the word that package metadata is matched against
    std::string packageDir_;         ///< a directory, ending in "/"
    bool flag2_;                     ///< setting 2
    bool flag3_;                     ///< setting 3
    std::string logDirScript_;       ///< a "#!/bin/sh" script that makes the log directory
    bool flag4_;                     ///< setting 4
    bool flag5_;                     ///< setting 5
    bool flag6_;                     ///< setting 6
    mutable std::string hostname_;   ///< hostname()'s cache; starts empty, copied like any field
};

/// The records of the device types that the update manager supports.
///
///     const tl::DeviceProperties* properties = tl::DevicePropertiesMap::instance().get(type);
///     if (properties == nullptr)
///         return;                                      // logged already
///     if (properties->isPlatformMatch("quill")) ...
///
/// Built by the first call of instance(), from the layout that the Facade has at that moment; a
/// later Facade::debug() does not change the records.
///
/// **Threads.**  The first call of instance() is guarded; get() may be called from any thread.
class TL_EXPORT DevicePropertiesMap {
public:
    /// The process's map, constructed by the first call.
    static DevicePropertiesMap& instance();

    /// The record of `type`; owned by the map, valid for the life of the process.
    ///
    /// The commercial `DT_PR100V2` has the record of the home variant: its type_ is `DT_KR100V2`.
    ///
    /// \returns null for a type without a record, including #DT_INVALID and any value outside the
    ///          enumeration, after logging "Could not find deviceType = " with the number at
    ///          level 3.
    const DeviceProperties* get(DeviceType_t type) const;

    ~DevicePropertiesMap();
    DevicePropertiesMap(const DevicePropertiesMap&) = delete;
    DevicePropertiesMap& operator=(const DevicePropertiesMap&) = delete;

private:
    TL_HIDDEN DevicePropertiesMap();

    std::map<DeviceType_t, DeviceProperties> properties_;
};

}  // namespace tl
