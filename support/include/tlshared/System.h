#pragma once

#include "tlshared/Export.h"

namespace tl {

/// Runs `cmd` through the shell, as system(3) does, and blocks until it has ended.
///
/// While it waits, SIGINT and SIGQUIT are ignored and SIGCHLD is blocked in the calling process.
///
/// \returns the raw wait status, to be taken apart with `WEXITSTATUS` and the like; -1 with `errno`
///          set when no child could be made or its status could not be had.  A shell that could not
///          be executed counts as a command that exited with 127.
TLSHARED_EXPORT int system(const char* cmd);

}  // namespace tl
