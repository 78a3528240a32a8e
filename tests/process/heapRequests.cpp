// Interposes malloc() and the like for the whole program.

#include "heapRequests.h"

#include <cstddef>
#include <cstdlib>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define SANITIZER_ALLOCATES
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define SANITIZER_ALLOCATES
#endif
#endif

namespace {

unsigned long requests = 0;

}  // namespace

unsigned long heapRequests()
{
    return requests;
}

#ifdef SANITIZER_ALLOCATES

extern "C" int __sanitizer_install_malloc_and_free_hooks(void (*allocated)(const volatile void*,
                                                                           std::size_t),
                                                         void (*freed)(const volatile void*));

namespace {

[[maybe_unused]] const int installed = __sanitizer_install_malloc_and_free_hooks(
    [](const volatile void*, std::size_t) { ++requests; }, [](const volatile void*) {});

}  // namespace

#else

extern "C" {

// The C library's own functions, under the names that it provides for interposing programs.
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t number, std::size_t size);
void* __libc_realloc(void* memory, std::size_t size);
void __libc_free(void* memory);

void* malloc(std::size_t size) noexcept
{
    ++requests;
    return __libc_malloc(size);
}

void* calloc(std::size_t number, std::size_t size) noexcept
{
    ++requests;
    return __libc_calloc(number, size);
}

void* realloc(void* memory, std::size_t size) noexcept
{
    ++requests;
    return __libc_realloc(memory, size);
}

void free(void* memory) noexcept
{
    __libc_free(memory);
}

}  // extern "C"

#endif
