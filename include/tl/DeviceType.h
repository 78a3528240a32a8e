#pragma once

#include <boost/multi_index/hashed_index.hpp>
#include <boost/multi_index/identity.hpp>
#include <boost/multi_index/member.hpp>
#include <boost/multi_index/ordered_index.hpp>
#include <boost/multi_index_container.hpp>
#include <cstddef>
#include <functional>
#include <string>

#include "tl/Export.h"

/// \file
/// The catalogue of device types, and which of them the running device is.

/// The device types, in catalogue order.  A value is never reused or moved: append only.
enum DeviceType_t : int {
    DT_INVALID = 0,  ///< no valid type; also "not detected yet"
    DT_SN = 1,
    DT_MQ = 2,
    DT_AVX = 3,
    DT_MHUB = 4,
    DT_IRX = 5,
    DT_MQ2 = 6,
    DT_KR200 = 7,
    DT_KR20V2 = 8,
    DT_KR20 = 9,
    DT_KR30V2 = 10,
    DT_PR30V2 = 11,
    DT_KR30 = 12,
    DT_PR30 = 13,
    DT_KR50 = 14,
    DT_KR100 = 15,
    DT_TQ = 16,
    DT_WQ = 17,
    DT_TQ2 = 18,
    DT_W5 = 19,
    DT_W5P = 20,
    DT_OB20 = 21,
    DT_KR100V2 = 22,
    DT_PR100V2 = 23,
    DT_IOU = 24,
    DT_PIOU = 25,
    DT_R5 = 26,
    DT_R7 = 27,
    DT_BROOK6 = 28,
    DT_EK10 = 29,
    DT_PARTNER_AVR = 30,
    DT_DEVTAB1 = 31,
    DT_DSXIN = 32,
    DT_DSX = 33,
    DT_GX7P = 34,
    DT_GX7 = 35,
    DT_KR80 = 36,
    DT_KR25 = 37,
};

/// The names of the kernel version classes: element i names the result i of getKernelVersion().
///
/// Every source file that includes this header has its own copy, constructed at load, before
/// objects without a priority, and destroyed at unload.
[[maybe_unused, gnu::init_priority(1000)]] static const std::string kernelVersionNames[] = {
    "<error>", "2.6", "2.4"};

/// The class of the running kernel, from the release that uname(2) reports.
///
/// \returns 1 for a 2.6 kernel and, on purpose, for a 3.x kernel; 2 for a 2.4 kernel; 0 for any
///          other, including 4.x and later, and when uname(2) fails.
TL_EXPORT int getKernelVersion();

/// The hash of a device type is its value.
struct dte_hash {
    /// The enumerator's value.
    std::size_t operator()(DeviceType_t type) const { return static_cast<std::size_t>(type); }
};

/// The library's classes.  Free helper functions and TlTimer are at global scope.
namespace tl {

using ::dte_hash;

/// One row of the catalogue: a device type and its names.
struct DeviceTypeEntry {
    /// Copies its arguments into the fields, in the same order.
    DeviceTypeEntry(DeviceType_t type, const std::string& id, const std::string& serverName,
                    const std::string& uuid, const std::string& uuidFile)
        : type_(type), id_(id), serverName_(serverName), uuid_(uuid), uuidFile_(uuidFile)
    {
    }
    /// Copies all five fields.  Moving a row copies it, too.
    DeviceTypeEntry(const DeviceTypeEntry&) = default;
    ~DeviceTypeEntry() = default;

    /// By type, compared as signed integers.
    bool operator<(const DeviceTypeEntry& other) const { return type_ < other.type_; }

    const DeviceType_t type_;  ///< the device type
    const std::string id_;     ///< short id, searched for in kernel strings and host names
    std::string serverName_;   ///< display name
    std::string uuid_;         ///< identifier prefix: empty, or ends in '-'
    std::string uuidFile_;     ///< file whose first line replaces an empty uuid_; usually ""
};

/// The catalogue's container.
///
///     index 0   hashed, by type_            toString, toServerName, toUuid
///     index 1   ordered, by the row itself  keeps rows of the same type out
///     index 2   ordered, by id_             toEnum
using DeviceTypeContainer = boost::multi_index_container<
    DeviceTypeEntry,
    boost::multi_index::indexed_by<
        boost::multi_index::hashed_unique<
            boost::multi_index::member<DeviceTypeEntry, const DeviceType_t,
                                       &DeviceTypeEntry::type_>,
            dte_hash, std::equal_to<DeviceType_t>>,
        boost::multi_index::ordered_unique<boost::multi_index::identity<DeviceTypeEntry>,
                                           std::less<DeviceTypeEntry>>,
        boost::multi_index::ordered_unique<boost::multi_index::member<
            DeviceTypeEntry, const std::string, &DeviceTypeEntry::id_>>>>;

}  // namespace tl

