#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/select.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstring>
#include <iostream>
#include <set>
#include <tuple>
#include <vector>

#include "CapturedStream.h"
#include "hooks.h"
#include "tl/Utilities.h"

namespace {

using Sockets = std::set<int>;

/// An fd_set between guard areas: for a descriptor that does not fit, the macros write outside of
/// it.
struct Walled {
    unsigned char before[64];
    fd_set set;
    unsigned char behind[64];

    explicit Walled(unsigned char content)
    {
        std::memset(before, content, sizeof before);
        std::memset(&set, content, sizeof set);
        std::memset(behind, content, sizeof behind);
    }

    friend bool operator==(const Walled& a, const Walled& b)
    {
        return std::memcmp(a.before, b.before, sizeof a.before) == 0 &&
               std::memcmp(&a.set, &b.set, sizeof a.set) == 0 &&
               std::memcmp(a.behind, b.behind, sizeof a.behind) == 0;
    }
};

Sockets membersOf(const fd_set& set)
{
    Sockets members;
    for (unsigned fd = 0; fd < FD_SETSIZE; ++fd)  // musl divides by an unsigned number
        if (FD_ISSET(fd, &set))
            members.insert(static_cast<int>(fd));
    return members;
}

constexpr int OUTSIDE[] = {INT_MIN, -2, FD_SETSIZE, FD_SETSIZE + 1, INT_MAX};

std::string outsideText(int fd)
{
    return "fd " + std::to_string(fd) + " is outside of fdset\n";
}

class DescriptorSets : public ::testing::Test {
protected:
    DescriptorSets()
    {
        FD_ZERO(&read);
        FD_ZERO(&write);
        FD_ZERO(&except);
    }
    void addSocket(bool toRead, bool toWrite, bool toExcept, int fd)
    {
        AddSocketToFDSets(sockets, toRead, toWrite, toExcept, fd, read, write, except);
    }
    void removeSocket(int fd) { RemoveSocketFromFDSets(sockets, fd, read, write, except); }

    CapturedStream output{std::cout};
    Sockets sockets;
    fd_set read;
    fd_set write;
    fd_set except;
};

using AddFdToFdSet = DescriptorSets;
using AddSocket = DescriptorSets;
using RemoveSocket = DescriptorSets;

}  // namespace

TEST_F(AddFdToFdSet, SetsTheBitAndReturnsTheBoundForSelect)
{
    EXPECT_EQ(6, addFDtoFDSET(5, 3, &read));
    EXPECT_EQ(9, addFDtoFDSET(7, 9, &read));
    EXPECT_EQ(10, addFDtoFDSET(9, 9, &read));
    EXPECT_EQ(1, addFDtoFDSET(0, -1, &read));
    EXPECT_EQ(2, addFDtoFDSET(1, INT_MIN, &read));
    EXPECT_EQ(INT_MAX, addFDtoFDSET(1, INT_MAX, &read));

    EXPECT_EQ((Sockets{0, 1, 5, 7, 9}), membersOf(read));
    EXPECT_EQ("", output.text());
}

TEST_F(AddFdToFdSet, TakesTheLastDescriptorThatFits)
{
    EXPECT_EQ(FD_SETSIZE, addFDtoFDSET(FD_SETSIZE - 1, 0, &read));

    EXPECT_EQ(Sockets{FD_SETSIZE - 1}, membersOf(read));
}

TEST_F(AddFdToFdSet, SaysThatTheSetIsNullAndReturnsTheBoundUnchanged)
{
    EXPECT_EQ(3, addFDtoFDSET(5, 3, nullptr));
    EXPECT_EQ("fdset was NULL\n", output.text());

    EXPECT_EQ(-8, addFDtoFDSET(FD_SETSIZE, -8, nullptr));
    EXPECT_EQ("fdset was NULL\nfdset was NULL\n", output.text());
}

TEST_F(AddFdToFdSet, ChangesNothingForADescriptorOutsideOfTheSet)
{
    std::string expected;
    for (const int fd : {INT_MIN, -2, -1, FD_SETSIZE, FD_SETSIZE + 1, INT_MAX}) {
        Walled walled(0);
        EXPECT_EQ(17, addFDtoFDSET(fd, 17, &walled.set)) << fd;
        EXPECT_EQ(Walled(0), walled) << fd;
        expected += outsideText(fd);
        EXPECT_EQ(expected, output.text());
    }
}

