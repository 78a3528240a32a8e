#include "commands.h"

namespace tool {

// One line is one option or operand.  An option that stands in several commands does the same in all.

// clang-format off
const std::vector<OptionRow>& options()
{
    static const std::vector<OptionRow> rows = {
//    understood by                        names                value      completes             values repeats  what it does
    { IDENTIFY,                            "--explain",         nullptr,   Completes::NOTHING,   0, false, "show what each source holds, which id wins and why" },
    { IDENTIFY,                            "--is",              "ID",      Completes::ID,        1, false, "only ask whether the device is of type ID" },
    { IDENTIFY,                            "--version-string",  "TEXT",    Completes::NOTHING,   1, false, "answer for this kernel build string (uname -v)" },
    { IDENTIFY,                            "--release",         "TEXT",    Completes::NOTHING,   1, false, "answer for this kernel release (uname -r)" },
    { IDENTIFY,                            "--nodename",        "TEXT",    Completes::NOTHING,   1, false, "answer for this host name (uname -n)" },
    { IDENTIFY,                            "--from",            "FILE",    Completes::FILE,      1, false, "answer for a 'uname -a' line, or a JSON answer of this command, in FILE; - is standard input" },
    { TYPES | PROPERTIES,                  "ID",                nullptr,   Completes::ID,        1, false, "one device type" },
    { TYPES,                               "--find",            "TEXT",    Completes::NOTHING,   1, false, "which type TEXT names, and why" },
    { TYPES,                               "--lint",            nullptr,   Completes::NOTHING,   0, false, "check the catalogue: does every id find itself, which hide others, which are short" },
    { PROPERTIES,                          "--all",             nullptr,   Completes::NOTHING,   0, false, "every record" },
    { PROPERTIES,                          "--platform",        "WORD",    Completes::PLATFORM,  1, false, "only ask whether the platform is WORD" },
    { PROPERTIES,                          "--manager",         "NAME",    Completes::MANAGER,   1, false, "only ask whether the update manager's name is NAME" },
    { PROPERTIES,                          "--script",          nullptr,   Completes::NOTHING,   0, false, "print the log-directory script, byte for byte" },
    { PROPERTIES,                          "--diff",            "A B",     Completes::ID,        2, false, "what differs between the records of two types" },
    { PATHS,                               "NAME",              nullptr,   Completes::PATH_NAME, 1, false, "one path" },
    { PATHS,                               "--real",            nullptr,   Completes::NOTHING,   0, false, "the real layout; the default" },
    { PATHS,                               "--sandbox",         nullptr,   Completes::NOTHING,   0, false, "the sandbox layout" },
    { PATHS,                               "--both",            nullptr,   Completes::NOTHING,   0, false, "both layouts" },
    { SANDBOX,                             "ACTION",            nullptr,   Completes::ACTION,    1, false, "init, status or clean" },
    { SANDBOX,                             "--as",              "ID",      Completes::ID,        1, false, "run CMD where the host name is ID" },
    { RUN,                                 "-t,--timeout",      "DUR",     Completes::NOTHING,   1, false, "end CMD after DUR: 90, 90s, 5m or 1h; 0 is no limit, and so is none" },
    { RUN,                                 "--env",             "N=V",     Completes::NOTHING,   1, true,  "set a variable in the environment; may be repeated" },
    { RUN,                                 "--restarts",        "N",       Completes::NOTHING,   1, false, "start CMD again, at most N times, when it fails" },
    { RUN,                                 "--log",             "FILE",    Completes::FILE,      1, false, "keep a copy of the output in FILE" },
    { RUN,                                 "--report",          "FILE",    Completes::FILE,      1, false, "write how it ended to FILE, as JSON" },
    { RUN,                                 "-q,--quiet",        nullptr,   Completes::NOTHING,   0, false, "do not show the output" },
    { RUN,                                 "-v,--verbose",      nullptr,   Completes::NOTHING,   0, false, "say on standard error what is started and how it ends" },
    { SANDBOX | RUN,                       "CMD",               nullptr,   Completes::PROGRAM,   1, true,  "the program, looked for in PATH, and its arguments" },
    { DOCTOR,                              "--bundle",          nullptr,   Completes::NOTHING,   0, false, "everything in one JSON document, for a support ticket" },
    { IDENTIFY | TYPES | PROPERTIES | PATHS, "--field",         "F",       Completes::FIELD,     1, false, "print the value of one field, and nothing else" },
    { QUERIES,                             "--plain",           nullptr,   Completes::NOTHING,   0, false, "print tab-separated lines without a header" },
    { QUERIES,                             "--json",            nullptr,   Completes::NOTHING,   0, false, "print JSON, errors too" },
    { QUERIES,                             "--shell",           nullptr,   Completes::NOTHING,   0, false, "print assignments for a shell's eval" },
    { EVERYWHERE,                          "--color",           "WHEN",    Completes::WHEN,      1, false, "auto, always or never; auto is colour on a terminal" },
    { EVERYWHERE,                          "-h,--help",         nullptr,   Completes::NOTHING,   0, false, "print this help" },
    { EVERYWHERE,                          "--version",         nullptr,   Completes::NOTHING,   0, false, "print the version" },
    };
    return rows;
}
// clang-format on

const std::vector<CommandRow>& commands()
{
    static const std::vector<CommandRow> rows = {
        {IDENTIFY,
         "identify",
         {"[--explain | --field F | --is ID]",
          "--version-string TEXT --release TEXT --nodename TEXT", "--from FILE"},
         "which device this is, and why",
         "The kernel's build string is searched for an id of the catalogue, then its release, then "
         "the host name; the first of the three that holds one decides.  Asking logs nothing and "
         "remembers nothing.",
         identify,
         identifyFields(),
         {ListName{"sources", sourceFields()}, ListName{"matches", matchFields()},
          ListName{"warnings", warningFields()}},
         identifyAskedFields()},
        {TYPES,
         "types",
         {"[ID] [--field F]", "--find TEXT", "--lint"},
         "the catalogue of device types",
         "The longest id that occurs in a text wins; among ids of equal length, the first in byte "
         "order.",
         types,
         typeFields(),
         {ListName{"types", typeFields()}, ListName{"matches", matchFields()},
          ListName{"findings", findingFields()}},
         {}},
        {PROPERTIES,
         "properties",
         {"[ID | --all] [--field F | --script]", "[ID] [--platform WORD] [--manager NAME]",
          "--diff A B"},
         "what the update manager knows of a device type",
         "Without ID or --all: the record of this device.",
         properties,
         propertyFields(),
         {ListName{"records", propertyFields()}, ListName{"differences", differenceFields()}},
         propertyAskedFields()},
        {PATHS,
         "paths",
         {"[NAME] [--real | --sandbox | --both] [--field F]"},
         "where the update manager's files are, and what is there",
         "Directories end in a slash, files do not.",
         paths,
         pathFields(),
         {ListName{"paths", pathFields()}},
         {}},
        {SANDBOX,
         "sandbox",
         {"init", "status", "clean", "--as ID -- CMD [ARG...]"},
         "try things below \"/tmp/upmand\" instead of on the device",
         "init makes the directories, status shows them, clean removes \"/tmp/upmand\".  None of "
         "them follows a symbolic link or touches what belongs to somebody else.  --as runs CMD in "
         "a UTS namespace of its own, whose host name is ID, and ends with CMD's exit status; 125, "
         "126 and 127 are those of run.",
         sandbox,
         sandboxFields(),
         {ListName{"paths", pathFields()}, ListName{"warnings", warningFields()}},
         {}},
        {RUN,
         "run",
         {"[-t DUR] [--env N=V]... [--restarts N] [--log FILE]",
          "[--report FILE] [-q | -v] [--] CMD [ARG...]"},
         "run a program, show its output, and end it when it takes too long",
         "CMD and its arguments are at most ten words.  When INT, TERM or HUP arrives, CMD is "
         "killed and reaped before tldevice dies by the same signal.  What CMD started itself is "
         "not killed.",
         run,
         reportFields(),
         {},
         {}},
        {DOCTOR,
         "doctor",
         {"[--bundle]"},
         "what is wrong on this machine, and what to do about it",
         "Each line is ok, warn or fail.  Exit status 1 says that a line is fail.  The bundle's "
         "keys are machine, identify (as with --explain), properties, paths, sandbox (as status "
         "answers), checks and leftovers.",
         doctor,
         {},
         {ListName{"checks", checkFields()}},
         {}},
    };
    return rows;
}

const std::vector<ExitRow>& queryExits()
{
    static const std::vector<ExitRow> rows = {
        {"0", "yes, found, nothing wrong"},
        {"1", "no, not found, does not match"},
        {"2", "wrong use"},
        {"3", "this device could not be identified"},
        {"4", "something could not be read or made"},
    };
    return rows;
}

const std::vector<ExitRow>& runExits()
{
    static const std::vector<ExitRow> rows = {
        {"N", "CMD's own exit status"},
        {"124", "CMD timed out"},
        {"125", "the supervisor refused or failed"},
        {"126", "CMD was found but cannot be executed"},
        {"127", "CMD was not found"},
        {"128+N", "signal N ended CMD"},
    };
    return rows;
}

const std::vector<FileRow>& files()
{
    static const std::vector<FileRow> rows = {
        {"/etc/device-searchtype",
         "its first line is the identifier prefix of the type partner-avr; nothing is trimmed"},
        {"/tmp/upmand", "the sandbox"},
        {"/tmp/watchprocess.XXXXXX", "what a supervised program prints, while it is supervised"},
        {"/dev/log", "where the library's messages go"},
        {"PREFIX/share/tldevice/tldevice.schema.json",
         "the JSON Schema of all that is printed as JSON"},
    };
    return rows;
}

const std::vector<FileRow>& variables()
{
    static const std::vector<FileRow> rows = {
        {"NO_COLOR",
         "where it is set and not empty, nothing is coloured unless --color asks for it"},
        {"TERM",
         "on a terminal that is dumb, or without this, there is neither colour nor status line"},
        {"PATH", "where run and sandbox --as look for a program"},
    };
    return rows;
}

// The tests run these, in this order, on a device that calls itself kr20v2.
const std::vector<ExampleRow>& examples()
{
    static const std::vector<ExampleRow> rows = {
        {"Which device is this, and why?", "tldevice identify --explain"},
        {"One value, for a script.", "id=$(tldevice identify --field id)"},
        {"All values, for a script.", "eval \"$(tldevice identify --shell)\"; echo \"$TL_NAME\""},
        {"Is it a KR20v2?", "tldevice identify --is kr20v2"},
        {"What would another device be?", "tldevice identify --explain --nodename kr30-attic"},
        {"What will the update manager see?", "tldevice properties"},
        {"Where does it keep its state?", "tldevice paths umStateFile --field path"},
        {"Which type would this text name?", "tldevice types --find my-kr20v2-board"},
        {"At a desk: a sandbox, and a program that believes it runs on a kr30.",
         "tldevice sandbox init && tldevice sandbox --as kr30 -- uname -n"},
        {"Leave no trace.", "tldevice sandbox clean"},
        {"Run a program for five minutes at most.", "tldevice run -t 5m -- echo unpacked"},
        {"What is wrong on this machine?", "tldevice doctor || true"},
        {"For a support ticket.", "tldevice doctor --bundle >bundle.json || true"},
    };
    return rows;
}

const CommandRow* commandNamed(const std::string& name)
{
    for (const CommandRow& row : commands())
        if (name == row.name_)
            return &row;
    return nullptr;
}

bool isOperand(const OptionRow& option)
{
    return option.names_[0] != '-';
}

std::string keyOf(const OptionRow& option)
{
    const std::string names = option.names_;
    const std::size_t dashes = names.find("--");
    return dashes == std::string::npos ? names : names.substr(dashes + 2);
}

}  // namespace tool
