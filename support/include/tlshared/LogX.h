#pragma once

#include <string>

#include "tlshared/Export.h"

/// Writes one line to the system log, through syslog(3).
///
/// `level` is the syslog severity: 0 (emergency) to 7 (debug).  Only its three severity bits are
/// used, so no value can choose a facility.  `format` and what follows are those of printf(3); a
/// trailing newline is not needed.
///
/// The text is composed by syslog(3) itself; `%m` stands for strerror(errno).  `errno` is left as
/// it was.  Nothing is returned: a log that cannot be reached loses the line.  May be called from
/// any thread.
TLSHARED_EXPORT void LogXMessage(unsigned int level, const char* format, ...)
    __attribute__((format(printf, 2, 3)));

/// Writes `text` as it stands, up to its first NUL: a '%' in it means nothing.
TLSHARED_EXPORT void LogXMessage(unsigned int level, const std::string& text);