TEST_F(AddSocket, PutsItIntoTheSetsWhoseFlagIsSet)
{
    for (int flags = 0; flags < 8; ++flags) {
        const bool toRead = (flags & 1) != 0;
        const bool toWrite = (flags & 2) != 0;
        const bool toExcept = (flags & 4) != 0;
        sockets.clear();
        FD_ZERO(&read);
        FD_ZERO(&write);
        FD_ZERO(&except);

        addSocket(toRead, toWrite, toExcept, 7);

        EXPECT_EQ(Sockets{7}, sockets);
        EXPECT_EQ(toRead ? Sockets{7} : Sockets{}, membersOf(read)) << flags;
        EXPECT_EQ(toWrite ? Sockets{7} : Sockets{}, membersOf(write)) << flags;
        EXPECT_EQ(toExcept ? Sockets{7} : Sockets{}, membersOf(except)) << flags;
    }
    EXPECT_EQ("", output.text());
}

TEST_F(AddSocket, WithdrawsInterestWhoseFlagIsNotSet)
{
    for (const int fd : {6, 7, 8})
        addSocket(true, true, true, fd);

    addSocket(true, false, false, 7);

    EXPECT_EQ((Sockets{6, 7, 8}), sockets);
    EXPECT_EQ((Sockets{6, 7, 8}), membersOf(read));
    EXPECT_EQ((Sockets{6, 8}), membersOf(write));
    EXPECT_EQ((Sockets{6, 8}), membersOf(except));
}

TEST_F(AddSocket, TakesTheFirstAndTheLastDescriptorThatFit)
{
    addSocket(true, true, true, 0);
    addSocket(true, true, true, FD_SETSIZE - 1);

    EXPECT_EQ((Sockets{0, FD_SETSIZE - 1}), sockets);
    EXPECT_EQ(sockets, membersOf(read));
    EXPECT_EQ(sockets, membersOf(write));
    EXPECT_EQ(sockets, membersOf(except));
}

TEST_F(AddSocket, IgnoresMinusOneSilently)
{
    Walled walls[3] = {Walled(0), Walled(0xFF), Walled(0)};

    AddSocketToFDSets(sockets, true, false, true, -1, walls[0].set, walls[1].set, walls[2].set);

    EXPECT_TRUE(sockets.empty());
    EXPECT_EQ(Walled(0), walls[0]);
    EXPECT_EQ(Walled(0xFF), walls[1]);
    EXPECT_EQ(Walled(0), walls[2]);
    EXPECT_EQ("", output.text());
}

TEST_F(AddSocket, LeavesTheSetsAloneForADescriptorOutsideOfThem)
{
    std::string expected;
    for (const int fd : OUTSIDE) {
        Walled walls[3] = {Walled(0), Walled(0xFF), Walled(0)};

        sockets = {3};
        AddSocketToFDSets(sockets, true, false, true, fd, walls[0].set, walls[1].set, walls[2].set);

        EXPECT_EQ((Sockets{3, fd}), sockets);
        EXPECT_EQ(Walled(0), walls[0]) << fd;
        EXPECT_EQ(Walled(0xFF), walls[1]) << fd;
        EXPECT_EQ(Walled(0), walls[2]) << fd;
        expected += outsideText(fd);
        EXPECT_EQ(expected, output.text());
    }
}

TEST_F(RemoveSocket, TakesItOutOfEverySet)
{
    for (const int fd : {0, 7, FD_SETSIZE - 1})
        addSocket(true, true, true, fd);

    removeSocket(7);
    EXPECT_EQ((Sockets{0, FD_SETSIZE - 1}), sockets);
    EXPECT_EQ(sockets, membersOf(read));
    EXPECT_EQ(sockets, membersOf(write));
    EXPECT_EQ(sockets, membersOf(except));

    removeSocket(0);
    removeSocket(FD_SETSIZE - 1);
    EXPECT_EQ(Sockets{}, sockets);
    EXPECT_EQ(sockets, membersOf(read));
    EXPECT_EQ(sockets, membersOf(write));
    EXPECT_EQ(sockets, membersOf(except));
    EXPECT_EQ("", output.text());
}

TEST_F(RemoveSocket, LeavesTheBitsOfOneThatIsNotAmongTheSockets)
{
    addSocket(true, true, true, 7);
    sockets = {6};

    removeSocket(7);

    EXPECT_EQ(Sockets{6}, sockets);
    EXPECT_EQ(Sockets{7}, membersOf(read));
    EXPECT_EQ(Sockets{7}, membersOf(write));
    EXPECT_EQ(Sockets{7}, membersOf(except));
}

