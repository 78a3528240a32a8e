#pragma once

#include <cerrno>
#include <cstring>
#include <string>

#include "hooks.h"

/// Replaces the results of uname(2) while it lives, and counts the calls.  Needs the hooks
/// `identity`.
class KernelStrings {
public:
    KernelStrings()
    {
        hooks::uname = [this](utsname* kernel) { return answer(*kernel); };
    }
    ~KernelStrings() { hooks::uname = nullptr; }
    KernelStrings(const KernelStrings&) = delete;
    KernelStrings& operator=(const KernelStrings&) = delete;

    std::string version = "#1 Tue Mar 6 2012";
    std::string release = "3.2.0";
    std::string nodename = "box";
    int error = 0;  ///< not 0: the call fails with it, but still fills in the strings
    int calls = 0;

private:
    int answer(utsname& kernel)
    {
        ++calls;
        put(kernel.version, version);
        put(kernel.release, release);
        put(kernel.nodename, nodename);
        errno = error;
        return error == 0 ? 0 : -1;
    }

    template <std::size_t size>
    static void put(char (&field)[size], const std::string& text)
    {
        std::memset(field, 0, size);
        text.copy(field, size - 1);
    }
};
