#pragma once

#include <string>
#include <vector>

#include "tlshared/Export.h"

namespace tl {

/// The calling thread's stack at the moment of construction, one line of text per frame, innermost
/// first.
///
/// A line names the function if its symbol is known, otherwise the module and the offset in it:
///
///     #0 TlTimer::OnTimerExpired(unsigned long, long)+0x4c (libtldevice.so.1)
///     #1 0x1f20 (upman)
///
/// A program's functions have names only if it is linked with `-rdynamic`.  On machines where a
/// function's symbol is a descriptor (64-bit PowerPC with the old ABI, PA-RISC, Itanium), no
/// function has one.  Uses the compiler's unwinder and dladdr(3).  Throws nothing but
/// std::bad_alloc; `errno` is left as it was.
class TLSHARED_EXPORT StackTrace {
public:
    StackTrace();

    /// The lines, innermost frame first; they belong to this object.
    const std::vector<std::string>& lines() const { return lines_; }

private:
    std::vector<std::string> lines_;
};

/// Reports a failed assertion to the system log at level 3: a line with file and line number, then
/// each line of `stackTrace`.
///
/// Returns: the caller decides what to do next.  `errno` is left as it was.
TLSHARED_EXPORT void AssertWrite(const char* file, int line, const StackTrace& stackTrace);

}  // namespace tl
