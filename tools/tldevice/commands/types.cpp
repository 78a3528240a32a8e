#include <unistd.h>

#include "answer/Level.h"
#include "cli/Arguments.h"
#include "cli/words.h"
#include "commands/words.h"
#include "device/catalogue.h"
#include "device/evidence.h"
#include "device/identity.h"
#include "text/bytes.h"

namespace tool {

namespace {

enum class FindingCode { FINDS_ITSELF, SHADOWS, SHORT_ID };

// clang-format off
constexpr Name<FindingCode> FINDING_CODES[] = {
    { FindingCode::FINDS_ITSELF, "finds_itself" },
    { FindingCode::SHADOWS,      "shadows" },
    { FindingCode::SHORT_ID,     "short_id" },
};

constexpr const auto& tableOf(FindingCode)
{
    return FINDING_CODES;
}

struct Finding {
    Level level_;
    FindingCode code_;
    std::string id_;
    std::string message_;
};

const Field<DeviceType_t> TYPE_FIELDS[] = {
    { "type",       "no",         "type number",       [](auto& t) { return static_cast<int>(t); } },
    { "id",         "id",         "short id",          [](auto& t) { return tl::DeviceType::toString(t); } },
    { "name",       "name",       "display name",      [](auto& t) { return tl::DeviceType::toServerName(t); } },
    { "identifier", "identifier", "identifier prefix", [](auto& t) { return identifierPrefix(t, true); } },
};

const Field<Finding> FINDING_FIELDS[] = {
    { "level",      "level",      "the severity",                    &Finding::level_ },
    { "code",       "code",       "the check",                       &Finding::code_ },
    { "id",         "id",         "the id that it concerns",         &Finding::id_ },
    { "message",    "message",    "what was found",                  &Finding::message_ },
};
// clang-format on

std::vector<Finding> idsThatFindAnother()
{
    std::vector<Finding> findings;
    for (const DeviceType_t type : deviceTypes()) {
        const std::string& id = tl::DeviceType::toString(type);
        const DeviceType_t found = tl::DeviceType::find(id);
        if (found != type)
            findings.push_back({Level::FAIL, FindingCode::FINDS_ITSELF, id,
                                id + " finds " + tl::DeviceType::toString(found)});
    }
    return findings;
}

Finding hidden(const std::string& shorter, const std::string& longer)
{
    return {Level::NOTE, FindingCode::SHADOWS, shorter,
            shorter + " inside " + longer + ": " + longer + " wins"};
}

Finding tooShort(const std::string& id)
{
    return {Level::NOTE, FindingCode::SHORT_ID, id,
            id + " has " + std::to_string(id.size()) +
                " characters and may occur in ordinary host names"};
}

std::vector<Finding> shadowingPairs()
{
    std::vector<Finding> findings;
    for (const DeviceType_t outer : deviceTypes())
        for (const DeviceType_t inner : deviceTypes()) {
            const std::string& longer = tl::DeviceType::toString(outer);
            const std::string& shorter = tl::DeviceType::toString(inner);
            if (outer != inner && longer.find(shorter) != std::string::npos)
                findings.push_back(hidden(shorter, longer));
        }
    return findings;
}

std::vector<Finding> shortIds()
{
    std::vector<Finding> findings;
    for (const DeviceType_t type : deviceTypes()) {
        const std::string& id = tl::DeviceType::toString(type);
        if (id.size() <= LONGEST_CHANCE)
            findings.push_back(tooShort(id));
    }
    return findings;
}

int lint(const Arguments& arguments)
{
    const std::vector<Finding> failures = idsThatFindAnother();
    Answer answer;
    answer.lists_.push_back({"findings", {}});
    for (const auto& findings : {failures, shadowingPairs(), shortIds()})
        for (const Finding& finding : findings)
            answer.lists_[0].rows_.push_back(rowOf(FINDING_FIELDS, finding));

    const std::string all = std::to_string(deviceTypes().size());
    if (arguments.form() == Form::PEOPLE)
        answer.people_ = aligned(answer.lists_[0].rows_, arguments.header()) +
                         (failures.empty() ? "Each of the " + all + " ids finds itself.\n"
                                           : std::to_string(failures.size()) + " of the " + all +
                                                 " ids find another type.\n");
    return arguments.print(answer, failures.empty() ? EXIT_YES : EXIT_NO);
}

int findIn(const Arguments& arguments)
{
    const std::string wanted = arguments.value("find");
    const Source source = examineText("text", "text", wanted);

    Answer answer;
    answer.fields_ = rowOf(TYPE_FIELDS, source.found_);
    answer.lists_ = {matchList({source})};
    if (source.found_ == DT_INVALID) {
        answer.errorCode_ = FailureCode::NOT_FOUND;
        answer.error_ = "no device type id in \"" + wanted + "\"";
    }
    answer.people_ = "\"" + escaped(wanted) + "\"\n" +
                     matchesForPeople(source, arguments.colour(STDOUT_FILENO)) + "\n" +
                     inColumn(answer.fields_);
    return arguments.print(answer, source.found_ == DT_INVALID ? EXIT_NO : EXIT_YES);
}

int types(const Arguments& arguments)
{
    if (arguments.has("find"))
        return findIn(arguments);
    if (arguments.has("lint"))
        return lint(arguments);

    Answer answer;
    if (arguments.has("ID")) {
        answer.fields_ = rowOf(TYPE_FIELDS, tl::DeviceType::toEnum(arguments.value("ID")));
        return arguments.print(answer, EXIT_YES);
    }
    answer.lists_ = {{"types", rowsOf(TYPE_FIELDS, deviceTypes())}};
    return arguments.print(answer, EXIT_YES);
}

}  // namespace

const Command& typesCommand()
{
    static const Command command = [] {
        Command is;
        is.name_ = "types";
        is.usage_ = {"[ID] [--field F]", "--find TEXT [--field F]", "--lint [--field F]"};
        is.summary_ = "list the device types, or find one in a text";
        is.says_ =
            "The longest id in a text wins; among ids of equal length, the first in byte order.";
        is.operands_ = {operand("ID", DEVICE_TYPES, "show this device type")};
        is.options_ = {
            option("--find", "TEXT", FREE, "find the device type in TEXT and show why"),
            flag("--lint",
                 "check the catalogue for ids that do not find themselves, that shadow others or "
                 "that are short"),
            fieldOption(),
        };
        is.atMostOneOf_ = {{"ID", "find", "lint"}};
        is.fields_ = namesOf(TYPE_FIELDS);
        is.answers_ = {
            {"type", is.fields_},
            {"types", {}, {{"types", is.fields_}}},
            {"find", is.fields_, {{"matches", matchFields()}}},
            {"lint", {}, {{"findings", namesOf(FINDING_FIELDS)}}},
        };
        is.examples_ = {
            {"Find the device type in a text.", "tldevice types --find my-kr20v2-board"}};
        is.run_ = types;
        return is;
    }();
    return command;
}

}  // namespace tool
