#include "tlshared/AssertWrite.h"

#include <cxxabi.h>
#include <dlfcn.h>
#include <execinfo.h>
#include <syslog.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "tlshared/LogX.h"

namespace {

constexpr int MAX_FRAMES = 64;

std::string hexadecimal(std::uintptr_t value)
{
    char text[2 + 2 * sizeof value + 1];
    (void)std::snprintf(text, sizeof text, "0x%jx", static_cast<std::uintmax_t>(value));
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

// The lowest bit of an ARM return address may tell the instruction set; backtrace(3) leaves it out.
bool isSame(const void* returnAddress, const void* other)
{
    return distance(returnAddress, other) <= 1 || distance(other, returnAddress) <= 1;
}

const char* baseName(const char* path)
{
    const char* slash = std::strrchr(path, '/');
    return slash ? slash + 1 : path;
}

// `address` is where a call returns to.  The call stands before it, and it is looked up there: what
// follows a call that does not return may be another function.
std::string place(const void* address)
{
    Dl_info info;
    if (::dladdr(static_cast<const char*>(address) - 1, &info) == 0 || info.dli_fname == nullptr)
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
    const int error = errno;
    void* frames[MAX_FRAMES];
    void** const end = frames + ::backtrace(frames, MAX_FRAMES);
    // The first line is the caller's, however many frames of our own are above it.
    const void* const caller = __builtin_return_address(0);
    void** const first =
        std::find_if(frames, end, [caller](const void* frame) { return isSame(frame, caller); });
    for (void** frame = first; frame != end; ++frame)
        lines_.push_back("#" + std::to_string(frame - first) + " " + place(*frame));
    errno = error;
}

void tl::AssertWrite(const char* file, int line, const StackTrace& stackTrace)
{
    LogXMessage(LOG_ERR, "Assertion failed: %s:%d", file, line);
    for (const std::string& frame : stackTrace.lines())
        LogXMessage(LOG_ERR, frame);
}
