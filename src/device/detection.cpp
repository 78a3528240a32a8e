#include <sys/utsname.h>
#include <syslog.h>

#include <fstream>
#include <string_view>

#include "tl/DeviceType.h"

namespace {

bool beginsWith(std::string_view text, std::string_view prefix)
{
    return text.substr(0, prefix.size()) == prefix;
}

}  // namespace

namespace tl {

DeviceType_t DeviceType::get()
{
    DeviceType_t& type = instance_.deviceType_;
    if (type != DT_INVALID)
        return type;

    utsname kernel;
    if (::uname(&kernel) == 0) {
        for (const char* text : {kernel.version, kernel.release, kernel.nodename}) {
            type = find(text);
            if (type != DT_INVALID)
                break;
        }
    }

    ::syslog(LOG_NOTICE, "Device is %s", toServerName(type).c_str());
    return type;
}

const std::string& DeviceType::getUuid()
{
    return toUuid(get());
}

std::string DeviceType::readUuidFromFile(const std::string& path)
{
    std::ifstream file(path);
    std::string line;
    try {
        // With badbit armed the stream hands on std::bad_alloc, which it would swallow, and reports
        // a read error, a directory's say, as an exception of its own.
        file.exceptions(std::ios::badbit);
        if (std::getline(file, line))
            return line + "-";
    } catch (const std::ios_base::failure&) {
    }
    return EMPTY_UUID;
}

}  // namespace tl

int getKernelVersion()
{
    utsname kernel;
    if (::uname(&kernel) != 0)
        return 0;

    const std::string_view release = kernel.release;
    if (beginsWith(release, "2.6"))
        return 1;
    if (beginsWith(release, "3."))
        return 1;  // a 3.x kernel counts as a 2.6 kernel, on purpose
    if (beginsWith(release, "2.4"))
        return 2;
    return 0;
}