using tl::DeviceTypeContainer;

namespace tl {

/// Which device is this, and what is it called?
///
///     const DeviceType_t type = tl::DeviceType::get();     // DT_KR20V2
///     tl::DeviceType::toString(type);                      // "kr20v2"
///     tl::DeviceType::toServerName(type);                  // "Home Controller KR20v2"
///     tl::DeviceType::toUuid(type);                        // "tl:tollan_kr20v2_homecontroller-"
///
/// Every device type has a short id, a display name and an identifier prefix, with which the
/// identifiers that it announces begin.  DeviceType translates between them and detects the type of
/// the running device.
///
/// **Failures.**  Look-ups never fail and throw nothing but std::bad_alloc.  For an unknown type,
/// value or id they return:
///
///     toString, unknown type       "Invalid device"
///     toServerName, unknown type   "<error>"
///     toUuid, unknown type         ""
///     toEnum, find, get            DT_INVALID
///
/// **Ownership.**  The strings returned belong to the catalogue and live as long as the library.
///
/// **Threads.**  Look-ups may run on any thread.  get(), getUuid() and toUuid() write a cache
/// without a lock: call them once before threads share them.
class TL_EXPORT DeviceType {
public:
    /// Fills the catalogue; no type is detected yet.  The library makes the one object that the
    /// static operations use.
    DeviceType();
    virtual ~DeviceType();
    DeviceType(const DeviceType&) = delete;
    DeviceType& operator=(const DeviceType&) = delete;

    /// The one object, instance_.
    static DeviceType& instance();

    /// The short id of `type`; #INVALID_DEV_STR for a type that has no row.
    static const std::string& toString(DeviceType_t type);

    /// The display name of `type`; #ERROR_SERVER_NAME for a type that has no row.
    static const std::string& toServerName(DeviceType_t type);

    /// The identifier prefix of `type`; #EMPTY_UUID for a type that has no row.
    ///
    /// "" for a type that announces none.  The partner receiver's is the first line of
    /// "/etc/device-searchtype" with "-" appended: every call reads that file until one finds a
    /// line, and returns "" until then.
    static const std::string& toUuid(DeviceType_t type);

    /// The type whose id is `id`: the whole string, in the same case.
    static DeviceType_t toEnum(const std::string& id);

    /// The type whose id occurs in `text`.
    ///
    /// The longest id wins, so "kr20v2" is not mistaken for "kr20"; among ids of equal length, the
    /// first in byte order.
    static DeviceType_t find(const std::string& text);

    /// The running device's type.
    ///
    /// Asks uname(2), searches the kernel's build string, then its release, then the host name, and
    /// takes the first of the three in which an id occurs.  The result is logged through syslog(3)
    /// at `LOG_NOTICE` as "Device is %s" with the display name.  A success is kept for good; after
    /// a failure every call searches again and logs "Device is <error>" again.
    static DeviceType_t get();

    /// The running device's identifier prefix: toUuid() of get().
    static const std::string& getUuid();

    /// The first line of the file `path` with "-" appended, nothing trimmed; "" when the file is
    /// missing, unreadable, a directory or empty.  Blocks where reading `path` blocks.
    static std::string readUuidFromFile(const std::string& path);

    /// Empties the catalogue and fills it again; an identifier prefix read from a file is
    /// forgotten.  Invalidates every string returned so far: only the constructor calls it.
    void initializeDeviceTypes();

    /// The one object, constructed at load; use the static operations instead.
    static DeviceType instance_;

    static const std::string INVALID_DEV_STR;    ///< "Invalid device"
    static const std::string ERROR_SERVER_NAME;  ///< "<error>"
    static const std::string EMPTY_UUID;         ///< ""

private:
    DeviceTypeContainer catalogue_;
    DeviceType_t deviceType_;  // what get() found; DT_INVALID: not detected yet
};

}  // namespace tl
