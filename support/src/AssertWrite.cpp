#include "tlshared/AssertWrite.h"

#include <cxxabi.h>
#include <dlfcn.h>
#include <syslog.h>
#include <unwind.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "systemError.h"
#include "tlshared/LogX.h"

namespace {

constexpr int MAX_FRAMES = 64;  // deeper frames are left out

// If a function's symbol is a descriptor that points to the code, addresses in the code have no
// symbol, or a wrong one.
#if defined(__hppa__) || defined(__ia64__) || \
    (defined(__powerpc64__) && (!defined(_CALL_ELF) || _CALL_ELF == 1))
constexpr bool CODE_HAS_SYMBOLS = false;
#else
constexpr bool CODE_HAS_SYMBOLS = true;
#endif

struct Frames {
    const void* addresses[MAX_FRAMES];  // where each call returns to, innermost first
    int count = 0;
};

_Unwind_Reason_Code addFrame(_Unwind_Context* context, void* to)
{
    Frames& frames = *static_cast<Frames*>(to);
    // The unwinder returns numbers.  NOLINTNEXTLINE(performance-no-int-to-ptr)
    const auto* const address = reinterpret_cast<const void*>(_Unwind_GetIP(context));
    if (address == nullptr || frames.count == MAX_FRAMES)
        return _URC_END_OF_STACK;
    frames.addresses[frames.count++] = address;
    return _URC_NO_REASON;
}

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

// On ARM, the lowest bit of a return address may select the instruction set.  The unwinder clears
// that bit.
bool isSame(const void* returnAddress, const void* other)
{
    return distance(returnAddress, other) <= 1 || distance(other, returnAddress) <= 1;
}

const char* baseName(const char* path)
{
    const char* slash = std::strrchr(path, '/');
    return slash ? slash + 1 : path;
}

// Describes a return address.  The call is just before it, so that is what is looked up: the code
// after a call that does not return may belong to another function.
std::string place(const void* address)
{
    Dl_info info;
    if (::dladdr(static_cast<const char*>(address) - 1, &info) == 0 || info.dli_fname == nullptr)
        return hexadecimal(reinterpret_cast<std::uintptr_t>(address));

    const std::string module = std::string(" (") + baseName(info.dli_fname) + ")";
    if (info.dli_sname == nullptr || !CODE_HAS_SYMBOLS)
        return hexadecimal(distance(info.dli_fbase, address)) + module;
    return demangled(info.dli_sname) + "+" + hexadecimal(distance(info.dli_saddr, address)) +
           module;
}

}  // namespace

tl::StackTrace::StackTrace()
{
    const KeptErrno kept;
    Frames frames;
    (void)::_Unwind_Backtrace(addFrame, &frames);
    const void** const end = frames.addresses + frames.count;

    // Leaves out our own frames, above the caller's.  If the caller's frame is not found, all are
    // shown.
    const void* const caller = __builtin_extract_return_addr(__builtin_return_address(0));
    const void** first = std::find_if(
        frames.addresses, end, [caller](const void* frame) { return isSame(frame, caller); });
    if (first == end)
        first = frames.addresses;
    for (const void** frame = first; frame != end; ++frame)
        lines_.push_back("#" + std::to_string(frame - first) + " " + place(*frame));
}

void tl::AssertWrite(const char* file, int line, const StackTrace& stackTrace)
{
    LogXMessage(LOG_ERR, "Assertion failed: %s:%d", file, line);
    for (const std::string& frame : stackTrace.lines())
        LogXMessage(LOG_ERR, frame);
}
