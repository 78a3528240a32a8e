#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "Answer.h"
#include "tl/DeviceType.h"

/// Why a device is taken for what it is.  Every decision here is DeviceType::find()'s; this only looks at
/// what it had to choose from.  Nothing is logged and nothing cached, as DeviceType::get() would.
namespace tool {

/// The three texts that detection looks at.
struct KernelTexts {
    std::string version_;
    std::string release_;
    std::string nodename_;
    bool ofThisDevice_;
};

enum class Verdict {
    WINS,      ///< this is what find() answers
    SHADOWED,  ///< lies inside the id that wins
    TIED,      ///< as long as the id that wins, but behind it in byte order
    SHORTER,   ///< elsewhere in the text, but shorter than the id that wins
};

/// One place where an id of the catalogue occurs.
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
    const char* called_;  ///< for people
    std::string text_;
    bool consulted_;
    DeviceType_t found_;
    std::vector<Match> matches_;
};

struct Warning {
    std::string code_;
    std::string message_;
};

struct Evidence {
    KernelTexts texts_;
    std::vector<Source> sources_;  ///< version, release, nodename
    DeviceType_t type_;
    std::string decidedBy_;  ///< a source's name; "" for none
    std::vector<Warning> warnings_;

    const Source* decider() const;
};

/// What uname(2) says.  Throws Failure where it fails.
KernelTexts textsOfThisDevice();

Evidence examine(const KernelTexts& texts);
Evidence examineThisDevice();

/// Looks at one text as find() does; `name` is what it is called in the matches.
Source examineText(const char* name, const char* called, const std::string& text);

/// The type of this device.  Throws Failure where it could not be identified.
DeviceType_t typeOfThisDevice();

/// A name of ::kernelVersionNames for a kernel of this release, as getKernelVersion() would say there.
std::string kernelClass(const KernelTexts& texts);

const char* nameOf(Verdict verdict);

/// The lists of an answer: texts, places and warnings.
List sourceList(const std::vector<Source>& sources);
List matchList(const std::vector<Source>& sources);
List warningList(const std::vector<Warning>& warnings);

/// The places in a text, for people.
std::string matchesForPeople(const Source& source, bool colour);

Answer identityAnswer(const Evidence& evidence);

}  // namespace tool
