#include "health/space.h"

#include <sys/statvfs.h>
#include <unistd.h>

#include <cerrno>

#include "system/output.h"

namespace tool {

namespace {

constexpr unsigned long long MIB = 1048576;
constexpr unsigned long long LEAST_BYTES = 4 * MIB;
constexpr unsigned int LEAST_PERCENT = 5;

// Blocks are counted without a sign, but not on every processor.
template <class Count>
unsigned long long number(Count count)
{
    return static_cast<unsigned long long>(count);
}

bool isScarce(unsigned long long left, unsigned long long all)
{
    return left < all / 100 * LEAST_PERCENT;
}

std::string sizeInWords(unsigned long long bytes)
{
    return bytes < 10 * MIB ? std::to_string(bytes / 1024) + " KiB"
                            : std::to_string(bytes / MIB) + " MiB";
}

}  // namespace

Space spaceOf(const std::string& path)
{
    struct statvfs is;
    if (::statvfs(path.c_str(), &is) != 0)
        return {errno, 0, 0, 0, 0};
    const bool root = ::geteuid() == 0;  // some blocks are reserved for root
    const auto block = number(is.f_frsize != 0 ? is.f_frsize : is.f_bsize);
    return {0, number(is.f_blocks) * block, number(root ? is.f_bfree : is.f_bavail) * block,
            number(is.f_files), number(root ? is.f_ffree : is.f_favail)};
}

Remark spaceIn(const std::string& path)
{
    const Space space = spaceOf(path);
    const std::string left = sizeInWords(space.freeBytes_) + " of " + sizeInWords(space.bytes_);
    const char* const makeRoom = "free some space: df -h and du -xd1 show what uses it";
    const char* const makeInodes =
        "delete small files that are not needed: df -i shows the file system";
    if (space.error_ != 0)
        return {Level::CANNOT_TELL,
                "cannot determine the free space in " + path + ": " + reason(space.error_),
                "check the file system"};
    if (space.bytes_ == 0)  // ramfs, the root file system in an initramfs
        return {Level::OK, path + " is writable; its file system does not count space"};
    if (space.freeBytes_ == 0)
        return {Level::FAIL, path + " is full", makeRoom};
    if (space.inodes_ != 0 && space.freeInodes_ == 0)
        return {Level::FAIL, path + " can hold no more files: no free inodes", makeInodes};
    if (space.freeBytes_ < LEAST_BYTES || isScarce(space.freeBytes_, space.bytes_))
        return {Level::WARN, path + " is nearly full: " + left + " free", makeRoom};
    if (isScarce(space.freeInodes_, space.inodes_))
        return {Level::WARN,
                path + " can hold few more files: " + std::to_string(space.freeInodes_) + " of " +
                    std::to_string(space.inodes_) + " inodes free",
                makeInodes};
    return {Level::OK, path + " is writable, " + left + " free"};
}

}  // namespace tool
