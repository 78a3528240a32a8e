#include <algorithm>
#include <sstream>

#include "cli/commands.h"
#include "pages/pages.h"

namespace tool {

namespace {

struct Term {
    const char* term_;
    const char* says_;
};

const Term FILE_ROWS[] = {
    {"/etc/device-searchtype",
     "the first line holds the identifier prefix of device type partner-avr; nothing is trimmed"},
    {"/tmp/upmand", "the root directory of the sandbox"},
    {"/tmp/watchprocess.XXXXXX",
     "the output file of a program that the library supervises; run removes its own, which is "
     "empty, at once"},
    {"/dev/log", "the system log, which receives the library's messages"},
};

const Term VARIABLE_ROWS[] = {
    {"NO_COLOR", "if set and not empty, disables colour unless --color=always is given"},
    {"TERM", "if unset, empty or \"dumb\", disables the status line and automatic colour"},
    {"PATH", "directories that run and sandbox --as search for a program"},
};

constexpr const char* OUTPUT = R"(By default, a query prints human-readable text.
.BR \-\-plain ,
.B \-\-json
and
.B \-\-shell
print the same fields for programs;
.B \-\-field
prints the value of a single field.
.TP
.B human-readable
Fields are printed one to a line, lists as aligned columns, with a header line on a terminal.
.TP
.B \-\-plain
One line for each row, even if there is only one: the values, separated by tabs, in the order of the fields above.
If an answer has both fields and lists, the first line holds the fields, and each line of a list starts with the name of
the list and a tab.
New fields are only ever added at the end.
.TP
.B \-\-json
A single object.
.I schema
is 1.
After a failure, the object contains
.IR error ,
an object with
.I code
and
.IR message .
The output is valid JSON on every exit.
Keys are only ever added.
.TP
.B \-\-shell
.RI TL_ NAME =\(aq value \(aq
for each field,
.RI TL_ LIST _ N _ NAME
for each field of row
.I N
of a list, and
.RI TL_ LIST
for the number of its rows; names are in capitals.
On every exit, the last line sets
.B TL_ERROR
to the empty string or to the error code.
The output is meant for
.B eval
in any POSIX shell and preserves every byte of a value.
A value that contains a NUL byte, which no shell variable can hold, is an error.
.SS Bytes that are not text
Host names and files may contain any byte.
None is dropped.
.TP
.BR human-readable " and " \-\-plain
A backslash is printed as
.BR \e\e ,
and tab, newline and carriage return as
.BR \et ,
.B \en
and
.BR \er .
Each byte of any other control character, of an invisible or bidirectional formatting character, or of anything that is
not valid UTF\-8 is printed as
.BR \exHH ,
with two lower-case hexadecimal digits.
.TP
.B \-\-json
A backslash is doubled (so there are four in the JSON text), and a byte that is not valid UTF\-8 becomes
.B \exHH
(with two backslashes in the JSON text).
Everything else is plain JSON.
.TP
.BR \-\-field " and " \-\-shell
The raw bytes.
.B \-\-field
prints nothing for an empty value, but an empty line for one in a list.
)";

std::string roff(const std::string& text)
{
    std::string out;
    for (const char c : text) {
        if (c == '\\')
            out += "\\e";
        else if (c == '-')
            out += "\\-";
        else if (c == '\'')
            out += "\\(aq";
        else
            out += c;
    }
    return !out.empty() && out[0] == '.' ? "\\&" + out : out;
}

// One sentence per line.
std::string paragraph(const std::string& text)
{
    std::string line = roff(text);
    for (std::size_t at = line.find(".  "); at != std::string::npos; at = line.find(".  ", at))
        line.replace(at, 3, ".\n");
    return line + "\n";
}

// One paragraph per line of `text`.
std::string paragraphs(const std::string& text)
{
    std::string out;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);)
        out += (out.empty() ? "" : ".PP\n") + paragraph(line);
    return out;
}

std::string tagged(const std::string& term, const std::string& says)
{
    return ".TP\n.B " + roff(term) + "\n" + paragraph(says);
}

std::string bold(const std::string& text)
{
    return "\\fB" + roff(text) + "\\fR";
}

std::string entry(const Option& option)
{
    const std::vector<std::string> names = spellings(option);
    std::string out = ".TP\n" + bold(names[0]);
    if (names.size() > 1)
        out += ", " + bold(names[1]);
    if (option.value_ != nullptr)
        out += " \\fI" + roff(option.value_) + "\\fR";
    return out + "\n" + paragraph(option.says_);
}

std::string entries(const std::vector<Option>& options)
{
    std::string out;
    for (const Option& option : options)
        out += entry(option);
    return out;
}

std::string fields(const std::string& title, const std::vector<FieldName>& names)
{
    if (names.empty())
        return "";
    std::string out = ".PP\n" + title + ":\n.RS\n";
    for (const FieldName& field : names)
        out += tagged(field.name_, described(field));
    return out + ".RE\n";
}

bool areTheSame(const std::vector<FieldName>& a, const std::vector<FieldName>& b)
{
    return a.size() == b.size() && !a.empty() && a[0].says_ == b[0].says_;
}

std::string list(const Command& command, const ListName& list)
{
    const std::string rows = std::string("\\(lq") + list.name_ + "\\(rq";
    if (areTheSame(list.fields_, command.fields_))
        return ".PP\nEach row of the list " + rows + " has the same fields.\n";
    return fields("Fields of each row of the list " + rows, list.fields_);
}

// All that a command's answers contain, in any shape: fields for --field, further ones, and lists.
std::string answers(const Command& command)
{
    std::string out = fields(command.fieldsTitle_, command.fields_);
    std::vector<std::string> said;
    for (const Shape& shape : command.answers_) {
        out += fields("Additional fields if a test was requested", shape.maybeFields_);
        for (const auto* lists : {&shape.lists_, &shape.maybeLists_})
            for (const ListName& one : *lists)
                if (std::find(said.begin(), said.end(), one.name_) == said.end()) {
                    said.emplace_back(one.name_);
                    out += list(command, one);
                }
    }
    return out;
}

std::string synopsis(const Command& command)
{
    std::string out;
    for (const char* line : command.usage_)
        out += (*line == ' ' ? "" : bold(std::string("tldevice ") + command.name_) + " ") +
               roff(line) + "\n";
    return out;
}

std::string section(const Command& command)
{
    std::string summary = command.summary_;
    summary[0] = static_cast<char>(summary[0] - 'a' + 'A');
    return std::string(".SS ") + command.name_ + "\n.nf\n" + synopsis(command) + ".fi\n.PP\n" +
           paragraph(summary + ".  " + command.says_) + entries(command.operands_) +
           entries(command.options_) + answers(command);
}

std::string exits(const std::vector<ExitRow>& rows)
{
    std::string out;
    for (const ExitRow& row : rows)
        out += tagged(row.codes_, row.says_);
    return out;
}

template <std::size_t N>
std::string terms(const Term (&rows)[N])
{
    std::string out;
    for (const Term& row : rows)
        out += tagged(row.term_, row.says_);
    return out;
}

std::string everyExample()
{
    std::string out;
    for (const Command* command : commands())
        for (const ExampleRow& row : command->examples_)
            out += (out.empty() ? "" : ".PP\n") + roff(row.says_) + "\n.PP\n.nf\n.RS\n" +
                   roff(row.line_) + "\n.RE\n.fi\n";
    return out;
}

constexpr const char* DATE = "2026-11-22";  // of the last change to the text

// CMake fills in the paths.
const Term INSTALLED_ROWS[] = {
    {"@CMAKE_INSTALL_FULL_DATADIR@/tldevice/tldevice.schema.json",
     "the JSON Schema of all JSON output"},
    {"@CMAKE_INSTALL_FULL_DATADIR@/bash-completion/completions/tldevice",
     "completion for bash; completion for zsh and fish is installed as well"},
};

constexpr const char* NOTES =
    "Run doctor as root.  Other users may access less, and those checks are then \"cannot "
    "tell\".\n"
    "Short ids occur in ordinary words: a host named disney is identified as type sn.  identify "
    "warns of this on standard error; --explain shows the details.\n"
    "\"/proc/version\" contains the name of the machine that built the kernel, not the host name.  "
    "identify --from does not confuse the two.\n"
    "An output file in /tmp that no process has open may still be needed by the program that "
    "supervised its writer.  doctor calls it left over only if no process of its owner has the "
    "library loaded; it cannot detect programs that link the library statically.";

constexpr const char* DESCRIPTION =
    "tldevice identifies a device, shows what the update manager sees on it, diagnoses problems "
    "and runs programs under supervision.  It uses the same library as the update manager, adds no "
    "rules of its own and changes nothing but the sandbox and the files named in its options.";

// Folds text at 80 bytes, but not requests or unfilled text.
std::string folded(const std::string& page)
{
    constexpr std::size_t LONGEST = 80;
    std::string out;
    bool filled = true;
    std::istringstream lines(page);
    for (std::string line; std::getline(lines, line); out += line + "\n") {
        if (line == ".nf" || line == ".fi")
            filled = line == ".fi";
        while (filled && line[0] != '.' && line.size() > LONGEST) {
            const std::size_t blank = line.rfind(' ', LONGEST);
            if (blank == std::string::npos)
                break;
            out += line.substr(0, blank) + "\n";
            line.erase(0, blank + 1);
        }
    }
    return out;
}

}  // namespace

