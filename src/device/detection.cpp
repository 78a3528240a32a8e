#include <sys/utsname.h>
#include <syslog.h>

#include <fstream>

#include "detectionRules.h"
#include "tl/DeviceType.h"

namespace tl {

DeviceType_t DeviceType::get()
{
    DeviceType_t& type = instance_.deviceType_;
    if (type != DT_INVALID)
        return type;

    utsname kernel;
    if (::uname(&kernel) == 0) {
        for (const char* text :
             inSearchOrder<const char*>(kernel.version, kernel.release, kernel.nodename)) {
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
        // By default the stream swallows std::bad_alloc.  With badbit armed it rethrows it, and
        // throws std::ios_base::failure for a read error, for example on a directory.
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
    return ::uname(&kernel) == 0 ? tl::kernelClassOf(kernel.release) : 0;
}
