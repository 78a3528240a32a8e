#pragma once

#include <array>
#include <string_view>
#include <utility>

/// The rules of detection.  The library applies them to the running kernel, the companion command
/// also to strings given on its command line.
namespace tl {

/// The texts in the order in which they are searched: the first with an id in it decides.
template <class Text>
std::array<Text, 3> inSearchOrder(Text version, Text release, Text nodename)
{
    return {std::move(version), std::move(release), std::move(nodename)};
}

/// The class of a kernel with this release: what getKernelVersion() returns on it.
inline int kernelClassOf(std::string_view release)
{
    const auto beginsWith = [release](std::string_view prefix) {
        return release.substr(0, prefix.size()) == prefix;
    };
    if (beginsWith("2.6"))
        return 1;
    if (beginsWith("3."))
        return 1;  // a 3.x kernel counts as a 2.6 kernel, on purpose
    if (beginsWith("2.4"))
        return 2;
    return 0;
}

}  // namespace tl
