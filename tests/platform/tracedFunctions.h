#pragma once

#include "tlshared/AssertWrite.h"

// The same functions, compiled without and with optimisation: inlining, omitted frame pointers and
// tail calls confuse a stack trace.

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
