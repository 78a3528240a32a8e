#include "hooks.h"

#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

constexpr int MAX_UNSETS = 64;
void (*unsets[MAX_UNSETS])();
int registered = 0;

void* resolved(void* where, const char* symbol)
{
    void* address = ::dlsym(where, symbol);
    if (address == nullptr) {
        std::fprintf(stderr, "hooks: no real %s\n", symbol);
        std::abort();
    }
    return address;
}

}  // namespace

void hooks::onReset(void (*unset)())
{
    if (registered == MAX_UNSETS)
        std::abort();
    unsets[registered++] = unset;
}

hooks::Reset::~Reset()
{
    for (int i = 0; i < registered; ++i)
        unsets[i]();
}

void* hooks::nextSymbol(const char* symbol)
{
#ifdef LIBRARIES_ARE_ARCHIVES
    // Our own functions are in the program itself, where they have a second name.
    if (std::strncmp(symbol, "_Z", 2) == 0) {
        char secondName[128] = "real";
        return resolved(RTLD_DEFAULT, std::strcat(secondName, symbol));
    }
#endif
    return resolved(RTLD_NEXT, symbol);
}
