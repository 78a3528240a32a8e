#include "tlshared/LogX.h"

#include <syslog.h>

#include <cstdarg>

#include "systemError.h"

namespace {

int severity(unsigned int level)
{
    return static_cast<int>(level & LOG_PRIMASK);
}

}  // namespace

void LogXMessage(unsigned int level, const char* format, ...)
{
    const tl::KeptErrno kept;
    std::va_list arguments;
    va_start(arguments, format);
    ::vsyslog(severity(level), format, arguments);
    va_end(arguments);
}

void LogXMessage(unsigned int level, const std::string& text)
{
    const tl::KeptErrno kept;
    ::syslog(severity(level), "%s", text.c_str());
}
