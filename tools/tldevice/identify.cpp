#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

#include "Arguments.h"
#include "bytes.h"
#include "catalogue.h"
#include "evidence.h"
#include "json.h"
#include "output.h"

namespace tool {

namespace {

struct Asked {
    DeviceType_t wanted_;
    bool yes_;
};

// clang-format off
const Field<Asked> ASKED_FIELDS[] = {
    { { "wanted", "wanted", "the id that was asked for" },       [](const Asked& a) -> Value { return tl::DeviceType::toString(a.wanted_); } },
    { { "yes",    "yes",    "whether it is that one" },          [](const Asked& a) -> Value { return a.yes_; } },
};
// clang-format on

constexpr std::size_t LARGEST_FILE = 1048576;

std::string contentsOf(const std::string& path)
{
    const auto failed = [&](int error) {
        return Failure{EXIT_TROUBLE, "unreadable",
                       "cannot read '" + escaped(path) + "': " + reason(error)};
    };
    const bool standardInput = path == "-";
    const int fd = standardInput ? STDIN_FILENO : ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        throw failed(errno);

    std::string contents;
    char buffer[4096];
    ssize_t count = 0;
    while ((count = ::read(fd, buffer, sizeof buffer)) > 0 && contents.size() < LARGEST_FILE)
        contents.append(buffer, static_cast<std::size_t>(count));
    const int error = errno;
    if (!standardInput)
        (void)::close(fd);
    if (count < 0)
        throw failed(error);
    return contents;
}

std::string takeWord(std::string& line)
{
    const std::size_t begin = std::min(line.find_first_not_of(" \t"), line.size());
    const std::size_t end = std::min(line.find_first_of(" \t", begin), line.size());
    std::string word = line.substr(begin, end - begin);
    line.erase(0, std::min(line.find_first_not_of(" \t", end), line.size()));
    return word;
}

bool isMachineWord(const std::string& word)
{
    if (word == "GNU/Linux" || word == "Linux" || word == "unknown" || word == "Toybox")
        return true;
    for (const char* machine : {"arm", "aarch64", "x86_64", "i386", "i486", "i586", "i686", "mips",
                                "ppc", "riscv", "sh4"})
        if (word.rfind(machine, 0) == 0)
            return true;
    return false;
}

// "Linux NODENAME RELEASE VERSION... MACHINE... GNU/Linux".  The machine's words stand behind the build
// string without a mark; what looks like one at the end is taken for one.
KernelTexts textsOfUnameLine(const std::string& contents)
{
    std::string line = contents.substr(0, contents.find('\n'));
    KernelTexts texts{"", "", "", false};
    if (takeWord(line) != "Linux")
        throw Failure{
            EXIT_TROUBLE, "unreadable",
            "neither a 'uname -a' line, which begins with \"Linux\", nor a JSON answer of "
            "'tldevice identify'"};
    texts.nodename_ = takeWord(line);
    texts.release_ = takeWord(line);

    for (;;) {
        line.erase(line.find_last_not_of(" \t\r") + 1);
        const std::size_t blank = line.find_last_of(" \t");
        const std::size_t begin = blank == std::string::npos ? 0 : blank + 1;
        if (line.empty() || !isMachineWord(line.substr(begin)))
            break;
        line.erase(begin);
    }
    texts.version_ = line;
    return texts;
}

std::string textIn(const Json& object, const char* key)
{
    const auto found = object.find(key);
    if (found == object.end() || !found->is_string())
        throw Failure{
            EXIT_TROUBLE, "unreadable",
            std::string("the JSON is no answer of 'tldevice identify': it has no \"") + key + "\""};
    return bytesOfJsonText(found->get<std::string>());
}

KernelTexts textsOfJson(const std::string& contents)
{
    Json answer = Json::parse(contents, nullptr, false);
    if (answer.is_discarded())
        throw Failure{EXIT_TROUBLE, "unreadable", "the JSON is not complete or not valid"};
    if (answer.contains("identify"))
        answer = answer["identify"];  // the bundle of 'tldevice doctor'
    return {textIn(answer, "version"), textIn(answer, "release"), textIn(answer, "nodename"),
            false};
}

KernelTexts textsOfFile(const std::string& path)
{
    const std::string contents = contentsOf(path);
    const std::size_t begin = contents.find_first_not_of(" \t\r\n");
    if (begin != std::string::npos && contents[begin] == '{')
        return textsOfJson(contents);
    return textsOfUnameLine(contents);
}

KernelTexts textsAskedFor(const Arguments& arguments)
{
    const bool given =
        arguments.has("version-string") || arguments.has("release") || arguments.has("nodename");
    if (given && arguments.has("from"))
        throw wrongUse(&arguments.command(), "--from and the texts themselves exclude each other");
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
        return subject(evidence) + " could not be identified: no source holds an id";
    return subject(evidence) + " is " + called(evidence.type_) + ", decided by the " +
           evidence.decider()->called_;
}

std::string sourceForPeople(const Source& source, const Evidence& evidence, bool colour)
{
    std::string out = "\n" + std::string(source.called_) + " \"" + escaped(source.text_) + "\"\n";
    out[1] = static_cast<char>(out[1] - 'a' + 'A');
    if (!source.consulted_)
        out +=
            "    not consulted: the " + std::string(evidence.decider()->called_) + " had decided\n";
    return out + matchesForPeople(source, colour);
}

std::string storyForPeople(const Evidence& evidence, const Row& fields, bool colour)
{
    std::string out = inColumn(fields);
    for (const Source& source : evidence.sources_)
        out += sourceForPeople(source, evidence, colour);

    out += "\n";
    for (const Warning& warning : evidence.warnings_)
        out += (colour ? "\033[1;33mWarning:\033[0m " : "Warning: ") + warning.message_ + ".\n";
    std::string verdict = verdictFor(evidence);
    verdict[0] = 'T';
    return out + verdict + ".\n";
}

int answerWhetherItIs(const Arguments& arguments, const Evidence& evidence)
{
    const DeviceType_t wanted = tl::DeviceType::toEnum(arguments.value("is"));
    if (wanted == DT_INVALID)
        throw wrongUse(&arguments.command(), "there is no device type '" +
                                                 escaped(arguments.value("is")) +
                                                 "'; 'tldevice types' lists them");
    const bool matches = evidence.type_ == wanted;
    Answer answer = identityAnswer(evidence);
    for (const Cell& cell : rowOf(ASKED_FIELDS, Asked{wanted, matches}))
        answer.fields_.push_back(cell);
    answer.people_ =
        (matches ? "yes: " : "no: ") +
        (evidence.type_ == DT_INVALID ? subject(evidence) + " could not be identified"
                                      : subject(evidence) + " is " + called(evidence.type_)) +
        (matches ? "" : ", not " + called(wanted)) + "\n";
    return arguments.print(answer, matches ? EXIT_YES : EXIT_NO);
}

}  // namespace

int identify(const Arguments& arguments)
{
    arguments.atMostOneOf({"explain", "is", "field"});
    const Evidence evidence = examine(textsAskedFor(arguments));
    if (arguments.has("is"))
        return answerWhetherItIs(arguments, evidence);

    Answer answer = identityAnswer(evidence);
    if (arguments.has("explain")) {
        answer.lists_ = {sourceList(evidence.sources_), matchList(evidence.sources_),
                         warningList(evidence.warnings_)};
        answer.people_ = storyForPeople(evidence, answer.fields_, arguments.colour(STDOUT_FILENO));
    }
    if (evidence.type_ != DT_INVALID)
        return arguments.print(answer, EXIT_YES);

    answer.errorCode_ = "unidentified";
    answer.error_ = verdictFor(evidence) +
                    (arguments.has("explain") ? "" : "; --explain shows where it looked");
    return arguments.print(answer, EXIT_UNIDENTIFIED);
}

std::vector<FieldName> identifyAskedFields()
{
    return namesOf(ASKED_FIELDS);
}

}  // namespace tool
