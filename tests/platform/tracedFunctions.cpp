#include "tracedFunctions.h"

// The build defines NAMESPACE and compiles this file twice.

// Follows a call, so that the compiler does not turn it into a jump.
#define RETURN_HERE __asm__ volatile("" : : : "memory")
#define OUT_OF_LINE __attribute__((noinline))

namespace NAMESPACE {

OUT_OF_LINE tl::StackTrace exported()
{
    tl::StackTrace trace;
    RETURN_HERE;
    return trace;
}

// Differs from exported(); otherwise the compiler would merge the two.
static OUT_OF_LINE tl::StackTrace unexported()
{
    RETURN_HERE;
    tl::StackTrace trace;
    RETURN_HERE;
    return trace;
}

OUT_OF_LINE tl::StackTrace throughStatic()
{
    tl::StackTrace trace = unexported();
    RETURN_HERE;
    return trace;
}

[[noreturn]] OUT_OF_LINE void leave()
{
    throw exported();
}

// The call is the last instruction of this function, so its return address belongs to the next
// function.
[[noreturn]] OUT_OF_LINE void onlyLeaves()
{
    leave();
}

OUT_OF_LINE tl::StackTrace throughNoReturn()
{
    try {
        onlyLeaves();
    } catch (const tl::StackTrace& trace) {
        return trace;
    }
}

OUT_OF_LINE tl::StackTrace deep(int depth)
{
    tl::StackTrace trace = depth == 0 ? exported() : deep(depth - 1);
    RETURN_HERE;
    return trace;
}

}  // namespace NAMESPACE
