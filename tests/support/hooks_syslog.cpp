#include <syslog.h>

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
    va_list again;
    va_copy(again, arguments);
    std::string text(static_cast<size_t>(std::vsnprintf(nullptr, 0, format, again)), ' ');
    va_end(again);
    std::vsnprintf(text.data(), text.size() + 1, format, arguments);
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
