#include <sstream>
#include <string>

#include "cli/Arguments.h"
#include "cli/words.h"
#include "commands/words.h"
#include "device/evidence.h"
#include "device/records.h"
#include "system/output.h"
#include "text/bytes.h"

namespace tool {

namespace {

struct AskedValues {
    std::string platform_;
    std::string manager_;
    bool yes_;
};

struct Difference {
    const FieldName* field_;
    Value a_;
    Value b_;
};

// clang-format off
const Field<AskedValues> ASKED_VALUES_FIELDS[] = {
    { "wanted_platform", "wanted platform", "the platform given with --platform; empty if none",    &AskedValues::platform_ },
    { "wanted_manager",  "wanted manager",  "the name given with --manager; empty if none",         &AskedValues::manager_ },
    { "yes",             "yes",             "whether every given value matches",                    &AskedValues::yes_ },
};

const Field<Difference> DIFFERENCE_FIELDS[] = {
    { "field", "field", "the name of the field", [](const Difference& d) { return std::string(d.field_->name_); } },
    { "a",     "a",     "its value in A",        [](const Difference& d) { return text(d.a_); } },
    { "b",     "b",     "its value in B",        [](const Difference& d) { return text(d.b_); } },
};
// clang-format on

Record recordNamed(const std::string& id)
{
    return recordOf(tl::DeviceType::toEnum(id));
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
    const Row rowA = recordFieldsOf(recordNamed(a));
    const Row rowB = recordFieldsOf(recordNamed(b));

    Answer answer;
    answer.lists_.push_back({"differences", {}});
    std::string forPeople;
    for (std::size_t i = 1; i < rowA.size(); ++i) {  // from 1: the ids always differ
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
    answer.fields_ = recordFieldsOf(record);
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
    for (const Cell& cell : rowOf(ASKED_VALUES_FIELDS, AskedValues{platform, manager, matches}))
        answer.fields_.push_back(cell);
    return arguments.print(answer, matches ? EXIT_YES : EXIT_NO);
}

// The script as indented lines, not as one escaped value.
std::string forPeople(const Record& record)
{
    constexpr const char* SCRIPT = "log_dir_script";
    Row fields;
    std::string script;
    for (const Cell& cell : recordFieldsOf(record)) {
        if (cell.is_->name_ != std::string(SCRIPT))
            fields.push_back(cell);
        else
            script = cell.is_->title_ + std::string(":\n");
    }
    std::istringstream lines(record.properties_->logDirScript_);
    for (std::string line; std::getline(lines, line);)
        script += line.empty() ? "\n" : "    " + escaped(line) + "\n";
    return inColumn(fields) + script;
}

int answerWithAll(const Arguments& arguments)
{
    Answer answer;
    answer.lists_.push_back({"records", {}});
    for (const Record& record : everyRecord()) {
        answer.people_ += (answer.people_.empty() ? "" : "\n") + forPeople(record);
        answer.lists_[0].rows_.push_back(recordFieldsOf(record));
    }
    return arguments.print(answer, EXIT_YES);
}

int properties(const Arguments& arguments)
{
    if (arguments.has("diff"))
        return difference(arguments);
    if (arguments.has("all"))
        return answerWithAll(arguments);

    const Record record =
        arguments.has("ID") ? recordNamed(arguments.value("ID")) : recordOf(typeOfThisDevice());
    if (arguments.has("platform") || arguments.has("manager"))
        return answerWhetherItMatches(arguments, record);
    if (arguments.has("script")) {
        print(record.properties_->logDirScript_);
        return EXIT_YES;
    }

    Answer answer;
    answer.fields_ = recordFieldsOf(record);
    answer.people_ = forPeople(record);
    return arguments.print(answer, EXIT_YES);
}

}  // namespace

const Command& propertiesCommand()
{
    static const Command command = [] {
        Command is;
        is.name_ = "properties";
        is.usage_ = {"[ID | --all] [--field F | --script]",
                     "[ID] [--platform WORD] [--manager NAME] [--field F]",
                     "--diff A B [--field F]"};
        is.summary_ = "show what the update manager knows about a device type";
        is.says_ = "Without ID or --all, shows the record of this device.";
        is.operands_ = {operand("ID", DEVICE_TYPES, "show this device type")};
        is.options_ = {
            flag("--all", "show every record"),
            option("--platform", "WORD", PLATFORMS, "test whether the platform is WORD"),
            option("--manager", "NAME", MANAGERS,
                   "test whether the update manager knows the device as NAME"),
            flag("--script", "print the log-directory script, byte for byte"),
            optionOfTwo("--diff", "A B", DEVICE_TYPES, "compare the records of two device types"),
            fieldOption(),
        };
        is.atMostOneOf_ = {
            {"ID", "all", "diff"},         {"all", "script", "platform"},
            {"all", "script", "manager"},  {"diff", "script", "platform"},
            {"diff", "script", "manager"}, {"field", "script"},
            {"script", "plain"},           {"script", "json"},
            {"script", "shell"},
        };
        is.fields_ = recordFields();
        is.answers_ = {
            {"properties", is.fields_, {}, namesOf(ASKED_VALUES_FIELDS)},
            {"records", {}, {{"records", is.fields_}}},
            {"differences", {}, {{"differences", namesOf(DIFFERENCE_FIELDS)}}},
        };
        is.examples_ = {{"Show what the update manager will see.", "tldevice properties"}};
        is.run_ = properties;
        return is;
    }();
    return command;
}

}  // namespace tool
