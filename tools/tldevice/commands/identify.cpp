#include <unistd.h>

#include "cli/Arguments.h"
#include "cli/words.h"
#include "commands/words.h"
#include "device/fromFile.h"
#include "device/identity.h"
#include "system/output.h"
#include "text/bytes.h"
#include "text/colour.h"

namespace tool {

namespace {

struct AskedType {
    DeviceType_t wanted_;
    bool yes_;
};

// clang-format off
const Field<AskedType> ASKED_TYPE_FIELDS[] = {
    { "wanted", "wanted", "the id given with --is",             [](auto& a) { return tl::DeviceType::toString(a.wanted_); } },
    { "yes",    "yes",    "whether the device is of that type", &AskedType::yes_ },
};
// clang-format on

KernelTexts textsAskedFor(const Arguments& arguments)
{
    const bool given =
        arguments.has("version-string") || arguments.has("release") || arguments.has("nodename");
    if (arguments.has("from"))
        return textsOfFile(arguments.value("from"));
    if (given)
        return {arguments.value("version-string"), arguments.value("release"),
                arguments.value("nodename"), false};
    return textsOfThisDevice();
}

std::string subject(const Evidence& evidence)
{
    return evidence.texts_.ofThisDevice_ ? "this device" : "that device";
}

std::string called(DeviceType_t type)
{
    return tl::DeviceType::toString(type) + " (" + tl::DeviceType::toServerName(type) + ")";
}

std::string verdictFor(const Evidence& evidence)
{
    if (evidence.type_ == DT_INVALID)
        return subject(evidence) + " could not be identified: no source contains an id";
    return subject(evidence) + " is " + called(evidence.type_) + ", decided by the " +
           evidence.decider()->called_;
}

std::string sourceForPeople(const Source& source, const Evidence& evidence, bool colour)
{
    std::string out = "\n" + std::string(source.called_) + " \"" + escaped(source.text_) + "\"\n";
    out[1] = static_cast<char>(out[1] - 'a' + 'A');
    if (!source.consulted_)
        out += "    not consulted: the " + std::string(evidence.decider()->called_) +
               " already decided\n";
    return out + matchesForPeople(source, colour);
}

std::string storyForPeople(const Evidence& evidence, const Row& fields, bool colour)
{
    std::string out = inColumn(fields);
    for (const Source& source : evidence.sources_)
        out += sourceForPeople(source, evidence, colour);

    out += "\n";
    for (const Warning& warning : evidence.warnings_)
        out += coloured("Warning:", Colour::BOLD_YELLOW, colour) + " " + escaped(warning.message_) +
               ".\n";
    std::string verdict = verdictFor(evidence);
    verdict[0] = 'T';
    return out + verdict + ".\n";
}

int answerWhetherItIs(const Arguments& arguments, const Evidence& evidence)
{
    const DeviceType_t wanted = tl::DeviceType::toEnum(arguments.value("is"));
    const bool matches = evidence.type_ == wanted;
    Answer answer = identityAnswer(evidence);
    for (const Cell& cell : rowOf(ASKED_TYPE_FIELDS, AskedType{wanted, matches}))
        answer.fields_.push_back(cell);
    answer.people_ =
        (matches ? "yes: " : "no: ") +
        (evidence.type_ == DT_INVALID ? subject(evidence) + " could not be identified"
                                      : subject(evidence) + " is " + called(evidence.type_)) +
        (matches ? "" : ", not " + called(wanted)) + "\n";
    return arguments.print(answer, matches ? EXIT_YES : EXIT_NO);
}

int explain(const Arguments& arguments, const Evidence& evidence)
{
    Answer answer = explainedAnswer(evidence);
    answer.people_ = storyForPeople(evidence, answer.fields_, arguments.colour(STDOUT_FILENO));
    if (evidence.type_ != DT_INVALID)
        return arguments.print(answer, EXIT_YES);

    answer.errorCode_ = FailureCode::UNIDENTIFIED;
    if (arguments.form() != Form::PEOPLE)  // that text already ends with the verdict
        answer.error_ = verdictFor(evidence);
    return arguments.print(answer, EXIT_UNIDENTIFIED);
}

int answerWhich(const Arguments& arguments, const Evidence& evidence)
{
    Answer answer = identityAnswer(evidence);
    if (evidence.type_ != DT_INVALID)
        return arguments.print(answer, EXIT_YES);

    answer.errorCode_ = FailureCode::UNIDENTIFIED;
    answer.error_ = verdictFor(evidence) + "; --explain shows what was searched";
    return arguments.print(answer, EXIT_UNIDENTIFIED);
}

int identify(const Arguments& arguments)
{
    const Evidence evidence = examine(textsAskedFor(arguments));
    if (arguments.has("explain"))
        return explain(arguments, evidence);

    const int exitCode = arguments.has("is") ? answerWhetherItIs(arguments, evidence)
                                             : answerWhich(arguments, evidence);
    for (const Warning& warning : evidence.warnings_)
        complain("warning: " + warning.message_);
    return exitCode;
}

}  // namespace

const Command& identifyCommand()
{
    static const Command command = [] {
        Command is;
        is.name_ = "identify";
        is.usage_ = {"[--explain | --is ID] [--field F]",
                     "--version-string TEXT --release TEXT --nodename TEXT", "--from FILE"};
        is.summary_ = "identify this device, or another by its kernel strings";
        is.says_ =
            "Searches the kernel's build string, then its release, then the host name for a device "
            "type id; the first that contains one decides.  Nothing is logged or cached.";
        is.options_ = {
            flag("--explain", "show what each source contains, which id wins and why"),
            option("--is", "ID", DEVICE_TYPES, "test whether the device is of type ID"),
            option("--version-string", "TEXT", FREE,
                   "identify by this kernel build string (uname -v)"),
            option("--release", "TEXT", FREE, "identify by this kernel release (uname -r)"),
            option("--nodename", "TEXT", FREE, "identify by this host name (uname -n)"),
            option("--from", "FILE", FILES,
                   "identify by a 'uname -a' line, a copy of \"/proc/version\" or JSON printed by "
                   "identify or doctor, read from FILE; - is standard input"),
            fieldOption(),
        };
        is.atMostOneOf_ = {
            {"explain", "is"},
            {"from", "version-string"},
            {"from", "release"},
            {"from", "nodename"},
        };
        is.fields_ = identityFields();
        is.answers_ = {{"identify",
                        identityFields(),
                        {},
                        namesOf(ASKED_TYPE_FIELDS),
                        {{"sources", sourceFields()},
                         {"matches", matchFields()},
                         {"warnings", warningFields()}}}};
        is.examples_ = {{"Identify this device and show why.", "tldevice identify --explain"},
                        {"Use one value in a script.", "id=$(tldevice identify --field id)"},
                        {"Use all values in a script.",
                         "eval \"$(tldevice identify --shell)\"; echo \"$TL_NAME\""},
                        {"Test for a KR20v2.", "tldevice identify --is kr20v2"},
                        {"Identify another device by its host name.",
                         "tldevice identify --explain --nodename kr30-attic"}};
        is.run_ = identify;
        return is;
    }();
    return command;
}

}  // namespace tool
