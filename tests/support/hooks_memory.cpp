#include <malloc.h>

#include <cerrno>
#include <cstdlib>
#include <new>

#include "hooks.h"

namespace hooks {

long allocationsLeft = UNLIMITED;
bool onlyOneFails = false;
bool allocatingSetsErrno = true;
long allocations = 0;
long blocksInUse = 0;
std::size_t memoryInUse = 0;

namespace {

[[maybe_unused]] const bool registered = [] {
    onReset([] {
        allocationsLeft = UNLIMITED;
        onlyOneFails = false;
        allocatingSetsErrno = true;
    });
    return true;
}();

bool isGranted()
{
    ++allocations;
    if (allocationsLeft == 0) {
        if (onlyOneFails)
            allocationsLeft = UNLIMITED;
        return false;
    }
    if (allocationsLeft > 0)
        --allocationsLeft;
    return true;
}

void* allocated(std::size_t size)
{
    void* const block = isGranted() ? std::malloc(size != 0 ? size : 1) : nullptr;
    if (block != nullptr) {
        ++blocksInUse;
        memoryInUse += ::malloc_usable_size(block);
        if (allocatingSetsErrno)
            errno = ENOMEM;
    }
    return block;
}

void released(void* block)
{
    if (block == nullptr)
        return;
    --blocksInUse;
    memoryInUse -= ::malloc_usable_size(block);
    std::free(block);
}

}  // namespace
}  // namespace hooks

void* operator new(std::size_t size)
{
    void* const block = hooks::allocated(size);
    if (block == nullptr)
        throw std::bad_alloc();
    return block;
}

void* operator new(std::size_t size, const std::nothrow_t&) noexcept
{
    return hooks::allocated(size);
}

void operator delete(void* block) noexcept
{
    hooks::released(block);
}

void operator delete(void* block, std::size_t) noexcept
{
    hooks::released(block);
}

void operator delete(void* block, const std::nothrow_t&) noexcept
{
    hooks::released(block);
}

// For arrays, because an address checker would otherwise use its own.

void* operator new[](std::size_t size)
{
    return operator new(size);
}

void* operator new[](std::size_t size, const std::nothrow_t&) noexcept
{
    return hooks::allocated(size);
}

void operator delete[](void* block) noexcept
{
    hooks::released(block);
}

void operator delete[](void* block, std::size_t) noexcept
{
    hooks::released(block);
}

void operator delete[](void* block, const std::nothrow_t&) noexcept
{
    hooks::released(block);
}
