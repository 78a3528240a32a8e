#include "logDirScripts.h"

namespace {

constexpr char LOG_LINK = '@';  // stands for the path in the texts below

// On purpose, the script keeps a dangling symbolic link: the first test follows links and finds
// nothing, but the test for a link finds the link itself.
constexpr const char* LINK_SCRIPT = R"(#!/bin/sh

if [ ! -e @ ]
then
    if [ ! -e /mnt/internal/upmanlogs ]
    then
        mkdir -p /mnt/internal/upmanlogs
    fi
    if [ ! -h @ ]
    then
        rm -rf @
        ln -sf /mnt/internal/upmanlogs @
    fi
fi
)";

// The inner test repeats the outer one.  The text is interface: leave it alone.
constexpr const char* DIRECTORY_SCRIPT = R"(#!/bin/sh

if [ ! -e @ ]
then
    if [ ! -e @ ]
    then
        mkdir -p @
    fi
fi
)";

std::string withPath(const char* script, const std::string& path)
{
    std::string text;
    for (const char* c = script; *c != '\0'; ++c) {
        if (*c == LOG_LINK)
            text += path;
        else
            text += *c;
    }
    return text;
}

}  // namespace

std::string tl::linkScript(const std::string& logLink)
{
    return withPath(LINK_SCRIPT, logLink);
}

std::string tl::directoryScript(const std::string& logLink)
{
    return withPath(DIRECTORY_SCRIPT, logLink);
}
