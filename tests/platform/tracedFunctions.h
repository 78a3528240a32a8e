#pragma once

#include "tlshared/AssertWrite.h"

// The same functions twice, compiled without and with optimisation: inlining, omitted frame
// pointers and calls turned into jumps are what confuses a stack trace.

namespace unoptimised {
tl::StackTrace exported();
tl::StackTrace throughStatic();
tl::StackTrace throughNoReturn();
tl::StackTrace deep(int depth);
}  // namespace unoptimised

namespace optimised {
tl::StackTrace exported();
tl::StackTrace throughStatic();
tl::StackTrace throughNoReturn();
tl::StackTrace deep(int depth);
}  // namespace optimised
