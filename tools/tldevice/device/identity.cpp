#include "device/identity.h"

#include <algorithm>

#include "device/catalogue.h"
#include "text/colour.h"

namespace tool {

namespace {

const std::string& idOf(DeviceType_t type)
{
    return tl::DeviceType::toString(type);
}

const std::string& displayNameOf(const Evidence& evidence)
{
    return tl::DeviceType::toServerName(evidence.type_);
}

std::string prefixOf(const Evidence& evidence)
{
    return identifierPrefix(evidence.type_, evidence.texts_.ofThisDevice_);
}

std::string idFoundIn(const Source& source)
{
    return source.found_ == DT_INVALID ? "" : idOf(source.found_);
}

const std::vector<const char*> SOURCES = {"version", "release", "nodename"};
const std::vector<const char*> PLACES = {"version", "release", "nodename", "text"};
const std::vector<const char*> DECIDERS = {"version", "release", "nodename", ""};
const std::vector<const char*> CLASSES = {"2.6", "2.4", "<error>"};

// clang-format off
const Field<Source> SOURCE_FIELDS[] = {
    { "source",    "source",    "the source",                        &Source::name_, SOURCES },
    { "text",      "text",      "its text",                          &Source::text_ },
    { "consulted", "consulted", "whether it was searched",           &Source::consulted_ },
    { "found",     "found",     "the id found in it; empty if none", idFoundIn },
};

const Field<Match> MATCH_FIELDS[] = {
    { "source",    "source",    "the source of the text",            &Match::source_, PLACES },
    { "offset",    "offset",    "the byte offset of the id, from 0", &Match::offset_ },
    { "id",        "id",        "the id",                            &Match::id_ },
    { "verdict",   "verdict",   "the result for this id",            &Match::verdict_ },
    { "why",       "why",       "the reason for it",                 &Match::why_ },
    { "consulted", "consulted", "whether its source was searched",   &Match::consulted_ },
};

const Field<Evidence> IDENTITY_FIELDS[] = {
    { "id",         "Id",         "short id",                          [](auto& e) { return idOf(e.type_); } },
    { "name",       "Name",       "display name",                      displayNameOf },
    { "type",       "Type",       "type number; 0 if not identified",  [](auto& e) { return static_cast<int>(e.type_); } },
    { "identifier", "Identifier", "identifier prefix",                 prefixOf },
    { "kernel",     "Kernel",     "kernel class (3.x counts as 2.6)",  [](auto& e) { return kernelClass(e.texts_); }, CLASSES },
    { "source",     "Decided by", "the source that decided",           &Evidence::decidedBy_, DECIDERS },
    { "version",    "Version",    "kernel build string (uname -v)",    [](auto& e) { return e.texts_.version_; } },
    { "release",    "Release",    "kernel release (uname -r)",         [](auto& e) { return e.texts_.release_; } },
    { "nodename",   "Nodename",   "host name (uname -n)",              [](auto& e) { return e.texts_.nodename_; } },
    { "identified", "Identified", "whether the device was identified", [](auto& e) { return e.type_ != DT_INVALID; } },
};
// clang-format on

}  // namespace

Answer identityAnswer(const Evidence& evidence)
{
    Answer answer;
    answer.fields_ = rowOf(IDENTITY_FIELDS, evidence);
    return answer;
}

Answer explainedAnswer(const Evidence& evidence)
{
    Answer answer = identityAnswer(evidence);
    answer.lists_ = {{"sources", rowsOf(SOURCE_FIELDS, evidence.sources_)},
                     matchList(evidence.sources_),
                     warningList(evidence.warnings_)};
    return answer;
}

List matchList(const std::vector<Source>& sources)
{
    List list{"matches", {}};
    for (const Source& source : sources)
        for (const Match& match : source.matches_)
            list.rows_.push_back(rowOf(MATCH_FIELDS, match));
    return list;
}

std::string matchesForPeople(const Source& source, bool colour)
{
    if (source.matches_.empty())
        return "    no id found\n";

    std::string out;
    for (const Match& match : source.matches_) {
        std::string line = "at " + std::to_string(match.offset_);
        line.resize(std::max<std::size_t>(line.size() + 2, 7), ' ');
        line += match.id_;
        line.resize(std::max<std::size_t>(line.size() + 2, 22), ' ');
        const bool wins = match.verdict_ == Verdict::WINS;
        line += (wins && !match.consulted_ ? "would win" : nameOf(match.verdict_)) +
                (": " + match.why_);
        out +=
            "    " + coloured(line, Colour::BOLD_GREEN, colour && wins && match.consulted_) + "\n";
    }
    return out;
}

std::vector<FieldName> identityFields()
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

}  // namespace tool
