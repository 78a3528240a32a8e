#include "hooks.h"

namespace hooks {

std::function<char*(int)> strerror;

namespace {

[[maybe_unused]] const bool registered = [] {
    onReset([] { strerror = nullptr; });
    return true;
}();

}  // namespace
}  // namespace hooks

extern "C" char* strerror(int error) noexcept
{
    return hooks::strerror ? hooks::strerror(error) : hooks::real<char*(int)>("strerror")(error);
}
