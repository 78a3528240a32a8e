#pragma once

namespace tl {

/// Whether this process is a child that could not execute its program and is on its way to exit(3).
/// Static supervisors are destroyed there, and are copies: every log file is still the caller's.
extern bool isFailedChild;

}  // namespace tl
