#include "tlshared/AssertWrite.h"

#include <cxxabi.h>
#include <dlfcn.h>
#include <execinfo.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "tlshared/LogX.h"

namespace {

constexpr unsigned int LEVEL_ERROR = 3;
constexpr int MAX_FRAMES = 64;
constexpr int OWN_FRAMES = 1;  // StackTrace's constructor

std::string hexadecimal(std::uintptr_t value)
{
    char text[2 + 2 * sizeof value + 1];
    std::snprintf(text, sizeof text, "0x%jx", static_cast<std::uintmax_t>(value));
    return text;
}

std::string demangled(const char* symbol)
{
    int status = 0;
    const std::unique_ptr<char, decltype(&std::free)> name(
        abi::__cxa_demangle(symbol, nullptr, nullptr, &status), &std::free);
    return name ? name.get() : symbol;
}

std::uintptr_t distance(const void* from, const void* to)
{
    return reinterpret_cast<std::uintptr_t>(to) - reinterpret_cast<std::uintptr_t>(from);
}

const char* baseName(const char* path)
{
    const char* slash = std::strrchr(path, '/');
    return slash ? slash + 1 : path;
}

std::string place(const void* address)
{
    Dl_info info;
    if (::dladdr(address, &info) == 0 || info.dli_fname == nullptr)
        return hexadecimal(reinterpret_cast<std::uintptr_t>(address));

    const std::string module = std::string(" (") + baseName(info.dli_fname) + ")";
    if (info.dli_sname == nullptr)
        return hexadecimal(distance(info.dli_fbase, address)) + module;
    return demangled(info.dli_sname) + "+" + hexadecimal(distance(info.dli_saddr, address)) +
           module;
}

}  // namespace

tl::StackTrace::StackTrace()
{
    void* frames[MAX_FRAMES];
    const int count = ::backtrace(frames, MAX_FRAMES);
    for (int i = OWN_FRAMES; i < count; ++i)
        lines_.push_back("#" + std::to_string(i - OWN_FRAMES) + " " + place(frames[i]));
}

void tl::AssertWrite(const char* file, int line, const StackTrace& stackTrace)
{
    const int error = errno;
    LogXMessage(LEVEL_ERROR, "Assertion failed: %s:%d", file, line);
    for (const std::string& frame : stackTrace.lines())
        LogXMessage(LEVEL_ERROR, frame);
    errno = error;
}