std::string manual()
{
    std::string lines;
    std::string sections;
    for (const Command* command : commands()) {
        lines += synopsis(*command);
        sections += section(*command);
    }
    return folded(
        ".\\\" Generated from the descriptions of the commands; see "
        "tools/tldevice/pages/manual.cpp.\n"
        ".TH TLDEVICE 1 \"" +
        std::string(DATE) +
        "\" \"tldevice " TLDEVICE_VERSION
        "\" \"User Commands\"\n"
        ".SH NAME\ntldevice \\- identify, inspect and diagnose a device\n"
        ".SH SYNOPSIS\n.nf\n" +
        lines + ".fi\n.SH DESCRIPTION\n" + paragraph(DESCRIPTION) + ".SH COMMANDS\n" + sections +
        ".SH OPTIONS\nFor every query (all commands except \\fBrun\\fR):\n" +
        entries(formOptions()) + ".PP\nFor every command:\n" + entries(commonOptions()) +
        ".PP\nAll of these may also precede the command.\n.SH OUTPUT\n" + OUTPUT +
        ".SH EXIT STATUS\nOf a query:\n" + exits(QUERY_EXITS) +
        ".PP\nOf \\fBrun\\fR and \\fBsandbox \\-\\-as\\fR, as for\n.BR timeout (1):\n" +
        exits(PROGRAM_EXITS) +
        ".PP\nCMD may exit with any of these itself; \\fB\\-\\-report\\fR tells the cases apart.\n"
        ".SH ENVIRONMENT\n" +
        terms(VARIABLE_ROWS) + ".SH FILES\n" + terms(FILE_ROWS) + terms(INSTALLED_ROWS) +
        ".SH NOTES\n" + paragraphs(NOTES) + ".SH EXAMPLES\n" + everyExample() +
        ".SH SEE ALSO\n.BR uname (1),\n.BR timeout (1),\n.BR unshare (1)\n");
}

}  // namespace tool
