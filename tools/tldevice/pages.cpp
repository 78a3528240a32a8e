// tldevice-pages man|bash|zsh|fish [FILE]: prints the manual or a completion, made from the tables of the
// command, or writes it to FILE.
//
// The result is kept in the source tree, so that nothing has to be run to build for another machine.  A test
// compares; `cmake --build . --target tldevice-pages-update` writes them anew.

#include <fstream>
#include <iostream>
#include <set>

#include "catalogue.h"
#include "commands.h"
#include "layout.h"
#include "tl/DeviceProperties.h"

namespace {

using tool::CommandRow;
using tool::Completes;
using tool::OptionRow;

// --------------------------------------------------------------------------------------------- words

std::vector<std::string> idWords()
{
    std::vector<std::string> words;
    for (const DeviceType_t type : tool::deviceTypes())
        words.push_back(tl::DeviceType::toString(type));
    return words;
}

std::vector<std::string> recordWords(std::string tl::DeviceProperties::*field)
{
    std::set<std::string> words;
    for (const DeviceType_t type : tool::deviceTypes())
        if (!tool::propertiesAnswer(type).fields_.empty())
            words.insert(tl::DevicePropertiesMap::instance().get(type)->*field);
    return {words.begin(), words.end()};
}

// What may stand where `option` wants a value; none for free text, files and programs.
std::vector<std::string> wordsFor(const OptionRow& option, const CommandRow& command)
{
    std::vector<std::string> words;
    switch (option.completes_) {
        case Completes::ID:
            return idWords();
        case Completes::FIELD:
            for (const tool::FieldName& field : command.fields_)
                words.emplace_back(field.name_);
            return words;
        case Completes::PATH_NAME:
            for (const tool::PathRow& row : tool::pathRows())
                words.emplace_back(row.name_);
            return words;
        case Completes::WHEN:
            return {"auto", "always", "never"};
        case Completes::ACTION:
            return {"init", "status", "clean"};
        case Completes::PLATFORM:
            return recordWords(&tl::DeviceProperties::platform_);
        case Completes::MANAGER:
            return recordWords(&tl::DeviceProperties::updateManagerName_);
        case Completes::NOTHING:
        case Completes::FILE:
        case Completes::PROGRAM:
            break;
    }
    return words;
}

std::string joined(const std::vector<std::string>& words, const std::string& between)
{
    std::string line;
    for (const std::string& word : words)
        line += (line.empty() ? "" : between) + word;
    return line;
}

std::vector<std::string> namesOf(const OptionRow& option)
{
    const std::string names = option.names_;
    const std::size_t comma = names.find(',');
    if (comma == std::string::npos)
        return {names};
    return {names.substr(0, comma), names.substr(comma + 1)};
}

std::vector<const OptionRow*> optionsOf(const CommandRow& command, bool operands)
{
    std::vector<const OptionRow*> found;
    for (const OptionRow& option : tool::options())
        if ((option.commands_ & command.command_) != 0 && tool::isOperand(option) == operands)
            found.push_back(&option);
    return found;
}

// ---------------------------------------------------------------------------------------------- bash

void bashValue(const CommandRow& command, const OptionRow& option)
{
    if (option.value_ == nullptr)
        return;
    std::vector<std::string> patterns;
    for (const std::string& name : namesOf(option))
        patterns.push_back(std::string(command.name_) + ":" + name);
    std::cout << "        " << joined(patterns, "|") << ") ";
    if (option.completes_ == Completes::FILE)
        std::cout << "COMPREPLY=($(compgen -f -- \"$current\")); return ;;\n";
    else
        std::cout << "words='" << joined(wordsFor(option, command), " ") << "' ;;\n";
}

void bashWords(const CommandRow& command)
{
    std::vector<std::string> words;
    for (const OptionRow* option : optionsOf(command, false))
        for (const std::string& name : namesOf(*option))
            words.push_back(name);
    bool program = false;
    for (const OptionRow* operand : optionsOf(command, true)) {
        program =
            program || (operand->completes_ == Completes::PROGRAM && command.command_ == tool::RUN);
        for (const std::string& word : wordsFor(*operand, command))
            words.push_back(word);
    }
    std::cout << "        " << command.name_ << ") words='" << joined(words, " ") << "'";
    if (program)
        std::cout << "\n            [[ $current == -* ]] || words=$(compgen -c -- \"$current\")";
    std::cout << " ;;\n";
}

void bash()
{
    std::vector<std::string> names;
    for (const CommandRow& command : tool::commands())
        names.emplace_back(command.name_);

    std::cout << R"(# bash completion for tldevice, made from its tables
_tldevice()
{
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
    local before= command= words=none i
    ((COMP_CWORD > 1)) && before=${COMP_WORDS[COMP_CWORD - 2]}
    COMPREPLY=()
    for ((i = 1; i < COMP_CWORD; i++)); do
        [[ ${COMP_WORDS[i]} == -- ]] && { COMPREPLY=($(compgen -c -f -- "$current")); return; }
        case ${COMP_WORDS[i]} in
            )" << joined(names, "|")
              << R"() [[ $command ]] || command=${COMP_WORDS[i]} ;;
        esac
    done
    case $command:$previous in
)";
    for (const CommandRow& command : tool::commands())
        for (const OptionRow* option : optionsOf(command, false))
            bashValue(command, *option);
    std::cout << R"(        *) case $command:$before in
            properties:--diff) words=')"
              << joined(idWords(), " ") << R"(' ;;
        esac ;;
    esac
    [[ $words != none ]] || case $command in
        '') words=')"
              << joined(names, " ") << R"( -h --help --version' ;;
)";
    for (const CommandRow& command : tool::commands())
        bashWords(command);
    std::cout << R"(    esac
    COMPREPLY=($(compgen -W "$words" -- "$current"))
}
complete -F _tldevice tldevice
)";
}

