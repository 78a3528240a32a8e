// What does it cost to load a library, as a program does at its start?  A count of 0 loads nothing, one of 1 loads it.

#include <dlfcn.h>

#include "columns.h"

namespace {

void add(const std::string& name, const std::string& file)
{
    bench::columns().push_back({"load",
                                name,
                                [file] {
                                    return [file](std::uint64_t times) {
                                        if (times > 0 &&
                                            ::dlopen(file.c_str(), RTLD_LAZY) == nullptr)
                                            bench::fail(::dlerror());
                                    };
                                },
                                {}});
}

const bool ASKED = [] {
    add("tldevice", BENCH_LIBRARY);
#ifdef BENCH_BOOST_FILESYSTEM
    add("boost_filesystem", BENCH_BOOST_FILESYSTEM);
#endif
#ifdef BENCH_QT
    add("Qt5Core", "libQt5Core.so.5");
#endif
    return true;
}();

}  // namespace
