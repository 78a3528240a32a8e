#pragma once

#include "hooks.h"

// HOOK(...) defines, for a row of libcCalls.def, the hook and the function, which calls the hook if
// it is set.
#define HOOK(result, name, parameters, arguments, how) \
    namespace hooks {                                  \
    std::function<result parameters> name;             \
    }                                                  \
    HOOK_RESETS(name)                                  \
    HOOK_##how(result, name, parameters, arguments)

#define HOOK_RESETS(name)                                      \
    namespace {                                                \
    [[maybe_unused]] const bool name##Resets =                 \
        (hooks::onReset([] { hooks::name = nullptr; }), true); \
    }

#define HOOK_CANCELLABLE(result, name, parameters, arguments)                 \
    extern "C" result name parameters                                         \
    {                                                                         \
        return hooks::name ? hooks::name arguments                            \
                           : hooks::real<result parameters>(#name) arguments; \
    }

#define HOOK_NOEXCEPT(result, name, parameters, arguments)                    \
    extern "C" result name parameters noexcept                                \
    {                                                                         \
        return hooks::name ? hooks::name arguments                            \
                           : hooks::real<result parameters>(#name) arguments; \
    }

#define HOOK_BY_HAND(result, name, parameters, arguments)
