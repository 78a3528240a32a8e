#include <malloc.h>

#include <cerrno>
#include <cstdlib>
#include <new>

#include "hooks.h"

namespace hooks {

std::size_t memoryInUse = 0;
int allocationsLeft = UNLIMITED;

namespace {

[[maybe_unused]] const bool registered = [] {
    onReset([] { allocationsLeft = UNLIMITED; });
    return true;
}();

}  // namespace
}  // namespace hooks

void* operator new(std::size_t size)
{
    if (hooks::allocationsLeft == 0)
        throw std::bad_alloc();
    if (hooks::allocationsLeft > 0)
        --hooks::allocationsLeft;

    void* memory = std::malloc(size);
    if (memory == nullptr)
        throw std::bad_alloc();
    hooks::memoryInUse += ::malloc_usable_size(memory);
    errno = ENOMEM;  // as malloc(3) may leave it, though it succeeded
    return memory;
}

void operator delete(void* memory) noexcept
{
    hooks::memoryInUse -= ::malloc_usable_size(memory);
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept
{
    operator delete(memory);
}
