#include <fcntl.h>

#include "message.h"
#include "tl/Utilities.h"

namespace {

// The macros of fd_set write outside of it for any other descriptor.
bool fitsFdSet(int fd)
{
    if (fd >= 0 && fd < FD_SETSIZE)
        return true;
    tl::printLine(tl::message({"fd ", tl::decimal(fd), " is outside of fdset"}));
    return false;
}

void setOrClear(bool wanted, int fd, fd_set& set)
{
    if (wanted)
        FD_SET(fd, &set);
    else
        FD_CLR(fd, &set);
}

}  // namespace

int addFDtoFDSET(int fd, int maxFd, fd_set* set)
{
    if (set == nullptr) {
        tl::printLine("fdset was NULL");
        return maxFd;
    }
    if (!fitsFdSet(fd))
        return maxFd;

    FD_SET(fd, set);
    return maxFd > fd ? maxFd : fd + 1;
}

void AddSocketToFDSets(std::set<int>& sockets, bool read, bool write, bool except, int fd,
                       fd_set& readSet, fd_set& writeSet, fd_set& exceptSet)
{
    if (fd == -1 || !fitsFdSet(fd))
        return;

    sockets.insert(fd);
    setOrClear(read, fd, readSet);
    setOrClear(write, fd, writeSet);
    setOrClear(except, fd, exceptSet);
}

void RemoveSocketFromFDSets(std::set<int>& sockets, int fd, fd_set& readSet, fd_set& writeSet,
                            fd_set& exceptSet)
{
    const auto socket = sockets.find(fd);
    if (socket == sockets.end() || !fitsFdSet(fd))
        return;

    sockets.erase(socket);
    FD_CLR(fd, &readSet);
    FD_CLR(fd, &writeSet);
    FD_CLR(fd, &exceptSet);
}

int set_cloexec_flag(int fd, int value)
{
    const int flags = ::fcntl(fd, F_GETFD, 0);
    if (flags < 0)
        return flags;
    return ::fcntl(fd, F_SETFD, value != 0 ? flags | FD_CLOEXEC : flags & ~FD_CLOEXEC);
}
