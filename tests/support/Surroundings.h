#pragma once

#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <csignal>
#include <filesystem>
#include <map>
#include <ostream>
#include <set>
#include <string>

/// What a call must leave unchanged in its caller.
struct Surroundings {
    std::map<int, std::string> descriptors;  // and their files
    std::set<int> blockedSignals;
    std::map<int, std::string> dispositions;
    std::string directory;

    static Surroundings now()
    {
        Surroundings here;
        here.lookAtDescriptors();
        here.lookAtSignals();
        here.directory = std::filesystem::current_path();
        return here;
    }

    bool operator==(const Surroundings& other) const
    {
        return descriptors == other.descriptors && blockedSignals == other.blockedSignals &&
               dispositions == other.dispositions && directory == other.directory;
    }

private:
    void lookAtDescriptors()
    {
        for (int fd = 0; fd < 1024; ++fd) {
            struct stat file {};
            if (::fstat(fd, &file) != 0)
                continue;
            char path[PATH_MAX];
            const std::string link = "/proc/self/fd/" + std::to_string(fd);
            const ssize_t length = ::readlink(link.c_str(), path, sizeof path);
            descriptors[fd] = std::string(path, static_cast<size_t>(length >= 0 ? length : 0)) +
                              ", file " + std::to_string(file.st_dev) + "." +
                              std::to_string(file.st_ino);
        }
    }

    void lookAtSignals()
    {
        sigset_t blocked;
        ::sigprocmask(SIG_BLOCK, nullptr, &blocked);
        for (int number = 1; number <= SIGRTMAX; ++number) {
            if (::sigismember(&blocked, number) == 1)
                blockedSignals.insert(number);
            struct sigaction action {};
            if (::sigaction(number, nullptr, &action) == 0)
                dispositions[number] = action.sa_handler == SIG_DFL   ? "default"
                                       : action.sa_handler == SIG_IGN ? "ignored"
                                                                      : "handled";
        }
    }
};

inline void PrintTo(const Surroundings& here, std::ostream* stream)
{
    *stream << "in " << here.directory;
    for (const auto& [fd, path] : here.descriptors)
        *stream << "\n    fd " << fd << " " << path;
    for (const int number : here.blockedSignals)
        *stream << "\n    blocked " << number;
    for (const auto& [number, disposition] : here.dispositions)
        if (disposition != "default")
            *stream << "\n    " << disposition << " " << number;
}
