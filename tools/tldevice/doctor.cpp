#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <ctime>

#include "Arguments.h"
#include "Descriptor.h"
#include "SandboxTree.h"
#include "bytes.h"
#include "catalogue.h"
#include "evidence.h"
#include "json.h"
#include "layout.h"
#include "leftovers.h"
#include "output.h"
#include "tl/DeviceProperties.h"
#include "wrap.h"

namespace tool {

namespace {

constexpr const char* IDENTIFIER_FILE = "/etc/device-searchtype";
constexpr char LOG_SOCKET[] = "/dev/log";

struct Check {
    const char* level_;
    const char* name_;
    std::string message_;
    std::string advice_;
};

// clang-format off
const Field<Check> CHECK_FIELDS[] = {
    { { "level",   "level",   "ok, warn or fail" },          [](const Check& c) -> Value { return std::string(c.level_); } },
    { { "name",    "name",    "what was looked at" },        [](const Check& c) -> Value { return std::string(c.name_); } },
    { { "message", "message", "what was found" },            [](const Check& c) -> Value { return c.message_; } },
    { { "advice",  "advice",  "what to do about it" },       [](const Check& c) -> Value { return c.advice_; } },
};
// clang-format on

using Checks = std::vector<Check>;

void checkIdentification(const Evidence& evidence, Checks& out)
{
    if (evidence.type_ == DT_INVALID)
        out.push_back({"fail", "identification",
                       "no id in the kernel's build string, its release or the host name",
                       "give the board its name: build the kernel with the id in LOCALVERSION, or "
                       "set the host name; at a desk: tldevice sandbox --as ID -- CMD"});
    else
        out.push_back({"ok", "identification",
                       tl::DeviceType::toString(evidence.type_) + " (" +
                           tl::DeviceType::toServerName(evidence.type_) + "), decided by the " +
                           evidence.decider()->called_,
                       ""});
}

const char* adviceFor(const Warning& warning)
{
    if (warning.code_ == "contradiction")
        return "make them agree; tldevice identify --explain shows all of it";
    if (warning.code_ == "truncation")
        return "shorten the text, or move the id to its beginning";
    if (warning.code_ == "short_id")
        return "rename the host if this is no such device";
    return "take these words out of the text";
}

void checkSources(const Evidence& evidence, Checks& out)
{
    for (const Warning& warning : evidence.warnings_)
        out.push_back({"warn", "sources", warning.message_, adviceFor(warning)});
    if (evidence.warnings_.empty())
        out.push_back({"ok", "sources", "they do not contradict each other, and no id is cut", ""});
}

void checkCatalogue(Checks& out)
{
    std::string lost;
    for (const DeviceType_t type : deviceTypes()) {
        const std::string& id = tl::DeviceType::toString(type);
        if (tl::DeviceType::find(id) != type)
            lost += " " + id;
    }
    if (lost.empty())
        out.push_back({"ok", "catalogue",
                       "each of the " + std::to_string(deviceTypes().size()) + " ids finds itself",
                       ""});
    else
        out.push_back({"fail", "catalogue", "these ids find another type:" + lost,
                       "this library is damaged or mismatched: install it again"});
}

void checkRecord(DeviceType_t type, Checks& out)
{
    if (type == DT_INVALID)
        return;
    if (propertiesAnswer(type).fields_.empty())
        out.push_back({"fail", "properties",
                       "the update manager has no record of " + tl::DeviceType::toString(type),
                       "do not run the update manager on this device"});
    else
        out.push_back({"ok", "properties",
                       "the update manager knows it as " +
                           tl::DevicePropertiesMap::instance().get(type)->updateManagerName_,
                       ""});
}

bool isCleanPrefix(const std::string& line)
{
    for (const char c : line)
        if (c <= ' ' || c >= 0x7F)
            return false;
    return true;
}

bool isOrdinaryFile(const char* path)
{
    struct stat found;
    return ::stat(path, &found) == 0 && S_ISREG(found.st_mode);
}

Check identifierFile(DeviceType_t type)
{
    const std::string file = IDENTIFIER_FILE;
    const char* const advice =
        "write the identifier's prefix, without its last dash, into the first line";
    if (type != DT_PARTNER_AVR)
        return {"ok", "identifier",
                tl::DeviceType::toUuid(type).empty() ? "this type announces none"
                                                     : "the prefix is in the catalogue",
                ""};
    if (::access(IDENTIFIER_FILE, F_OK) != 0)
        return {"fail", "identifier", "there is no " + file, advice};
    if (!isOrdinaryFile(IDENTIFIER_FILE))
        return {"fail", "identifier", file + " is not an ordinary file",
                "replace it: reading it may block for ever"};
    if (::access(IDENTIFIER_FILE, R_OK) != 0)
        return {"fail", "identifier", "cannot read " + file + ": " + reason(errno),
                "make it readable for the programs that ask"};

    const std::string prefix = tl::DeviceType::readUuidFromFile(file);
    if (prefix.empty() || prefix == "-")
        return {"fail", "identifier", "the first line of " + file + " is empty", advice};
    if (!isCleanPrefix(prefix))
        return {"warn", "identifier",
                "the first line of " + file + " holds more than letters: the prefix is \"" +
                    prefix + "\"",
                "nothing is trimmed: take blanks, carriage returns and the like out"};
    return {"ok", "identifier", "the prefix is \"" + prefix + "\"", ""};
}

void checkKernel(const Evidence& evidence, Checks& out)
{
    const std::string release = "release " + evidence.texts_.release_;
    if (getKernelVersion() == 0)
        out.push_back(
            {"warn", "kernel", release + " is of no class that the library knows",
             "programs that ask for the class are told \"<error>\"; see what they do then"});
    else
        out.push_back(
            {"ok", "kernel", release + " is of class " + kernelClass(evidence.texts_), ""});
}

void checkSandbox(const SandboxTree& tree, Checks& out)
{
    const std::vector<Warning> warnings = tree.warnings();
    for (const Warning& warning : warnings)
        out.push_back({warning.code_ == "writable" ? "warn" : "fail", "sandbox", warning.message_,
                       warning.code_ == "writable"
                           ? "chmod go-w it"
                           : "see who made it, remove it by hand, then tldevice sandbox init"});
    if (!warnings.empty())
        return;
    if (!tree.exists())
        out.push_back({"ok", "sandbox", "there is none; tldevice sandbox init makes one", ""});
    else if (!tree.isComplete())
        out.push_back(
            {"warn", "sandbox", tree.root() + " is not complete", "tldevice sandbox init"});
    else
        out.push_back({"ok", "sandbox", tree.root() + " is complete and ours", ""});
}

Check temporaryFiles()
{
    if (::access("/tmp", W_OK | X_OK) != 0)
        return {"fail", "temporary files", "cannot write to /tmp: " + reason(errno),
                "make it writable, mode 1777: supervised programs write their output there"};

    const std::vector<std::string> left = leftoverLogs();
    if (left.empty())
        return {"ok", "temporary files", "no log of a supervised program is left over", ""};
    return {"warn", "temporary files",
            std::to_string(left.size()) + (left.size() == 1 ? " log" : " logs") +
                " of supervised programs without a living owner: " + left[0] +
                (left.size() > 1 ? ", ..." : ""),
            "remove them; a supervisor was killed, or crashed, while it ran something"};
}

Check systemLog()
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, LOG_SOCKET, sizeof LOG_SOCKET);
    int error = 0;
    for (const int kind : {SOCK_DGRAM, SOCK_STREAM}) {
        const Descriptor log(::socket(AF_UNIX, kind | SOCK_CLOEXEC, 0));
        if (::connect(log.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0)
            return {"ok", "syslog", std::string(LOG_SOCKET) + " is listened to", ""};
        error = errno;
    }
    return {"warn", "syslog", "cannot reach " + std::string(LOG_SOCKET) + ": " + reason(error),
            "start the system logger: what the library reports goes nowhere"};
}

Checks examineMachine(const Evidence& evidence)
{
    Checks checks;
    checkIdentification(evidence, checks);
    checkSources(evidence, checks);
    checkCatalogue(checks);
    checkRecord(evidence.type_, checks);
    checks.push_back(identifierFile(evidence.type_));
    checkKernel(evidence, checks);
    checkSandbox(SandboxTree(), checks);
    checks.push_back(temporaryFiles());
    checks.push_back(systemLog());
    return checks;
}

bool hasFailure(const Checks& checks)
{
    for (const Check& check : checks)
        if (std::strcmp(check.level_, "fail") == 0)
            return true;
    return false;
}

List checkList(const Checks& checks)
{
    List list{"checks", {}};
    for (const Check& check : checks)
        list.rows_.push_back(rowOf(CHECK_FIELDS, check));
    return list;
}

std::string coloured(const std::string& level, bool colour)
{
    if (!colour)
        return level;
    const char* const code = level == "ok" ? "32" : level == "warn" ? "1;33" : "1;31";
    return std::string("\033[") + code + "m" + level + "\033[0m";
}

std::string forPeople(const Checks& checks, bool colour)
{
    constexpr std::size_t NAME_COLUMN = 6;
    constexpr std::size_t MESSAGE_COLUMN = 23;

    std::string out;
    for (const Check& check : checks) {
        const std::string level = check.level_;
        std::string name = check.name_;
        name.resize(MESSAGE_COLUMN - NAME_COLUMN, ' ');
        out += coloured(level, colour) + std::string(NAME_COLUMN - level.size(), ' ') + name +
               wrapped(escaped(check.message_), MESSAGE_COLUMN);
        if (!check.advice_.empty())
            out += std::string(MESSAGE_COLUMN, ' ') + "-> " +
                   wrapped(check.advice_, MESSAGE_COLUMN + 3);
    }
    return out;
}

std::string timeOfDay()
{
    const std::time_t now = std::time(nullptr);
    std::tm parts{};
    char text[32] = "";
    if (::gmtime_r(&now, &parts) != nullptr)
        (void)std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &parts);
    return text;
}

