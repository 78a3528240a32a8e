#pragma once

#include "supervision/Signals.h"
#include "system/Descriptor.h"

namespace tool {

/// Leaves a process behind that discards what comes from `pipe` until no process can write to it
/// any more.  So what a program left running is not ended by SIGPIPE the next time it prints.
///
/// The process has no terminal, and none of our files except the pipe.
///
/// \returns 0, or the errno why there is none.
int discardLateOutput(Descriptor pipe, const Signals& signals);

}  // namespace tool
