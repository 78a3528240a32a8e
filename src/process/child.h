#pragma once

#include <sys/types.h>

namespace tl {

/// No process id of a child: what a supervisor holds that has none, or that has reaped it.
constexpr pid_t NO_CHILD = -1;

/// Whether this process is a child that could not execute its program and is on its way to exit(3).
/// Static supervisors are destroyed there, and are copies: every log file is still the caller's.
extern bool isFailedChild;

}  // namespace tl
