#include <fcntl.h>

#include "message.h"
#include "tl/Utilities.h"

namespace {

// For FD_SET() and FD_CLR(): some C libraries divide the descriptor by an unsigned number, so an
// int would cause a warning.
unsigned int bitOf(int fd)
{
    return static_cast<unsigned int>(fd);
}

// With any other descriptor, FD_SET() and FD_CLR() write outside the fd_set.
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
        FD_SET(bitOf(fd), &set);
    else
        FD_CLR(bitOf(fd), &set);
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

    FD_SET(bitOf(fd), set);
    return maxFd > fd ? maxFd : fd + 1;
}

void AddSocketToFDSets(std::set<int>& sockets, bool read, bool write, bool except, int fd,
                       fd_set& readSet, fd_set& writeSet, fd_set& exceptSet)
{
    if (fd == -1)
        return;

    const bool hasBits = fitsFdSet(fd);
    sockets.insert(fd);
    if (!hasBits)
        return;
    setOrClear(read, fd, readSet);
    setOrClear(write, fd, writeSet);
    setOrClear(except, fd, exceptSet);
}

void RemoveSocketFromFDSets(std::set<int>& sockets, int fd, fd_set& readSet, fd_set& writeSet,
                            fd_set& exceptSet)
{
    const auto socket = sockets.find(fd);
    if (socket == sockets.end())
        return;

    const bool hasBits = fitsFdSet(fd);
    sockets.erase(socket);
    if (!hasBits)
        return;
    FD_CLR(bitOf(fd), &readSet);
    FD_CLR(bitOf(fd), &writeSet);
    FD_CLR(bitOf(fd), &exceptSet);
}

int set_cloexec_flag(int fd, int value)
{
    const int flags = ::fcntl(fd, F_GETFD, 0);
    if (flags < 0)
        return flags;
    return ::fcntl(fd, F_SETFD, value != 0 ? flags | FD_CLOEXEC : flags & ~FD_CLOEXEC);
}
