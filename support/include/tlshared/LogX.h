#pragma once

#include <string>

#include "tlshared/Export.h"

/// Writes one line to the system log, through syslog(3).
///
/// `level` is the syslog severity: 0 (emergency) to 7 (debug).  Only its three severity bits are
/// used, so no value can choose a facility.  `format` and its arguments are those of printf(3); no
/// trailing newline is needed.
///
/// syslog(3) itself composes the text: `%m` stands for strerror(errno) with glibc and musl, and
/// with uClibc if it was built that way.  `errno` is left as it was.  Nothing is returned: if the
/// system log cannot be reached, the line is lost.  May be called from any thread.
TLSHARED_EXPORT void LogXMessage(unsigned int level, const char* format, ...)
    __attribute__((format(printf, 2, 3)));

/// Writes `text` unchanged, up to its first NUL.  A '%' in it has no meaning.
TLSHARED_EXPORT void LogXMessage(unsigned int level, const std::string& text);
