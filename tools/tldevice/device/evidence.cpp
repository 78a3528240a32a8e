#include "device/evidence.h"

#include <sys/utsname.h>

#include <algorithm>
#include <cctype>
#include <cerrno>

#include "device/catalogue.h"
#include "src/device/detectionRules.h"
#include "system/Failure.h"
#include "system/output.h"

namespace tool {

namespace {

constexpr std::size_t KERNEL_FIELD = sizeof(utsname::release) - 1;  // 64

std::string quoted(const std::string& text)
{
    return "\"" + text + "\"";
}

// All ids that find() searches for: those of the types, and the placeholder for no type.
std::vector<std::string> searchedIds()
{
    std::vector<std::string> ids = {tl::DeviceType::INVALID_DEV_STR};
    for (const DeviceType_t type : deviceTypes())
        ids.push_back(tl::DeviceType::toString(type));
    std::sort(ids.begin(), ids.end());
    return ids;
}

// The id that find() picked.  If it returns DT_INVALID, either nothing matched or the longest match
// is the placeholder for no type.
std::string pickedId(const std::string& text)
{
    const DeviceType_t found = tl::DeviceType::find(text);
    const std::string& invalid = tl::DeviceType::INVALID_DEV_STR;
    if (found != DT_INVALID)
        return tl::DeviceType::toString(found);
    return text.find(invalid) != std::string::npos ? invalid : "";
}

bool liesInside(const std::string& text, const std::string& winner, std::size_t offset,
                std::size_t length)
{
    for (std::size_t at = text.find(winner); at != std::string::npos;
         at = text.find(winner, at + 1))
        if (offset >= at && offset + length <= at + winner.size())
            return true;
    return false;
}

Match judged(const std::string& text, const std::string& winner, const std::string& id,
             std::size_t offset)
{
    Match match{nullptr, true, id, offset, Verdict::SHORTER, ""};
    if (id == winner) {
        match.verdict_ = Verdict::WINS;
        match.why_ = "the longest id";
    } else if (liesInside(text, winner, offset, id.size())) {
        match.verdict_ = Verdict::SHADOWED;
        match.why_ = id + " inside " + winner;
    } else if (id.size() == winner.size()) {
        match.verdict_ = Verdict::TIED;
        match.why_ = "as long as " + winner + ", which comes first in byte order";
    } else {
        match.why_ = "shorter than " + winner;
    }
    return match;
}

bool isWordCharacter(char c)
{
    return std::isalnum(static_cast<unsigned char>(c)) != 0;
}

bool isPartOfAWord(const std::string& text, const Match& match)
{
    const std::size_t end = match.offset_ + match.id_.size();
    return (match.offset_ > 0 && isWordCharacter(text[match.offset_ - 1])) ||
           (end < text.size() && isWordCharacter(text[end]));
}

void warnOfContradiction(const Evidence& evidence, const Source& source, std::vector<Warning>& out)
{
    if (source.found_ == DT_INVALID || source.found_ == evidence.type_)
        return;
    out.push_back(
        {WarningCode::CONTRADICTION, "the " + std::string(source.called_) + " contains " +
                                         tl::DeviceType::toString(source.found_) + ", but the " +
                                         evidence.decider()->called_ +
                                         " decided: " + tl::DeviceType::toString(evidence.type_)});
}

std::string endsInWhole(const std::string& id)
{
    return " and ends in " + id + ": a longer id may have been truncated";
}

std::string endsInPart(const std::string& part, const std::string& id)
{
    return " and ends in " + quoted(part) + ": " + id + " may have been truncated";
}

// The end of a text, if it looks like an id or the start of one; else "".
std::string suspiciousEnd(const Source& source)
{
    const std::size_t size = source.text_.size();
    for (const Match& match : source.matches_)
        if (match.offset_ + match.id_.size() == size)
            return endsInWhole(match.id_);

    for (const std::string& id : searchedIds())
        for (std::size_t length = id.size() - 1; length >= 2; --length)
            if (source.text_.compare(size - length, length, id, 0, length) == 0)
                return endsInPart(id.substr(0, length), id);
    return "";
}

// The kernel silently truncates these fields at 64 bytes.  A longer text does not come from a
// kernel.
void warnOfCut(const Source& source, std::vector<Warning>& out)
{
    if (source.text_.size() != KERNEL_FIELD)
        return;
    const std::string end = suspiciousEnd(source);
    if (!end.empty())
        out.push_back({WarningCode::TRUNCATION, "the " + std::string(source.called_) +
                                                    " fills its " + std::to_string(KERNEL_FIELD) +
                                                    " bytes" + end});
}

void warnOfHiddenTypes(const Source& source, std::vector<Warning>& out)
{
    if (source.found_ == DT_INVALID && source.matches_.size() > 1)
        out.push_back(
            {WarningCode::INVALID_ROW, "the " + std::string(source.called_) + " contains " +
                                           quoted(tl::DeviceType::INVALID_DEV_STR) +
                                           ", which is longer than any id and means no type"});
}

void warnOfShortId(const Source& source, std::vector<Warning>& out)
{
    for (const Match& match : source.matches_) {
        if (match.verdict_ != Verdict::WINS)
            continue;
        if (match.id_.size() <= LONGEST_CHANCE && isPartOfAWord(source.text_, match))
            out.push_back({WarningCode::SHORT_ID,
                           "'" + match.id_ + "' is part of a longer word in the " + source.called_ +
                               ", " + quoted(source.text_) + ": possibly by chance"});
        return;
    }
}

void warn(Evidence& evidence)
{
    for (const Source& source : evidence.sources_) {
        warnOfContradiction(evidence, source, evidence.warnings_);
        warnOfCut(source, evidence.warnings_);
        warnOfHiddenTypes(source, evidence.warnings_);
    }
    if (evidence.decider() != nullptr)
        warnOfShortId(*evidence.decider(), evidence.warnings_);
}

}  // namespace

const Source* Evidence::decider() const
{
    for (const Source& source : sources_)
        if (decidedBy_ == source.name_)
            return &source;
    return nullptr;
}

KernelTexts textsOfThisDevice()
{
    utsname kernel;
    if (::uname(&kernel) != 0)
        throw Failure{EXIT_UNIDENTIFIED, FailureCode::UNIDENTIFIED,
                      "uname failed: " + reason(errno)};
    return {kernel.version, kernel.release, kernel.nodename, true};
}

Source examineText(const char* name, const char* called, const std::string& text)
{
    Source source{name, called, text, true, tl::DeviceType::find(text), {}};
    const std::string winner = pickedId(text);
    for (const std::string& id : searchedIds())
        for (std::size_t at = text.find(id); at != std::string::npos; at = text.find(id, at + 1))
            source.matches_.push_back(judged(text, winner, id, at));

    std::stable_sort(
        source.matches_.begin(), source.matches_.end(), [](const Match& a, const Match& b) {
            return a.verdict_ != b.verdict_ ? a.verdict_ < b.verdict_ : a.offset_ < b.offset_;
        });
    for (Match& match : source.matches_)
        match.source_ = name;
    return source;
}

Evidence examine(const KernelTexts& texts)
{
    Evidence evidence{texts, {}, DT_INVALID, "", {}};
    for (Source& source : tl::inSearchOrder(examineText("version", "build string", texts.version_),
                                            examineText("release", "release", texts.release_),
                                            examineText("nodename", "host name", texts.nodename_)))
        evidence.sources_.push_back(std::move(source));

    for (Source& source : evidence.sources_) {
        source.consulted_ = evidence.type_ == DT_INVALID;
        for (Match& match : source.matches_)
            match.consulted_ = source.consulted_;
        if (!source.consulted_ || source.found_ == DT_INVALID)
            continue;
        evidence.type_ = source.found_;
        evidence.decidedBy_ = source.name_;
    }
    warn(evidence);
    return evidence;
}

Evidence examineThisDevice()
{
    return examine(textsOfThisDevice());
}

DeviceType_t typeOfThisDevice()
{
    const DeviceType_t type = examineThisDevice().type_;
    if (type == DT_INVALID)
        throw Failure{
            EXIT_UNIDENTIFIED, FailureCode::UNIDENTIFIED,
            "this device could not be identified; 'tldevice identify --explain' shows why"};
    return type;
}

std::string kernelClass(const KernelTexts& texts)
{
    const int number = texts.ofThisDevice_ ? getKernelVersion() : tl::kernelClassOf(texts.release_);
    return kernelVersionNames[number];
}

}  // namespace tool