// ----------------------------------------------------------------------------------------------- zsh

std::string zshText(const std::string& text)
{
    std::string out;
    for (const char c : text) {
        if (c == '\'')
            out += "'\\''";
        else if (c == '[' || c == ']' || c == ':')
            out += std::string("\\") + c;
        else
            out += c;
    }
    return out;
}

std::string zshAction(const OptionRow& option, const CommandRow& command)
{
    if (option.completes_ == Completes::FILE)
        return "_files";
    const std::vector<std::string> words = wordsFor(option, command);
    return words.empty() ? " " : "(" + joined(words, " ") + ")";
}

void zshOption(const OptionRow& option, const CommandRow& command)
{
    std::string value;
    if (option.value_ != nullptr)
        for (int i = 0; i < option.values_; ++i)
            value += std::string(":") + option.value_ + ":" + zshAction(option, command);
    const std::vector<std::string> names = namesOf(option);
    const std::string again = option.repeats_ ? "'*'" : "'(" + joined(names, " ") + ")'";
    const std::string spelled = names.size() > 1 ? "{" + joined(names, ",") + "}" : names[0];
    std::cout << " \\\n                " << again << spelled << "'[" << zshText(option.says_) << "]"
              << value << "'";
}

void zshOperand(const OptionRow& operand, const CommandRow& command)
{
    if (operand.completes_ == Completes::PROGRAM)
        std::cout << " \\\n                '*::program:_normal'";
    else
        std::cout << " \\\n                '1:" << operand.names_ << ":"
                  << zshAction(operand, command) << "'";
}

void zsh()
{
    std::cout << "#compdef tldevice\n# zsh completion for tldevice, made from its tables\n\n"
                 "_tldevice()\n{\n    local state line\n    local -a commands=(\n";
    for (const CommandRow& command : tool::commands())
        std::cout << "        '" << command.name_ << ":" << zshText(command.summary_) << "'\n";
    std::cout << R"(    )
    _arguments -C '(-h --help)'{-h,--help}'[print this help]' '--version[print the version]' \
        '1:command:->command' '*::argument:->argument' && return
    case $state in
        command) _describe command commands ;;
        argument) case $words[1] in
)";
    for (const CommandRow& command : tool::commands()) {
        std::cout << "            " << command.name_ << ") _arguments -s";
        for (const OptionRow* option : optionsOf(command, false))
            zshOption(*option, command);
        for (const OptionRow* operand : optionsOf(command, true))
            zshOperand(*operand, command);
        std::cout << " ;;\n";
    }
    std::cout << "        esac ;;\n    esac\n}\n\n_tldevice \"$@\"\n";
}

// ---------------------------------------------------------------------------------------------- fish

std::string fishText(const std::string& text)
{
    std::string out;
    for (const char c : text) {
        if (c == '\'' || c == '\\')
            out += '\\';
        out += c;
    }
    return "'" + out + "'";
}

void fishOption(const OptionRow& option, const CommandRow& command)
{
    std::cout << "complete -c tldevice -n '__fish_seen_subcommand_from " << command.name_ << "'";
    for (const std::string& name : namesOf(option))
        std::cout << (name[1] == '-' ? " -l " + name.substr(2) : " -s " + name.substr(1));
    if (option.value_ != nullptr) {
        const std::vector<std::string> words = wordsFor(option, command);
        std::cout << (option.completes_ == Completes::FILE ? " -r -F" : " -x");
        if (!words.empty())
            std::cout << " -a '" << joined(words, " ") << "'";
    }
    std::cout << " -d " << fishText(option.says_) << "\n";
}

