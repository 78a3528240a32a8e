// What does it cost to load a library, as a program does when it starts?  A count of 0 loads
// nothing, a count of 1 loads it.

#include <dlfcn.h>

#include <ios>

#include "columns.h"

namespace {

void add(const std::string& name, const std::string& file)
{
    const bench::Run load = [file](std::uint64_t times) {
        if (times > 0 && ::dlopen(file.c_str(), RTLD_LAZY) == nullptr)
            bench::fail(::dlerror());
    };
    bench::columns().push_back({"load", name, [load] { return load; }, {}});

    // With libstdc++ before 13, the first object that includes <iostream> sets up the standard
    // streams for all.  Here that is the program.
    const auto withStreams = [load] {
        static const std::ios_base::Init streams;
        return load;
    };
    bench::columns().push_back({"load/streams-in-use", name, withStreams, {}});
}

const bool ASKED = [] {
    add("tldevice", BENCH_LIBRARY);
    add("floor", BENCH_EMPTY_LIBRARY);
#ifdef BENCH_BOOST_FILESYSTEM
    add("boost_filesystem", BENCH_BOOST_FILESYSTEM);
#endif
#ifdef BENCH_QT
    add("Qt5Core", "libQt5Core.so.5");
#endif
    return true;
}();

}  // namespace
