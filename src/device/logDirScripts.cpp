#include "logDirScripts.h"

namespace {

constexpr char LOG_LINK = '@';  // where the path goes in the texts below

// A dangling symbolic link passes the first test, which follows links, and is left alone by the one
// for a link.  Meant.
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

// The inner test repeats the outer one.  It belongs to the text; do not tidy it.
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
