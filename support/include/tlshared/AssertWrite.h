#pragma once

#include <string>
#include <vector>

#include "tlshared/Export.h"

namespace tl {

/// The calling thread's stack at the moment of construction, one text line for a frame, innermost
/// first.
///
/// A line names the function where a symbol is to be had, else the module and the offset in it:
///
///     #0 TlTimer::OnTimerExpired(unsigned long, long)+0x4c (libtldevice.so.1)
///     #1 0x1f20 (upman)
///
/// Functions of a program are found only if it is linked with `-rdynamic`.  Rests on backtrace(3)
/// and dladdr(3).  Throws nothing but std::bad_alloc; `errno` is left as it was.
class TLSHARED_EXPORT StackTrace {
public:
    StackTrace();

    const std::vector<std::string>& lines() const { return lines_; }

private:
    std::vector<std::string> lines_;
};

/// Reports a failed assertion: one log line at level 3 with the place, then one for each line of
/// `stackTrace`.
///
/// It returns; what follows from the failure is the caller's business.  `errno` is left as it was.
TLSHARED_EXPORT void AssertWrite(const char* file, int line, const StackTrace& stackTrace);

}  // namespace tl
