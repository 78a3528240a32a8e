#include <string>

#include "Arguments.h"
#include "bytes.h"
#include "catalogue.h"
#include "evidence.h"
#include "output.h"
#include "tl/DeviceProperties.h"

namespace tool {

namespace {

struct Record {
    DeviceType_t type_;  // what it was looked up under
    const tl::DeviceProperties* properties_;
};

// clang-format off
const Field<Record> PROPERTY_FIELDS[] = {
    { { "id",                  "Id",             "the type that was asked for" },                          [](const Record& r) -> Value { return tl::DeviceType::toString(r.type_); } },
    { { "served_as",           "Served as",      "the type that the record is of" },                       [](const Record& r) -> Value { return tl::DeviceType::toString(r.properties_->type_); } },
    { { "code_name",           "Code name",      "the device's code name" },                               [](const Record& r) -> Value { return r.properties_->codeName_; } },
    { { "update_manager_name", "Update manager", "the name under which the update manager knows it" },     [](const Record& r) -> Value { return r.properties_->updateManagerName_; } },
    { { "platform",            "Platform",       "the word that package metadata is matched against" },    [](const Record& r) -> Value { return r.properties_->platform_; } },
    { { "package_dir",         "Package dir",    "a directory, ending in a slash" },                       [](const Record& r) -> Value { return r.properties_->packageDir_; } },
    { { "flag1",               "Flag 1",         "setting 1" },                                            [](const Record& r) -> Value { return r.properties_->flag1_; } },
    { { "flag2",               "Flag 2",         "setting 2" },                                            [](const Record& r) -> Value { return r.properties_->flag2_; } },
    { { "flag3",               "Flag 3",         "setting 3" },                                            [](const Record& r) -> Value { return r.properties_->flag3_; } },
    { { "flag4",               "Flag 4",         "setting 4" },                                            [](const Record& r) -> Value { return r.properties_->flag4_; } },
    { { "flag5",               "Flag 5",         "setting 5" },                                            [](const Record& r) -> Value { return r.properties_->flag5_; } },
    { { "flag6",               "Flag 6",         "setting 6" },                                            [](const Record& r) -> Value { return r.properties_->flag6_; } },
    { { "log_dir_script",      "Log dir script", "the script that makes the log directory" },              [](const Record& r) -> Value { return r.properties_->logDirScript_; } },
};

struct Asked {
    std::string platform_;
    std::string manager_;
    bool yes_;
};

const Field<Asked> ASKED_FIELDS[] = {
    { { "wanted_platform", "wanted platform", "the platform that was asked for; empty for none" },                 [](const Asked& a) -> Value { return a.platform_; } },
    { { "wanted_manager",  "wanted manager",  "the update manager's name that was asked for; empty for none" },    [](const Asked& a) -> Value { return a.manager_; } },
    { { "yes",             "yes",             "whether all that was asked for matches" },                          [](const Asked& a) -> Value { return a.yes_; } },
};

struct Difference {
    const FieldName* field_;
    Value a_;
    Value b_;
};

const Field<Difference> DIFFERENCE_FIELDS[] = {
    { { "field", "field", "which field" },     [](const Difference& d) -> Value { return std::string(d.field_->name_); } },
    { { "a",     "a",     "in the first" },    [](const Difference& d) -> Value { return text(d.a_); } },
    { { "b",     "b",     "in the second" },   [](const Difference& d) -> Value { return text(d.b_); } },
};
// clang-format on

Record recordOf(DeviceType_t type)
{
    const tl::DeviceProperties* properties = tl::DevicePropertiesMap::instance().get(type);
    if (properties == nullptr)
        throw Failure{EXIT_NO, "not_found",
                      "the update manager knows nothing of " + tl::DeviceType::toString(type) +
                          ": it has no properties record"};
    return {type, properties};
}

// Types without a record are left out rather than asked for: asking would log the miss.
bool hasRecord(DeviceType_t type)
{
    return type != DT_IRX && type != DT_PIOU;
}

std::string inBoth(const Difference& difference, const std::string& a, const std::string& b)
{
    return std::string(difference.field_->name_) + "\n  " + a + ": " +
           escaped(text(difference.a_)) + "\n  " + b + ": " + escaped(text(difference.b_)) + "\n";
}

int difference(const Arguments& arguments)
{
    const std::string& a = arguments.values("diff")[0];
    const std::string& b = arguments.values("diff")[1];
    const Row rowA = rowOf(PROPERTY_FIELDS, recordOf(typeOfId(a)));
    const Row rowB = rowOf(PROPERTY_FIELDS, recordOf(typeOfId(b)));

    Answer answer;
    answer.lists_.push_back({"differences", {}});
    std::string forPeople;
    for (std::size_t i = 1; i < rowA.size(); ++i) {  // from 1: that the ids differ is no news
        const Difference found{rowA[i].is_, rowA[i].value_, rowB[i].value_};
        if (found.a_ == found.b_)
            continue;
        answer.lists_[0].rows_.push_back(rowOf(DIFFERENCE_FIELDS, found));
        forPeople += inBoth(found, a, b);
    }
    const bool same = answer.lists_[0].rows_.empty();
    answer.people_ = same ? a + " and " + b + " have the same record\n" : forPeople;
    return arguments.print(answer, same ? EXIT_YES : EXIT_NO);
}

int answerWhetherItMatches(const Arguments& arguments, const Record& record)
{
    const std::string id = tl::DeviceType::toString(record.type_);
    const std::string platform = arguments.value("platform");
    const std::string manager = arguments.value("manager");
    bool matches = true;
    Answer answer;
    answer.fields_ = rowOf(PROPERTY_FIELDS, record);
    const auto ask = [&](const char* what, bool yes, const std::string& is,
                         const std::string& wanted) {
        matches = matches && yes;
        answer.people_ += (yes ? "yes: " : "no: ") + std::string(what) + " of " + id + " is '" +
                          escaped(is) + "'" + (yes ? "" : ", not '" + escaped(wanted) + "'") + "\n";
    };
    if (arguments.has("platform")) {
        ask("the platform", record.properties_->isPlatformMatch(platform),
            record.properties_->platform_, platform);
    }
    if (arguments.has("manager")) {
        ask("the update manager's name", record.properties_->isUpdateManagerMatch(manager),
            record.properties_->updateManagerName_, manager);
    }
    for (const Cell& cell : rowOf(ASKED_FIELDS, Asked{platform, manager, matches}))
        answer.fields_.push_back(cell);
    return arguments.print(answer, matches ? EXIT_YES : EXIT_NO);
}

// One record reads best with its script as a script.
std::string forPeople(const Row& row)
{
    const std::string script = text(row.back().value_);
    std::string out = inColumn(Row(row.begin(), row.end() - 1)) + row.back().is_->title_ + ":\n";
    for (std::size_t begin = 0; begin < script.size();) {
        const std::size_t end = std::min(script.find('\n', begin), script.size());
        out += end == begin ? "\n" : "    " + escaped(script.substr(begin, end - begin)) + "\n";
        begin = end + 1;
    }
    return out;
}

int everyRecord(const Arguments& arguments)
{
    Answer answer;
    answer.lists_.push_back({"records", {}});
    for (const DeviceType_t type : deviceTypes()) {
        if (!hasRecord(type))
            continue;
        const Row row = rowOf(PROPERTY_FIELDS, recordOf(type));
        answer.people_ += (answer.people_.empty() ? "" : "\n") + forPeople(row);
        answer.lists_[0].rows_.push_back(row);
    }
    return arguments.print(answer, EXIT_YES);
}

}  // namespace

int properties(const Arguments& arguments)
{
    arguments.atMostOneOf({"ID", "all", "diff"});
    arguments.atMostOneOf({"all", "script", "platform"});
    arguments.atMostOneOf({"diff", "script", "platform", "field"});
    arguments.atMostOneOf({"all", "diff", "script", "manager"});
    for (const char* other : {"platform", "manager", "field", "plain", "json", "shell"})
        arguments.atMostOneOf({"script", other});
    for (const char* other : {"platform", "manager"})
        arguments.atMostOneOf({"field", other});

    if (arguments.has("diff"))
        return difference(arguments);
    if (arguments.has("all"))
        return everyRecord(arguments);

    const Record record =
        recordOf(arguments.has("ID") ? typeOfId(arguments.value("ID")) : typeOfThisDevice());
    if (arguments.has("platform") || arguments.has("manager"))
        return answerWhetherItMatches(arguments, record);
    if (arguments.has("script")) {
        print(record.properties_->logDirScript_);
        return EXIT_YES;
    }

    Answer answer;
    answer.fields_ = rowOf(PROPERTY_FIELDS, record);
    answer.people_ = forPeople(answer.fields_);
    return arguments.print(answer, EXIT_YES);
}

Answer propertiesAnswer(DeviceType_t type)
{
    Answer answer;
    if (type != DT_INVALID && hasRecord(type))
        answer.fields_ = rowOf(PROPERTY_FIELDS, recordOf(type));
    return answer;
}

std::vector<FieldName> propertyAskedFields()
{
    return namesOf(ASKED_FIELDS);
}

std::vector<FieldName> propertyFields()
{
    return namesOf(PROPERTY_FIELDS);
}

std::vector<FieldName> differenceFields()
{
    return namesOf(DIFFERENCE_FIELDS);
}

}  // namespace tool
