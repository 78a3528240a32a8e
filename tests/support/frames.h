#pragma once

#include <cstdint>
#include <string>

/// Machines where a function's symbol and its pointer lead to a descriptor, which has the address
/// of the code: no address in the code can be resolved to a name.
#if defined(__hppa__) || defined(__ia64__) || \
    (defined(__powerpc64__) && (!defined(_CALL_ELF) || _CALL_ELF == 1))
constexpr bool FUNCTIONS_ARE_DESCRIPTORS = true;
#else
constexpr bool FUNCTIONS_ARE_DESCRIPTORS = false;
#endif

/// A regular expression for the line of a frame, "#2 unoptimised::deep(int)+0x1f (some_test)", or
/// of its module and offset alone where names cannot be known.
inline std::string frame(const std::string& number, const std::string& function,
                         const std::string& module)
{
    return "#" + number + " " + (FUNCTIONS_ARE_DESCRIPTORS ? "" : function + "\\+") +
           "0x[0-9a-f]+ \\(" + module + "\\)";
}

/// Where the code of a function begins.
template <class Function>
std::uintptr_t codeOf(Function* function)
{
    constexpr std::uintptr_t MARK = 3;  // PA-RISC marks pointers to descriptors
    const auto value = reinterpret_cast<std::uintptr_t>(function);
    return FUNCTIONS_ARE_DESCRIPTORS ? *reinterpret_cast<const std::uintptr_t*>(value & ~MARK)
                                     : value;
}
