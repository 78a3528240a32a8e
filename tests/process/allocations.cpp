// Stands in front of malloc() and its like, and replaces operator new, for the whole program.

#include "allocations.h"

#include <cstddef>
#include <cstdlib>
#include <limits>
#include <new>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define SANITIZER_ALLOCATES
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define SANITIZER_ALLOCATES
#endif
#endif

namespace {

constexpr unsigned long NEVER = std::numeric_limits<unsigned long>::max();

unsigned long counted = 0;
unsigned long untilFailure = NEVER;
bool failed = false;

void* allocateOrThrow(std::size_t size)
{
    if (untilFailure == 0) {
        untilFailure = NEVER;
        failed = true;
        throw std::bad_alloc();
    }
    if (untilFailure != NEVER)
        --untilFailure;

    void* const memory = std::malloc(size == 0 ? 1 : size);
    if (memory == nullptr)
        throw std::bad_alloc();
    return memory;
}

}  // namespace

unsigned long allocations::count()
{
    return counted;
}

void allocations::failOnce(unsigned long number)
{
    untilFailure = number;
    failed = false;
}

bool allocations::haveFailed()
{
    untilFailure = NEVER;
    return failed;
}

allocations::Exempt::Exempt() : kept_(untilFailure)
{
    untilFailure = NEVER;
}

allocations::Exempt::~Exempt()
{
    untilFailure = kept_;
}

void* operator new(std::size_t size)
{
    return allocateOrThrow(size);
}

void* operator new[](std::size_t size)
{
    return allocateOrThrow(size);
}

void operator delete(void* memory) noexcept
{
    std::free(memory);
}

void operator delete[](void* memory) noexcept
{
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept
{
    std::free(memory);
}

void operator delete[](void* memory, std::size_t) noexcept
{
    std::free(memory);
}

#ifdef SANITIZER_ALLOCATES

extern "C" int __sanitizer_install_malloc_and_free_hooks(void (*allocated)(const volatile void*,
                                                                           std::size_t),
                                                         void (*freed)(const volatile void*));

namespace {

[[maybe_unused]] const int installed = __sanitizer_install_malloc_and_free_hooks(
    [](const volatile void*, std::size_t) { ++counted; }, [](const volatile void*) {});

}  // namespace

#else

extern "C" {

// The C library's own, under the names that it keeps for programs that stand in front of them.
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t number, std::size_t size);
void* __libc_realloc(void* memory, std::size_t size);
void __libc_free(void* memory);

void* malloc(std::size_t size) noexcept
{
    ++counted;
    return __libc_malloc(size);
}

void* calloc(std::size_t number, std::size_t size) noexcept
{
    ++counted;
    return __libc_calloc(number, size);
}

void* realloc(void* memory, std::size_t size) noexcept
{
    ++counted;
    return __libc_realloc(memory, size);
}

void free(void* memory) noexcept
{
    __libc_free(memory);
}

}  // extern "C"

#endif