void fishOperand(const OptionRow& operand, const CommandRow& command)
{
    const bool program = operand.completes_ == Completes::PROGRAM;
    const bool behindDashes = program && command.command_ == tool::SANDBOX;
    std::cout << "complete -c tldevice -n '__fish_seen_subcommand_from " << command.name_
              << (behindDashes ? "; and contains -- -- (commandline -opc)" : "") << "' -a '"
              << (program ? "(__fish_complete_subcommand)"
                          : joined(wordsFor(operand, command), " "))
              << "' -d " << fishText(operand.says_) << "\n";
}

void fish()
{
    std::cout
        << "# fish completion for tldevice, made from its tables\n"
           "complete -c tldevice -f\n"
           "complete -c tldevice -n __fish_use_subcommand -s h -l help -d 'print this help'\n"
           "complete -c tldevice -n __fish_use_subcommand -l version -d 'print the version'\n";
    for (const CommandRow& command : tool::commands())
        std::cout << "complete -c tldevice -n __fish_use_subcommand -a " << command.name_ << " -d "
                  << fishText(command.summary_) << "\n";
    for (const CommandRow& command : tool::commands()) {
        for (const OptionRow* option : optionsOf(command, false))
            fishOption(*option, command);
        for (const OptionRow* operand : optionsOf(command, true))
            fishOperand(*operand, command);
    }
}

// --------------------------------------------------------------------------------------------- manual

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

// A paragraph, one sentence to a line.
void paragraph(const std::string& text)
{
    std::string line = roff(text);
    for (std::size_t at = line.find(".  "); at != std::string::npos; at = line.find(".  ", at))
        line.replace(at, 3, ".\n");
    std::cout << line << "\n";
}

void tagged(const std::string& term, const std::string& says)
{
    std::cout << ".TP\n.B " << roff(term) << "\n";
    paragraph(says);
}

void manualOption(const OptionRow& option)
{
    std::cout << ".TP\n";
    const std::vector<std::string> names = namesOf(option);
    std::cout << "\\fB" << roff(names[0]) << "\\fR";
    if (names.size() > 1)
        std::cout << ", \\fB" << roff(names[1]) << "\\fR";
    if (option.value_ != nullptr)
        std::cout << " \\fI" << roff(option.value_) << "\\fR";
    std::cout << "\n";
    paragraph(option.says_);
}

void manualFields(const std::string& title, const std::vector<tool::FieldName>& fields)
{
    if (fields.empty())
        return;
    std::cout << ".PP\n" << title << ":\n.RS\n";
    for (const tool::FieldName& field : fields)
        tagged(field.name_, field.says_);
    std::cout << ".RE\n";
}

void manualList(const CommandRow& command, const tool::ListName& list)
{
    const std::string rows = std::string("\\(lq") + list.name_ + "\\(rq";
    const bool same = !command.fields_.empty() && list.fields_.size() == command.fields_.size() &&
                      std::string(list.fields_[0].says_) == command.fields_[0].says_;
    if (same)
        std::cout << ".PP\nA row of the list " << rows << " has these fields, too.\n";
    else
        manualFields("Fields of a row of the list " + rows, list.fields_);
}

void manualCommand(const CommandRow& command)
{
    std::cout << ".SS " << command.name_ << "\n.nf\n";
    for (const char* line : command.usage_) {
        const bool goesOn = command.command_ == tool::RUN && line != command.usage_.front();
        std::cout << (goesOn ? std::string(13, ' ')
                             : "\\fBtldevice " + std::string(command.name_) + "\\fR ")
                  << roff(line) << "\n";
    }
    std::cout << ".fi\n.PP\n";
    std::string summary = command.summary_;
    summary[0] = static_cast<char>(summary[0] - 'a' + 'A');
    paragraph(summary + ".  " + command.says_);

    for (const OptionRow* operand : optionsOf(command, true))
        manualOption(*operand);
    for (const OptionRow* option : optionsOf(command, false))
        if ((option->commands_ & tool::QUERIES) != tool::QUERIES)
            manualOption(*option);
    manualFields(command.command_ == tool::RUN ? "Fields of the report" : "Fields",
                 command.fields_);
    manualFields("Fields besides, where only a question was asked", command.asked_);
    for (const tool::ListName& list : command.lists_)
        manualList(command, list);
}

