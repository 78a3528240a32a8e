// unload LIBRARY: loads it, makes it create its singletons, closes it, and fails if it is still
// loaded.

#include <dlfcn.h>

#include <cstdio>

int main(int, char* arguments[])
{
    void* library = ::dlopen(arguments[1], RTLD_NOW);
    if (library == nullptr) {
        std::puts(::dlerror());
        return 1;
    }

    // tl::DevicePropertiesMap::instance(), which also creates the facade.
    void* instance = ::dlsym(library, "_ZN2tl19DevicePropertiesMap8instanceEv");
    if (instance == nullptr) {
        std::puts(::dlerror());
        return 1;
    }
    reinterpret_cast<void* (*)()>(instance)();

    (void)::dlclose(library);
    const bool isStillThere = ::dlopen(arguments[1], RTLD_NOW | RTLD_NOLOAD) != nullptr;
    std::puts(isStillThere ? "still loaded" : "unloaded");
    return isStillThere ? 1 : 0;
}