Json machine()
{
    utsname kernel{};
    (void)::uname(&kernel);
    Json json;
    json["time"] = timeOfDay();
    json["user"] = static_cast<long>(::geteuid());
    json["sysname"] = jsonText(kernel.sysname);
    json["machine"] = jsonText(kernel.machine);
    json["tldevice"] = TLDEVICE_VERSION;
    return json;
}

Answer explained(Evidence evidence)
{
    // Reading a file that is not ordinary might keep us waiting for ever.
    evidence.texts_.ofThisDevice_ =
        evidence.type_ != DT_PARTNER_AVR || isOrdinaryFile(IDENTIFIER_FILE);
    Answer answer = identityAnswer(evidence);
    answer.lists_ = {sourceList(evidence.sources_), matchList(evidence.sources_),
                     warningList(evidence.warnings_)};
    return answer;
}

Json bundle(const Evidence& evidence, const Checks& checks)
{
    Json whole = document();
    whole["machine"] = machine();
    whole["identify"] = json(explained(evidence));
    whole["properties"] = json(propertiesAnswer(evidence.type_));
    whole["paths"] = json(pathList(placesOf("real", tl::release)).rows_);
    whole["sandbox"] = json(sandboxAnswer());
    whole["checks"] = json(checkList(checks).rows_);
    whole["leftovers"] = leftoverLogs();
    return whole;
}

}  // namespace

int doctor(const Arguments& arguments)
{
    const Evidence evidence = examineThisDevice();
    const Checks checks = examineMachine(evidence);
    const int exitCode = hasFailure(checks) ? EXIT_NO : EXIT_YES;
    if (arguments.has("bundle")) {
        arguments.atMostOneOf({"bundle", "plain"});
        arguments.atMostOneOf({"bundle", "shell"});
        print(printed(bundle(evidence, checks)));
        return exitCode;
    }

    Answer answer;
    answer.lists_ = {checkList(checks)};
    answer.people_ = forPeople(checks, arguments.colour(STDOUT_FILENO));
    return arguments.print(answer, exitCode);
}

std::vector<FieldName> checkFields()
{
    return namesOf(CHECK_FIELDS);
}

}  // namespace tool
