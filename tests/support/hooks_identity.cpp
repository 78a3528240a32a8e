#include "hooks.h"

namespace hooks {

std::function<int(utsname*)> uname;
std::function<int(char*, size_t)> gethostname;

namespace {

[[maybe_unused]] const bool registered = [] {
    onReset([] {
        uname = nullptr;
        gethostname = nullptr;
    });
    return true;
}();

}  // namespace
}  // namespace hooks

extern "C" {

int uname(utsname* kernel) noexcept
{
    return hooks::uname ? hooks::uname(kernel) : hooks::real<int(utsname*)>("uname")(kernel);
}

int gethostname(char* name, size_t length) noexcept
{
    return hooks::gethostname ? hooks::gethostname(name, length)
                              : hooks::real<int(char*, size_t)>("gethostname")(name, length);
}

}  // extern "C"
