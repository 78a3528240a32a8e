#include <cstdarg>
#include <cstdio>

#include "hooks.h"

namespace hooks {

std::function<void(int, const std::string&)> syslog;

namespace {

[[maybe_unused]] const bool registered = [] {
    onReset([] { syslog = nullptr; });
    return true;
}();

}  // namespace
}  // namespace hooks

extern "C" {

void vsyslog(int priority, const char* format, va_list arguments)
{
    if (!hooks::syslog) {
        hooks::real<void(int, const char*, va_list)>("vsyslog")(priority, format, arguments);
        return;
    }
    char text[4096];
    std::vsnprintf(text, sizeof text, format, arguments);
    hooks::syslog(priority, text);
}

void syslog(int priority, const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    vsyslog(priority, format, arguments);
    va_end(arguments);
}

}  // extern "C"
