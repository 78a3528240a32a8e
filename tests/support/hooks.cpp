#include "hooks.h"

#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>

namespace {

constexpr int MAX_FAMILIES = 16;
void (*unsets[MAX_FAMILIES])();
int families = 0;

}  // namespace

void hooks::onReset(void (*unset)())
{
    unsets[families++] = unset;
}

hooks::Reset::~Reset()
{
    for (int i = 0; i < families; ++i)
        unsets[i]();
}

void* hooks::nextSymbol(const char* symbol)
{
    void* address = ::dlsym(RTLD_NEXT, symbol);
    if (address == nullptr) {
        std::fprintf(stderr, "hooks: no real %s\n", symbol);
        std::abort();
    }
    return address;
}
