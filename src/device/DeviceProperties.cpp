#include "tl/DeviceProperties.h"

#include <syslog.h>
#include <unistd.h>

#include "message.h"
#include "tl/Facade.h"
#include "tlshared/LogX.h"

namespace {

constexpr const char* NO_HOSTNAME = "error_no_hostname";

}  // namespace

namespace tl {

DeviceProperties::DeviceProperties(DeviceType_t type, const std::string& codeName,
                                   const std::string& updateManagerName,
                                   const std::string& platform, bool flag1,
                                   const std::string& packageDir, bool flag2, bool flag3,
                                   const std::string& logDirScript, bool flag4, bool flag5,
                                   bool flag6)
    : type_(type),
      codeName_(codeName),
      flag1_(flag1),
      updateManagerName_(updateManagerName),
      platform_(platform),
      packageDir_(packageDir),
      flag2_(flag2),
      flag3_(flag3),
      logDirScript_(logDirScript),
      flag4_(flag4),
      flag5_(flag5),
      flag6_(flag6)
{
}

DeviceProperties::DeviceProperties()
    : DeviceProperties(DT_INVALID, "Unknown", "Unknown", "all", false,
                       Facade::instance().tollanDir(), false, false, "", false, false, false)
{
}

bool DeviceProperties::isPlatformMatch(const std::string& platform) const
{
    return platform == platform_;
}

bool DeviceProperties::isUpdateManagerMatch(const std::string& name) const
{
    return name == updateManagerName_;
}

const std::string& DeviceProperties::hostname() const
{
    if (!hostname_.empty() && hostname_ != NO_HOSTNAME)
        return hostname_;

    char buffer[256 + 1] = {};  // one spare byte: gethostname() need not terminate a long name
    if (::gethostname(buffer, sizeof buffer - 1) != 0) {
        LogXMessage(LOG_ERR,
                    std::string("Unable to get hostname from system.  Sending error string."));
        hostname_ = NO_HOSTNAME;
        return hostname_;
    }

    hostname_ = buffer;
    return hostname_;
}

const DeviceProperties* DevicePropertiesMap::get(DeviceType_t type) const
{
    const auto record = properties_.find(type);
    if (record == properties_.end()) {
        LogXMessage(LOG_ERR, message({"Could not find deviceType = ", decimal(type)}));
        return nullptr;
    }
    return &record->second;
}

}  // namespace tl