TEST_F(RemoveSocket, IgnoresADescriptorOutsideOfTheSetsThatIsNotAmongTheSockets)
{
    for (const int fd : OUTSIDE)
        removeSocket(fd);
    removeSocket(-1);

    EXPECT_EQ("", output.text());
}

TEST_F(RemoveSocket, LeavesTheSetsAloneForADescriptorOutsideOfThem)
{
    std::string expected;
    for (const int fd : {INT_MIN, -2, -1, FD_SETSIZE, FD_SETSIZE + 1, INT_MAX}) {
        Walled walls[3] = {Walled(0xFF), Walled(0xFF), Walled(0xFF)};
        sockets = {3, fd};

        RemoveSocketFromFDSets(sockets, fd, walls[0].set, walls[1].set, walls[2].set);

        EXPECT_EQ(Sockets{3}, sockets);
        for (const Walled& walled : walls)
            EXPECT_EQ(Walled(0xFF), walled) << fd;
        expected += outsideText(fd);
        EXPECT_EQ(expected, output.text());
    }
}

namespace {

class SetCloexecFlag : public ::testing::Test {
protected:
    SetCloexecFlag() : fd(::open("/dev/null", O_RDONLY)) {}
    ~SetCloexecFlag() override { ::close(fd); }

    int flags() const { return ::fcntl(fd, F_GETFD); }

    hooks::Reset reset;
    const int fd;
};

}  // namespace

TEST_F(SetCloexecFlag, SetsItWithAnyValueButZero)
{
    for (const int value : {1, -1, 2, INT_MIN}) {
        ASSERT_EQ(0, set_cloexec_flag(fd, 0));
        EXPECT_EQ(0, set_cloexec_flag(fd, value)) << value;
        EXPECT_EQ(FD_CLOEXEC, flags()) << value;
    }
}

TEST_F(SetCloexecFlag, ClearsItWithZero)
{
    ASSERT_EQ(0, ::fcntl(fd, F_SETFD, FD_CLOEXEC));

    EXPECT_EQ(0, set_cloexec_flag(fd, 0));

    EXPECT_EQ(0, flags());
}

TEST_F(SetCloexecFlag, ReturnsMinusOneWithErrnoForAClosedDescriptor)
{
    const int closed = ::dup(fd);
    ::close(closed);

    errno = 0;
    EXPECT_EQ(-1, set_cloexec_flag(closed, 1));
    EXPECT_EQ(EBADF, errno);
}

namespace {

using FcntlCalls = std::vector<std::tuple<int, int, int>>;  // descriptor, command, argument

}  // namespace

TEST_F(SetCloexecFlag, ChangesNoOtherFlag)
{
    constexpr int OTHERS = 0x50;
    FcntlCalls calls;
    int flags = OTHERS;
    hooks::fcntl = [&](int on, int command, int argument) {
        calls.emplace_back(on, command, argument);
        return command == F_GETFD ? flags : 0;
    };

    EXPECT_EQ(0, set_cloexec_flag(77, 1));
    EXPECT_EQ((FcntlCalls{{77, F_GETFD, 0}, {77, F_SETFD, OTHERS | FD_CLOEXEC}}), calls);

    calls.clear();
    flags = OTHERS | FD_CLOEXEC;
    EXPECT_EQ(0, set_cloexec_flag(77, 0));
    EXPECT_EQ((FcntlCalls{{77, F_GETFD, 0}, {77, F_SETFD, OTHERS}}), calls);
}

TEST_F(SetCloexecFlag, SetsNothingWhereTheFlagsCannotBeRead)
{
    int calls = 0;
    hooks::fcntl = [&](int, int, int) {
        ++calls;
        return -3;
    };

    EXPECT_EQ(-3, set_cloexec_flag(77, 1));
    EXPECT_EQ(1, calls);
}

TEST_F(SetCloexecFlag, ReturnsTheResultOfSettingAsItIs)
{
    int result = -1;
    hooks::fcntl = [&](int, int command, int) { return command == F_GETFD ? 0 : result; };

    EXPECT_EQ(-1, set_cloexec_flag(77, 1));
    result = 9;
    EXPECT_EQ(9, set_cloexec_flag(77, 1));
}
