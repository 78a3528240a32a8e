// printsWhatItInherited: the files behind standard input and the other descriptors, then the
// blocked and the ignored signals below 32, then the working directory.
#include <unistd.h>

#include <climits>
#include <csignal>
#include <cstdio>
#include <string>

namespace {

void printDescriptors()
{
    for (int fd = 0; fd < 256; ++fd) {
        char path[PATH_MAX];
        const std::string link = "/proc/self/fd/" + std::to_string(fd);
        const ssize_t length = ::readlink(link.c_str(), path, sizeof path);
        if (length >= 0)
            std::printf("fd %d %.*s\n", fd, static_cast<int>(length), path);
    }
}

void printSignals()
{
    sigset_t blocked;
    ::sigprocmask(SIG_BLOCK, nullptr, &blocked);
    for (int number = 1; number < 32; ++number) {
        struct sigaction action {};
        ::sigaction(number, nullptr, &action);
        if (::sigismember(&blocked, number) == 1)
            std::printf("blocked %d\n", number);
        if (action.sa_handler == SIG_IGN)
            std::printf("ignored %d\n", number);
    }
}

}  // namespace

int main()
{
    printDescriptors();
    printSignals();
    char directory[PATH_MAX];
    std::printf("in %s\n", ::getcwd(directory, sizeof directory));
}
