#include <unistd.h>

#include "Arguments.h"
#include "bytes.h"
#include "catalogue.h"
#include "evidence.h"

namespace tool {

namespace {

// clang-format off
const Field<DeviceType_t> TYPE_FIELDS[] = {
    { { "type",       "no",         "number of the type" },                              [](const DeviceType_t& t) -> Value { return static_cast<long>(t); } },
    { { "id",         "id",         "short id" },                                        [](const DeviceType_t& t) -> Value { return tl::DeviceType::toString(t); } },
    { { "name",       "name",       "display name" },                                    [](const DeviceType_t& t) -> Value { return tl::DeviceType::toServerName(t); } },
    { { "identifier", "identifier", "prefix of the identifiers that it announces" },     [](const DeviceType_t& t) -> Value { return identifierPrefix(t, true); } },
};

struct Finding {
    const char* level_;
    const char* code_;
    std::string id_;
    std::string message_;
};

const Field<Finding> FINDING_FIELDS[] = {
    { { "level",      "level",      "fail or note" },                                    [](const Finding& f) -> Value { return std::string(f.level_); } },
    { { "code",       "code",       "finds_itself, shadows or short_id" },               [](const Finding& f) -> Value { return std::string(f.code_); } },
    { { "id",         "id",         "the id that it is about" },                         [](const Finding& f) -> Value { return f.id_; } },
    { { "message",    "message",    "in words" },                                        [](const Finding& f) -> Value { return f.message_; } },
};
// clang-format on

std::vector<Finding> idsThatFindAnother()
{
    std::vector<Finding> findings;
    for (const DeviceType_t type : deviceTypes()) {
        const std::string& id = tl::DeviceType::toString(type);
        const DeviceType_t found = tl::DeviceType::find(id);
        if (found != type)
            findings.push_back(
                {"fail", "finds_itself", id, id + " finds " + tl::DeviceType::toString(found)});
    }
    return findings;
}

Finding hidden(const std::string& shorter, const std::string& longer)
{
    return {"note", "shadows", shorter, shorter + " inside " + longer + ": " + longer + " wins"};
}

Finding tooShort(const std::string& id)
{
    return {"note", "short_id", id,
            id + " has " + std::to_string(id.size()) +
                " characters and may occur in an ordinary host name"};
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
        if (id.size() <= SHORT_ID)
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
                         (failures.empty() ? "Every one of the " + all + " ids finds itself.\n"
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
        answer.errorCode_ = "not_found";
        answer.error_ = "no device type is named in \"" + escaped(wanted) + "\"";
    }
    answer.people_ = "\"" + escaped(wanted) + "\"\n" +
                     matchesForPeople(source, arguments.colour(STDOUT_FILENO)) + "\n" +
                     inColumn(answer.fields_);
    return arguments.print(answer, source.found_ == DT_INVALID ? EXIT_NO : EXIT_YES);
}

}  // namespace

int types(const Arguments& arguments)
{
    arguments.atMostOneOf({"ID", "find", "lint"});
    if (arguments.has("find"))
        return findIn(arguments);
    if (arguments.has("lint")) {
        arguments.atMostOneOf({"lint", "field"});
        return lint(arguments);
    }

    Answer answer;
    if (arguments.has("ID")) {
        answer.fields_ = rowOf(TYPE_FIELDS, typeOfId(arguments.value("ID")));
        return arguments.print(answer, EXIT_YES);
    }
    answer.lists_.push_back({"types", {}});
    for (const DeviceType_t type : deviceTypes())
        answer.lists_[0].rows_.push_back(rowOf(TYPE_FIELDS, type));
    return arguments.print(answer, EXIT_YES);
}

std::vector<FieldName> typeFields()
{
    return namesOf(TYPE_FIELDS);
}

std::vector<FieldName> findingFields()
{
    return namesOf(FINDING_FIELDS);
}

}  // namespace tool
