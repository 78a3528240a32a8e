#pragma once

#include <map>
#include <string>

#include "tl/DeviceType.h"
#include "tl/Export.h"

namespace tl {

/// What the update manager knows of one device type.
///
/// A plain value.  The library fills the fields, copies them and compares two of them; the flags,
/// the directory and the script are read and given their effect by the programs that link it.
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

    /// A record of no device: type #DT_INVALID, both names "Unknown", platform "all", every flag
    /// false, the directory Facade::tollanDir() as it is now, no script.
    DeviceProperties();

    /// Whether `platform` is platform_: the same bytes.  No value is special, "all" neither.
    bool isPlatformMatch(const std::string& platform) const;

    /// Whether `name` is updateManagerName_: the same bytes.
    bool isUpdateManagerMatch(const std::string& name) const;

    /// The device's host name, from gethostname(2).
    ///
    /// Asked for once and cached in this record.  A failure is logged at level 3 and answered with
    /// "error_no_hostname"; the next call asks again.  The reference is to the cache.
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

/// The records of the 35 device types that the update manager supports.
///
///     const tl::DeviceProperties* properties = tl::DevicePropertiesMap::instance().get(type);
///     if (properties == nullptr)
///         return;                                      // logged already
///     if (properties->isPlatformMatch("quill")) ...
///
/// Built by the first call of instance(), from the layout that the Facade has at that moment; a
/// later Facade::debug() does not reach the records.
///
/// **Threads.**  The first call of instance() is guarded; get() may be called from any thread.
class TL_EXPORT DevicePropertiesMap {
public:
    static DevicePropertiesMap& instance();

    /// The record of `type`; owned by the map, valid for the life of the process.
    ///
    /// The commercial #DT_PR100V2 is served as the home variant: its record's type_ is #DT_KR100V2.
    ///
    /// \returns null, and logs "Could not find deviceType = " with the number at level 3, for
    ///          #DT_INVALID, #DT_IRX, #DT_PIOU and any value outside the enumeration.
    const DeviceProperties* get(DeviceType_t type) const;

    ~DevicePropertiesMap();
    DevicePropertiesMap(const DevicePropertiesMap&) = delete;
    DevicePropertiesMap& operator=(const DevicePropertiesMap&) = delete;

private:
    TL_HIDDEN DevicePropertiesMap();

    std::map<DeviceType_t, DeviceProperties> properties_;
};

}  // namespace tl
