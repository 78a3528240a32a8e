#pragma once

#include <string>
#include <vector>

#include "answer/Field.h"
#include "system/Failure.h"

namespace tool {

class Arguments;
struct Command;

/// The values that an option or operand accepts: completion offers them, anything else is refused.
struct Words {
    enum class Are { FREE, LISTED, FILES, A_PROGRAM };

    Are are_ = Are::FREE;
    std::vector<std::string> (*list_)(const Command&) = nullptr;  ///< the words, if LISTED
    const char* called_ = nullptr;    ///< "device type"; null: other words are accepted as well
    const char* listedBy_ = nullptr;  ///< the command that lists them; null: the error message does
};

extern const Words FREE;
extern const Words FILES;

/// An option or an operand.
struct Option {
    const char* names_;  ///< "-t,--timeout", "--explain"; for an operand: "ID"
    const char* value_;  ///< placeholder for its value or values; null: it takes none
    const char* says_;
    Words words_;
    int values_ = 1;  ///< per use
    bool repeats_ = false;
};

Option flag(const char* names, const char* says);
Option option(const char* names, const char* value, const Words& words, const char* says);
/// An option with two values; `values`: "A B".
Option optionOfTwo(const char* names, const char* values, const Words& words, const char* says);
/// The same option, but it may be repeated.
Option repeated(Option option);
Option operand(const char* name, const Words& words, const char* says);
/// The program to run and its arguments: the rest of the command line.
Option program();

/// The long name of an option without its dashes, or the name of an operand.
std::string keyOf(const Option& option);
/// Its short name, if any, and its long name.
std::vector<std::string> spellings(const Option& option);

struct ListName {
    const char* name_;
    std::vector<FieldName> fields_;
};

/// A nested object of an answer.
struct PartShape {
    const char* name_;
    std::vector<FieldName> fields_ = {};
    std::vector<ListName> lists_ = {};
    std::vector<FieldName> maybeFields_ = {};
};

/// One shape of a command's answers, for the manual and the schema.
struct Shape {
    const char* name_;  ///< in the schema
    std::vector<FieldName> fields_ = {};
    std::vector<ListName> lists_ = {};
    std::vector<FieldName> maybeFields_ = {};  ///< present only with certain options
    std::vector<ListName> maybeLists_ = {};
    std::vector<PartShape> parts_ = {};
};

struct ExitRow {
    const char* codes_;
    const char* says_;
};

/// A shell command line that works on a device with the host name kr20v2.  The tests run them all,
/// in the order of the commands.
struct ExampleRow {
    const char* says_;
    const char* line_;
};

extern const std::vector<ExitRow> QUERY_EXITS;
extern const std::vector<ExitRow> PROGRAM_EXITS;

/// Describes a subcommand.  Parser, help, manual, completion and schema are made from this.
struct Command {
    const char* name_ = "";
    std::vector<const char*> usage_;  ///< without "tldevice" and the command's name;
                                      ///< a line that begins with blanks continues the previous one
    const char* summary_ = "";        ///< one line
    const char* says_ = "";           ///< the description, after the summary
    std::vector<Option> operands_;
    std::vector<Option> options_;  ///< without the common ones
    /// Keys of mutually exclusive options and operands.
    std::vector<std::vector<const char*>> atMostOneOf_;

    bool hasForms_ = true;            ///< takes --plain, --json and --shell
    const char* answersInJson_ = "";  ///< key of an option that implies --json
    const char* runsProgram_ =
        nullptr;  ///< key of the option that makes it run a program, and exit as
                  ///< timeout(1) does; "": it always does; null: never

    const char* fieldsTitle_ = "Fields";
    std::vector<FieldName> fields_;  ///< for --field and the help
    std::vector<Shape> answers_;
    std::vector<ExitRow> exits_ = QUERY_EXITS;

    std::vector<ExampleRow> examples_;

    int (*run_)(const Arguments&) = nullptr;
};

/// The options of every query, and those of every command.
const std::vector<Option>& formOptions();
const std::vector<Option>& commonOptions();

/// All options of `command`; null: the options that may precede a command.
std::vector<const Option*> optionsOf(const Command* command);

}  // namespace tool
