#include "system/OrdinaryFile.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>

namespace tool {

namespace {

OrdinaryFile::State whyNotOpen(const std::string& path, int error)
{
    struct stat found;
    if (error == ENXIO)  // a socket
        return OrdinaryFile::NOT_A_FILE;
    if (error == ENOENT)
        return ::lstat(path.c_str(), &found) == 0 ? OrdinaryFile::DANGLING : OrdinaryFile::MISSING;
    return error == ELOOP ? OrdinaryFile::DANGLING : OrdinaryFile::CLOSED;
}

bool isOrdinary(const std::string& path)
{
    struct stat found;
    return ::stat(path.c_str(), &found) != 0 || S_ISREG(found.st_mode);
}

}  // namespace

// Checks before opening, because opening a device can have side effects, and again afterwards,
// because the file may have been replaced in between.
OrdinaryFile::OrdinaryFile(const std::string& path)
{
    if (!isOrdinary(path)) {
        state_ = NOT_A_FILE;
        return;
    }
    file_ = Descriptor(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    struct stat found;
    if (!file_.isOpen()) {
        error_ = errno;
        state_ = whyNotOpen(path, error_);
    } else if (::fstat(file_.get(), &found) != 0 || !S_ISREG(found.st_mode)) {
        state_ = NOT_A_FILE;
    }
}

std::string OrdinaryFile::read(std::size_t most)
{
    std::string text;
    char piece[512];
    while (state_ == READABLE && text.size() < most) {
        const ssize_t count =
            ::read(file_.get(), piece, std::min(sizeof piece, most - text.size()));
        if (count == 0)
            break;
        if (count < 0) {
            error_ = errno;
            state_ = CLOSED;
        } else {
            text.append(piece, static_cast<std::size_t>(count));
        }
    }
    return text;
}

}  // namespace tool
