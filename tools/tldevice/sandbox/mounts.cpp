#include "sandbox/mounts.h"

#include <unistd.h>

#include <fstream>

namespace tool {

namespace {

// Undoes the octal escapes of the mount table: "\040" is a blank.
std::string unescapedMount(const std::string& field)
{
    std::string out;
    for (std::size_t i = 0; i < field.size(); ++i) {
        if (field[i] == '\\' && i + 3 < field.size()) {
            out += static_cast<char>((field[i + 1] - '0') * 64 + (field[i + 2] - '0') * 8 +
                                     (field[i + 3] - '0'));
            i += 3;
        } else {
            out += field[i];
        }
    }
    return out;
}

}  // namespace

std::string mountWithin(const Descriptor& root)
{
    char real[4096];
    const std::string link = "/proc/self/fd/" + std::to_string(root.get());
    const ssize_t length = ::readlink(link.c_str(), real, sizeof real);
    if (length <= 0)
        return "";
    const std::string path(real, static_cast<std::size_t>(length));

    std::ifstream mounts("/proc/self/mounts");
    std::string device;
    std::string point;
    std::string rest;
    while (mounts >> device >> point && std::getline(mounts, rest)) {
        std::string mounted = unescapedMount(point);
        if (mounted == path || mounted.rfind(path + "/", 0) == 0)
            return mounted;
    }
    return "";
}

}  // namespace tool
