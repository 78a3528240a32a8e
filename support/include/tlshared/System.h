#pragma once

#include "tlshared/Export.h"

namespace tl {

/// Runs `cmd` through the shell, as system(3) does, and blocks until it has ended.
///
/// While it waits, SIGINT and SIGQUIT are ignored and SIGCHLD is blocked in the calling process.
///
/// \returns the raw wait status, for `WEXITSTATUS` and the like; -1 with `errno` set if no child
///          could be created or its status could not be read.  If the shell cannot be executed, the
///          status is that of a command that exits with 127.
TLSHARED_EXPORT int system(const char* cmd);

}  // namespace tl
