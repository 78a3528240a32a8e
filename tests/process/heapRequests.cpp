// Interposes malloc() and the like for the whole program.

#include "heapRequests.h"

#include <dlfcn.h>

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

// The C library's own functions.  glibc has other names for them, because its dlsym() may allocate;
// musl's does not.
#ifdef __GLIBC__
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t number, std::size_t size);
void* __libc_realloc(void* memory, std::size_t size);
void __libc_free(void* memory);
}
#define OF_LIBC(function) __libc_##function
#else
#define OF_LIBC(function) reinterpret_cast<decltype(&(function))>(::dlsym(RTLD_NEXT, #function))
#endif

extern "C" {

void* malloc(std::size_t size) noexcept
{
    ++requests;
    return OF_LIBC(malloc)(size);
}

void* calloc(std::size_t number, std::size_t size) noexcept
{
    ++requests;
    return OF_LIBC(calloc)(number, size);
}

void* realloc(void* memory, std::size_t size) noexcept
{
    ++requests;
    return OF_LIBC(realloc)(memory, size);
}

void free(void* memory) noexcept
{
    OF_LIBC(free)(memory);
}

}  // extern "C"

#endif
