#pragma once

#include <sys/types.h>

namespace tl {

/// The process id of no child: none was started, or it was reaped.
constexpr pid_t NO_CHILD = -1;

/// Whether this process is a child that could not execute its program and is about to call exit(3).
/// That destroys its copies of static supervisors, whose output files still belong to the caller.
extern bool isFailedChild;

}  // namespace tl
