#include "evidence.h"

#include <sys/utsname.h>

#include <algorithm>
#include <cctype>
#include <cerrno>

#include "Failure.h"
#include "bytes.h"
#include "catalogue.h"
#include "commands.h"
#include "output.h"

namespace tool {

namespace {

constexpr std::size_t KERNEL_FIELD = sizeof(utsname::release) - 1;  // 64

std::string quoted(const std::string& text)
{
    return "\"" + escaped(text) + "\"";
}

// Ids that find() looks for: those of the types, and the one that stands for no type.
std::vector<std::string> searchedIds()
{
    std::vector<std::string> ids = {tl::DeviceType::INVALID_DEV_STR};
    for (const DeviceType_t type : deviceTypes())
        ids.push_back(tl::DeviceType::toString(type));
    std::sort(ids.begin(), ids.end());
    return ids;
}

// The id that find() picked.  Where it answers DT_INVALID, either nothing matched, or the longest match is
// that of the row for no type.
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
    out.push_back({"contradiction", "the " + std::string(source.called_) + " holds " +
                                        tl::DeviceType::toString(source.found_) + ", but the " +
                                        evidence.decider()->called_ +
                                        " decided: " + tl::DeviceType::toString(evidence.type_)});
}

std::string endsInWhole(const std::string& id)
{
    return " and ends in " + id + ": a longer id may have been cut there";
}

std::string endsInPart(const std::string& part, const std::string& id)
{
    return " and ends in " + quoted(part) + ": that may be " + id + ", cut";
}

// How a text ends, as far as that makes one think of an id; "" where it does not.
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

// The kernel's fields hold 64 bytes and cut what is longer without a word.  A longer text is not the kernel's.
void warnOfCut(const Source& source, std::vector<Warning>& out)
{
    if (source.text_.size() != KERNEL_FIELD)
        return;
    const std::string end = suspiciousEnd(source);
    if (!end.empty())
        out.push_back({"truncation", "the " + std::string(source.called_) + " fills its " +
                                         std::to_string(KERNEL_FIELD) + " bytes" + end});
}

void warnOfHiddenTypes(const Source& source, std::vector<Warning>& out)
{
    if (source.found_ == DT_INVALID && source.matches_.size() > 1)
        out.push_back({"invalid_row", "the " + std::string(source.called_) + " holds " +
                                          quoted(tl::DeviceType::INVALID_DEV_STR) +
                                          ", which is longer than every id and stands for none"});
}

void warnOfShortId(const Source& source, std::vector<Warning>& out)
{
    for (const Match& match : source.matches_) {
        if (match.verdict_ != Verdict::WINS)
            continue;
        if (match.id_.size() <= SHORT_ID && isPartOfAWord(source.text_, match))
            out.push_back({"short_id", "'" + match.id_ + "' is part of a longer word in the " +
                                           source.called_ + ", " + quoted(source.text_) +
                                           ": chance, perhaps"});
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

bool beginsWith(const std::string& text, const char* prefix)
{
    return text.rfind(prefix, 0) == 0;
}

constexpr const char* BOLD_GREEN = "\033[1;32m";
constexpr const char* PLAIN_COLOUR = "\033[0m";

// clang-format off
const Field<Source> SOURCE_FIELDS[] = {
    { { "source",    "source",    "version, release or nodename" },           [](const Source& s) -> Value { return std::string(s.name_); } },
    { { "text",      "text",      "what it says" },                           [](const Source& s) -> Value { return s.text_; } },
    { { "consulted", "consulted", "whether it was asked at all" },            [](const Source& s) -> Value { return s.consulted_; } },
    { { "found",     "found",     "the id that it names; empty for none" },   [](const Source& s) -> Value { return s.found_ == DT_INVALID ? "" : tl::DeviceType::toString(s.found_); } },
};

const Field<Match> MATCH_FIELDS[] = {
    { { "source",    "source",    "where the id occurs" },                    [](const Match& m) -> Value { return std::string(m.source_); } },
    { { "offset",    "offset",    "at which byte, from 0" },                  [](const Match& m) -> Value { return static_cast<long>(m.offset_); } },
    { { "id",        "id",        "the id" },                                 [](const Match& m) -> Value { return m.id_; } },
    { { "verdict",   "verdict",   "wins, shadowed, tied or shorter" },        [](const Match& m) -> Value { return std::string(nameOf(m.verdict_)); } },
    { { "why",       "why",       "in words" },                               [](const Match& m) -> Value { return m.why_; } },
    { { "consulted", "consulted", "whether its source was asked at all" },    [](const Match& m) -> Value { return m.consulted_; } },
};

const Field<Warning> WARNING_FIELDS[] = {
    { { "code",      "code",      "for programs" },                           [](const Warning& w) -> Value { return w.code_; } },
    { { "message",   "message",   "for people" },                             [](const Warning& w) -> Value { return w.message_; } },
};

const Field<Evidence> IDENTITY_FIELDS[] = {
    { { "id",         "Id",         "short id of the type" },                             [](const Evidence& e) -> Value { return tl::DeviceType::toString(e.type_); } },
    { { "name",       "Name",       "display name" },                                     [](const Evidence& e) -> Value { return tl::DeviceType::toServerName(e.type_); } },
    { { "type",       "Type",       "number of the type; 0 for none" },                   [](const Evidence& e) -> Value { return static_cast<long>(e.type_); } },
    { { "identifier", "Identifier", "prefix of the identifiers that it announces" },      [](const Evidence& e) -> Value { return identifierPrefix(e.type_, e.texts_.ofThisDevice_); } },
    { { "kernel",     "Kernel",     "kernel class: 2.6 (3.x too), 2.4 or <error>" },      [](const Evidence& e) -> Value { return kernelClass(e.texts_); } },
    { { "source",     "Decided by", "version, release or nodename; empty for none" },     [](const Evidence& e) -> Value { return e.decidedBy_; } },
    { { "version",    "Version",    "the kernel's build string" },                        [](const Evidence& e) -> Value { return e.texts_.version_; } },
    { { "release",    "Release",    "the kernel's release" },                             [](const Evidence& e) -> Value { return e.texts_.release_; } },
    { { "nodename",   "Nodename",   "the host name" },                                    [](const Evidence& e) -> Value { return e.texts_.nodename_; } },
};
// clang-format on

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
        throw Failure{EXIT_UNIDENTIFIED, "unidentified", "uname failed: " + reason(errno)};
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
    evidence.sources_ = {examineText("version", "build string", texts.version_),
                         examineText("release", "release", texts.release_),
                         examineText("nodename", "host name", texts.nodename_)};

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
            EXIT_UNIDENTIFIED, "unidentified",
            "this device could not be identified; 'tldevice identify --explain' shows why"};
    return type;
}

// getKernelVersion() only speaks of the running kernel; this is its rule for a release from elsewhere.
std::string kernelClass(const KernelTexts& texts)
{
    int number = 0;
    if (texts.ofThisDevice_)
        number = getKernelVersion();
    else if (beginsWith(texts.release_, "2.6") || beginsWith(texts.release_, "3."))
        number = 1;
    else if (beginsWith(texts.release_, "2.4"))
        number = 2;
    return kernelVersionNames[number];
}

const char* nameOf(Verdict verdict)
{
    switch (verdict) {
        // clang-format off
        case Verdict::WINS:     return "wins";
        case Verdict::SHADOWED: return "shadowed";
        case Verdict::TIED:     return "tied";
        case Verdict::SHORTER:  break;
            // clang-format on
    }
    return "shorter";
}

List sourceList(const std::vector<Source>& sources)
{
    List list{"sources", {}};
    for (const Source& source : sources)
        list.rows_.push_back(rowOf(SOURCE_FIELDS, source));
    return list;
}

List matchList(const std::vector<Source>& sources)
{
    List list{"matches", {}};
    for (const Source& source : sources)
        for (const Match& match : source.matches_)
            list.rows_.push_back(rowOf(MATCH_FIELDS, match));
    return list;
}

List warningList(const std::vector<Warning>& warnings)
{
    List list{"warnings", {}};
    for (const Warning& warning : warnings)
        list.rows_.push_back(rowOf(WARNING_FIELDS, warning));
    return list;
}

std::string matchesForPeople(const Source& source, bool colour)
{
    if (source.matches_.empty())
        return "    no id in it\n";

    std::string out;
    for (const Match& match : source.matches_) {
        const bool decides = colour && match.consulted_ && match.verdict_ == Verdict::WINS;
        std::string line = "at " + std::to_string(match.offset_);
        line.resize(std::max<std::size_t>(line.size() + 2, 7), ' ');
        line += match.id_;
        line.resize(std::max<std::size_t>(line.size() + 2, 22), ' ');
        const bool wouldWin = match.verdict_ == Verdict::WINS && !match.consulted_;
        line += (wouldWin ? "would win" : nameOf(match.verdict_)) + (": " + match.why_);
        out += "    " + (decides ? BOLD_GREEN + line + PLAIN_COLOUR : line) + "\n";
    }
    return out;
}

Answer identityAnswer(const Evidence& evidence)
{
    return {rowOf(IDENTITY_FIELDS, evidence), {}, "", "", ""};
}

std::vector<FieldName> identifyFields()
{
    return namesOf(IDENTITY_FIELDS);
}

std::vector<FieldName> sourceFields()
{
    return namesOf(SOURCE_FIELDS);
}

std::vector<FieldName> matchFields()
{
    return namesOf(MATCH_FIELDS);
}

std::vector<FieldName> warningFields()
{
    return namesOf(WARNING_FIELDS);
}

}  // namespace tool
