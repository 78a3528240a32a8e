#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "device/Warning.h"
#include "text/names.h"
#include "tl/DeviceType.h"

/// Why a device is identified as a type.  DeviceType::find() makes every decision; this only shows
/// what it had to choose from.  Unlike DeviceType::get(), it logs and caches nothing.
namespace tool {

/// The three texts that detection searches.
struct KernelTexts {
    std::string version_;
    std::string release_;
    std::string nodename_;
    bool ofThisDevice_;
};

/// The fate of an id that occurs in a text.
enum class Verdict {
    WINS,      ///< find() returns this one
    SHADOWED,  ///< inside the winner
    TIED,      ///< as long as the winner, but after it in byte order
    SHORTER,   ///< elsewhere in the text, and shorter than the winner
};

// clang-format off
inline constexpr Name<Verdict> VERDICTS[] = {
    { Verdict::WINS,     "wins" },
    { Verdict::SHADOWED, "shadowed" },
    { Verdict::TIED,     "tied" },
    { Verdict::SHORTER,  "shorter" },
};
// clang-format on

constexpr const auto& tableOf(Verdict)
{
    return VERDICTS;
}

/// One occurrence of an id in a text.
struct Match {
    const char* source_;
    bool consulted_;
    std::string id_;
    std::size_t offset_;
    Verdict verdict_;
    std::string why_;
};

struct Source {
    const char* name_;
    const char* called_;  ///< its human-readable name
    std::string text_;
    bool consulted_;
    DeviceType_t found_;
    std::vector<Match> matches_;
};

struct Evidence {
    KernelTexts texts_;
    std::vector<Source> sources_;  ///< version, release, nodename
    DeviceType_t type_;
    std::string decidedBy_;  ///< a source's name; "" if none
    std::vector<Warning> warnings_;

    const Source* decider() const;
};

/// From uname(2).  Throws Failure if that fails.
KernelTexts textsOfThisDevice();

Evidence examine(const KernelTexts& texts);
Evidence examineThisDevice();

/// Searches one text as find() does.  `name`: the source in its matches; `called`: human-readable.
Source examineText(const char* name, const char* called, const std::string& text);

/// The type of this device.  Throws Failure if it could not be identified.
DeviceType_t typeOfThisDevice();

/// The name in ::kernelVersionNames that getKernelVersion() would select on a kernel of this
/// release.
std::string kernelClass(const KernelTexts& texts);

}  // namespace tool