constexpr const char* ANSWERS = R"(A query prints for people.
.BR \-\-plain ,
.B \-\-json
and
.B \-\-shell
print the same fields for programs, and
.B \-\-field
prints the value of one of them.
.TP
.B for people
Names and values in a column, lists in aligned columns; on a terminal, lists have a heading.
.TP
.B \-\-plain
One line for a field: its name, a tab, its value.
An answer that is a list alone is one line for a row: the values, with tabs between them, in the order of the fields
below.
In answers that hold both, a line of a list begins with the name of the list and a tab.
Fields are only ever added at the end.
.TP
.B \-\-json
One object.
.I schema
is 1.
An answer that says what went wrong has
.IR error ,
an object with
.I code
and
.IR message ,
on every exit.
Keys are only ever added.
.TP
.B \-\-shell
.RI TL_ NAME =\(aq value \(aq
for a field,
.RI TL_ LIST _ N _ NAME
for those of a list, whose length is
.RI TL_ LIST ;
names are in capitals.
It is made for
.B eval
in any POSIX shell and keeps every byte of a value.
A value with a NUL byte, which no shell can hold, is an error.
.SS Bytes that are not text
Host names and files may hold any byte.
Nothing is dropped.
.TP
.BR "for people" " and " \-\-plain
A backslash stands as
.BR \e\e ,
tab, newline and carriage return as
.BR \et ,
.B \en
and
.BR \er ,
and every byte of another control character, or of what is not valid UTF\-8, as
.B \exHH
with two hexadecimal digits in lower case.
.TP
.B \-\-json
A backslash stands as two (four in the JSON text, which doubles them again), and a byte that is not part of valid UTF\-8
as
.B \exHH
(with two backslashes in the JSON text).
All else is as JSON has it.
.TP
.BR \-\-field " and " \-\-shell
The bytes themselves.
)";

void exits(const std::vector<tool::ExitRow>& rows)
{
    for (const tool::ExitRow& row : rows)
        tagged(row.codes_, row.says_);
}

void manual()
{
    std::cout << ".\\\" Made from the tables of the command; see tools/tldevice/pages.cpp.\n"
                 ".TH TLDEVICE 1 \"\" \"tldevice " TLDEVICE_VERSION
                 "\" \"User Commands\"\n"
                 ".SH NAME\ntldevice \\- ask the device library what it knows of a device\n"
                 ".SH SYNOPSIS\n.nf\n";
    for (const CommandRow& command : tool::commands())
        std::cout << "\\fBtldevice " << command.name_ << "\\fR [\\fIoption\\fR...]\n";
    std::cout << ".fi\n.SH DESCRIPTION\n";
    paragraph(
        "Which device is this, why, and what will the update manager see?  tldevice asks the "
        "library "
        "that the update manager asks, adds no rule of its own, and changes nothing outside of the "
        "sandbox and the files that it is told to write.");
    std::cout << ".SH COMMANDS\n";
    for (const CommandRow& command : tool::commands())
        manualCommand(command);
    std::cout << ".SH OPTIONS\nOf every query (all commands but \\fBrun\\fR):\n";
    for (const OptionRow& option : tool::options())
        if (option.commands_ == tool::QUERIES)
            manualOption(option);
    std::cout << ".PP\nOf every command:\n";
    for (const OptionRow& option : tool::options())
        if (option.commands_ == tool::EVERYWHERE)
            manualOption(option);
    std::cout << ".SH ANSWERS\n" << ANSWERS << ".SH EXIT STATUS\nOf the queries:\n";
    exits(tool::queryExits());
    std::cout << ".PP\nOf \\fBrun\\fR, as of\n.BR timeout (1):\n";
    exits(tool::runExits());
    std::cout
        << ".PP\nThese can be a program\\(aqs own as well; \\fB\\-\\-report\\fR tells them apart.\n"
           ".SH ENVIRONMENT\n";
    for (const tool::FileRow& row : tool::variables())
        tagged(row.path_, row.says_);
    std::cout << ".SH FILES\n";
    for (const tool::FileRow& row : tool::files())
        tagged(row.path_, row.says_);
    std::cout << ".SH EXAMPLES\n";
    for (const tool::ExampleRow& row : tool::examples())
        std::cout << ".PP\n"
                  << roff(row.says_) << "\n.PP\n.nf\n.RS\n"
                  << roff(row.line_) << "\n.RE\n.fi\n";
    std::cout << ".SH SEE ALSO\n.BR uname (1),\n.BR timeout (1),\n.BR unshare (1)\n";
}

}  // namespace

int main(int argc, char** argv)
{
    const std::string kind = argc > 1 ? argv[1] : "";
    std::ofstream file;
    if (argc > 2) {
        file.open(argv[2]);
        std::cout.rdbuf(file.rdbuf());
    }
    if (kind == "man")
        manual();
    else if (kind == "bash")
        bash();
    else if (kind == "zsh")
        zsh();
    else if (kind == "fish")
        fish();
    else
        return 2;
    const bool written = static_cast<bool>(std::cout.flush());
    std::cout.rdbuf(nullptr);  // `file` goes first
    return written ? 0 : 1;
}
