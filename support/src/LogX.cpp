#include "tlshared/LogX.h"

#include <syslog.h>

#include <cerrno>
#include <cstdarg>

namespace {

int severity(unsigned int level)
{
    return static_cast<int>(level & LOG_PRIMASK);
}

}  // namespace

void LogXMessage(unsigned int level, const char* format, ...)
{
    const int error = errno;
    std::va_list arguments;
    va_start(arguments, format);
    ::vsyslog(severity(level), format, arguments);
    va_end(arguments);
    errno = error;
}

void LogXMessage(unsigned int level, const std::string& text)
{
    const int error = errno;
    ::syslog(severity(level), "%s", text.c_str());
    errno = error;
}
