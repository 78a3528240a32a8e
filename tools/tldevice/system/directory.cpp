#include "system/directory.h"

#include <dirent.h>
#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <memory>

#include "system/Descriptor.h"

namespace tool {

namespace {

Names namesOf(Descriptor directory)
{
    const std::unique_ptr<DIR, int (*)(DIR*)> entries(
        directory.isOpen() ? ::fdopendir(directory.get()) : nullptr, ::closedir);
    Names names{{}, errno};
    if (entries == nullptr)
        return names;
    (void)directory.release();  // closedir() closes it

    errno = 0;
    while (const dirent* entry = ::readdir(entries.get())) {
        const std::string name = entry->d_name;
        if (name != "." && name != "..")
            names.all_.push_back(name);
        errno = 0;
    }
    names.error_ = errno;
    std::sort(names.all_.begin(), names.all_.end());
    return names;
}

}  // namespace

Names namesIn(const std::string& path)
{
    return namesOf(Descriptor(::open(path.c_str(), AS_DIRECTORY)));
}

Names namesIn(int directory)
{
    return namesOf(Descriptor(::openat(directory, ".", AS_DIRECTORY | O_NOFOLLOW)));
}

}  // namespace tool
