#include "allocations.h"

#include <sys/syscall.h>
#include <sys/types.h>
#include <unistd.h>

#include <csignal>
#include <cstddef>
#include <cstdlib>
#include <new>

namespace {

bool counting = false;
unsigned long count = 0;
unsigned long failingPoint = 0;
bool allAfter = false;
long liveBlocks = 0;

bool fails()
{
    if (!counting)
        return false;
    ++count;
    return failingPoint != 0 && (count == failingPoint || (allAfter && count > failingPoint));
}

void* allocated(std::size_t size)
{
    void* block = fails() ? nullptr : std::malloc(size != 0 ? size : 1);
    if (block != nullptr)
        ++liveBlocks;
    return block;
}

void released(void* block)
{
    if (block != nullptr)
        --liveBlocks;
    std::free(block);
}

}  // namespace

void allocations::failFrom(unsigned long point, bool andAllAfter)
{
    count = 0;
    failingPoint = point;
    allAfter = andAllAfter;
    counting = true;
}

unsigned long allocations::failNone()
{
    counting = false;
    return count;
}

long allocations::live()
{
    return liveBlocks;
}

void* operator new(std::size_t size)
{
    void* block = allocated(size);
    if (block == nullptr)
        throw std::bad_alloc();
    return block;
}

void* operator new[](std::size_t size)
{
    return operator new(size);
}

void* operator new(std::size_t size, const std::nothrow_t&) noexcept
{
    return allocated(size);
}

void* operator new[](std::size_t size, const std::nothrow_t&) noexcept
{
    return allocated(size);
}

void operator delete(void* block) noexcept
{
    released(block);
}

void operator delete[](void* block) noexcept
{
    released(block);
}

void operator delete(void* block, std::size_t) noexcept
{
    released(block);
}

void operator delete[](void* block, std::size_t) noexcept
{
    released(block);
}

void operator delete(void* block, const std::nothrow_t&) noexcept
{
    released(block);
}

void operator delete[](void* block, const std::nothrow_t&) noexcept
{
    released(block);
}

// -1 would reach every process of the machine, and a mistake in the library may well ask for it.
extern "C" int kill(pid_t pid, int signal) noexcept
{
    if (pid <= 0)
        std::abort();
    return static_cast<int>(::syscall(SYS_kill, pid, signal));
}
