#pragma once

#include <string>
#include <vector>

#include "Answer.h"
#include "tl/DeviceType.h"

/// The tables of everything that the command understands.  Help, manual, completion and the parser are all
/// made from them.
namespace tool {

class Arguments;

enum Command : unsigned {
    IDENTIFY = 1U << 0,
    TYPES = 1U << 1,
    PROPERTIES = 1U << 2,
    PATHS = 1U << 3,
    SANDBOX = 1U << 4,
    RUN = 1U << 5,
    DOCTOR = 1U << 6,
    QUERIES = IDENTIFY | TYPES | PROPERTIES | PATHS | SANDBOX | DOCTOR,
    EVERYWHERE = QUERIES | RUN,
};

/// What stands behind an option or for an operand, as far as completion goes.
enum class Completes {
    NOTHING,
    ID,
    FIELD,
    PATH_NAME,
    FILE,
    PROGRAM,
    WHEN,
    ACTION,
    PLATFORM,
    MANAGER
};

struct OptionRow {
    unsigned commands_;  ///< where it is understood
    const char* names_;  ///< "-t,--timeout", or the name of an operand: "ID"
    const char* value_;  ///< what its value is called; null: it takes none
    Completes completes_;
    int values_;  ///< how many values one use takes
    bool repeats_;
    const char* says_;
};

/// A list in an answer, and the fields of its rows.
struct ListName {
    const char* name_;
    std::vector<FieldName> fields_;
};

struct CommandRow {
    Command command_;
    const char* name_;
    std::vector<const char*> usage_;  ///< without the program's and the command's name
    const char* summary_;             ///< one line
    const char* says_;                ///< what one should know besides
    int (*run_)(const Arguments&);
    std::vector<FieldName> fields_;  ///< of its answer; what --field takes
    std::vector<ListName> lists_;    ///< that its answers may hold
    std::vector<FieldName>
        asked_;  ///< that an answer holds besides where only a question was asked
};

struct ExitRow {
    const char* codes_;
    const char* says_;
};

struct FileRow {
    const char* path_;
    const char* says_;
};

struct ExampleRow {
    const char* says_;
    const char* line_;
};

const std::vector<OptionRow>& options();
const std::vector<CommandRow>& commands();
const std::vector<ExitRow>& queryExits();
const std::vector<ExitRow>& runExits();
const std::vector<FileRow>& files();
const std::vector<FileRow>& variables();
const std::vector<ExampleRow>& examples();

const CommandRow* commandNamed(const std::string& name);

/// The long name of an option without its dashes, or the name of an operand.
std::string keyOf(const OptionRow& option);
bool isOperand(const OptionRow& option);

/// `tldevice --help` and `tldevice COMMAND --help`, in 80 columns.
std::string help();
std::string help(const CommandRow& command);

int identify(const Arguments& arguments);
int types(const Arguments& arguments);
int properties(const Arguments& arguments);
int paths(const Arguments& arguments);
int sandbox(const Arguments& arguments);
int run(const Arguments& arguments);
int doctor(const Arguments& arguments);

/// The update manager's record of a type; no fields where it has none.
Answer propertiesAnswer(DeviceType_t type);
/// What `sandbox status` answers.
Answer sandboxAnswer();

std::vector<FieldName> identifyFields();
std::vector<FieldName> identifyAskedFields();
std::vector<FieldName> typeFields();
std::vector<FieldName> propertyFields();
std::vector<FieldName> propertyAskedFields();
std::vector<FieldName> reportFields();
std::vector<FieldName> pathFields();
std::vector<FieldName> sandboxFields();
std::vector<FieldName> sourceFields();
std::vector<FieldName> matchFields();
std::vector<FieldName> warningFields();
std::vector<FieldName> findingFields();
std::vector<FieldName> differenceFields();
std::vector<FieldName> checkFields();

}  // namespace tool
