#include <algorithm>

#include "device/catalogue.h"
#include "device/identifierFile.h"
#include "device/records.h"
#include "health/Check.h"
#include "system/output.h"

namespace tool {

namespace {

Remarks identification(const Patient& patient)
{
    if (!patient.evidence_)
        return {{Level::FAIL, patient.unameFailure_,
                 "find out what blocks uname(2): a seccomp filter or a container"}};
    const Evidence& evidence = *patient.evidence_;
    if (evidence.type_ == DT_INVALID)
        return {{Level::FAIL, "no id in the kernel's build string, its release or the host name",
                 "set a host name that contains the id, or build the kernel with it in "
                 "CONFIG_LOCALVERSION; on a workstation, use tldevice sandbox --as ID CMD"}};
    return {{Level::OK, tl::DeviceType::toString(evidence.type_) + " (" +
                            tl::DeviceType::toServerName(evidence.type_) + "), decided by the " +
                            evidence.decider()->called_}};
}

const char* adviceFor(const Warning& warning)
{
    if (warning.code_ == WarningCode::CONTRADICTION)
        return "make the sources agree; run tldevice identify --explain for details";
    if (warning.code_ == WarningCode::TRUNCATION)
        return "shorten the text, or move the id to its start";
    if (warning.code_ == WarningCode::SHORT_ID)
        return "rename the host if this is not such a device";
    return "remove these words from the text";
}

Remarks sources(const Patient& patient)
{
    Remarks found;
    if (!patient.evidence_)
        return found;
    for (const Warning& warning : patient.evidence_->warnings_)
        found.push_back({Level::WARN, warning.message_, adviceFor(warning)});
    if (found.empty())
        found.push_back({Level::OK, "consistent, and no id is truncated"});
    return found;
}

Remarks catalogue(const Patient&)
{
    std::string lost;
    for (const DeviceType_t type : deviceTypes())
        if (tl::DeviceType::find(tl::DeviceType::toString(type)) != type)
            lost += " " + tl::DeviceType::toString(type);
    if (lost.empty())
        return {{Level::OK,
                 "each of the " + std::to_string(deviceTypes().size()) + " ids finds itself"}};
    return {{Level::FAIL, "these ids find another type:" + lost,
             "reinstall tldevice and its library: they are damaged or do not match"}};
}

Remarks record(const Patient& patient)
{
    if (patient.type() == DT_INVALID)
        return {{Level::CANNOT_TELL, "the device type is unknown", "see identification above"}};
    if (!hasRecord(patient.type()))
        return {{Level::FAIL,
                 "the update manager has no record of " + tl::DeviceType::toString(patient.type()),
                 "do not run the update manager on this device"}};
    const tl::DeviceProperties& known = *recordOf(patient.type()).properties_;
    return {{Level::OK, "the update manager knows it as " + known.updateManagerName_}};
}

bool isCleanPrefix(const std::string& line)
{
    return std::all_of(line.begin(), line.end(),
                       [](unsigned char c) { return c > ' ' && c < 0x7F; });
}

Remarks identifierFile()
{
    const std::string name = IDENTIFIER_FILE;
    const char* const writeIt =
        "write the identifier prefix, without its final dash, on its first line";
    const IdentifierFile file = readIdentifierFile();
    switch (file.state_) {
        case OrdinaryFile::MISSING:
            return {{Level::FAIL, name + " does not exist", writeIt}};
        case OrdinaryFile::DANGLING:
            return {{Level::FAIL, name + " is a dangling link",
                     "create its target, or replace it with a file"}};
        case OrdinaryFile::NOT_A_FILE:
            return {{Level::FAIL, name + " is not a regular file",
                     "replace it with a regular file: reading it may block forever"}};
        case OrdinaryFile::CLOSED:
            return {{Level::FAIL, "cannot read " + name + ": " + reason(file.error_),
                     "make it readable by the programs that identify the device"}};
        case OrdinaryFile::READABLE:
            break;
    }
    if (file.endless_)
        return {{Level::FAIL, "the first line of " + name + " is longer than any prefix",
                 "replace it: programs read the whole line into memory"}};
    if (file.firstLine_.empty())
        return {{Level::FAIL, "the first line of " + name + " is empty", writeIt}};
    if (!isCleanPrefix(file.firstLine_))
        return {{Level::WARN,
                 "the first line of " + name +
                     " contains blanks or unprintable characters: the prefix is \"" +
                     file.firstLine_ + "-\"",
                 "remove them, including carriage returns: nothing is trimmed"}};
    return {{Level::OK, "the identifier prefix is \"" + file.firstLine_ + "-\""}};
}

Remarks identifier(const Patient& patient)
{
    if (patient.type() == DT_INVALID)
        return {{Level::CANNOT_TELL, "the device type is unknown", "see identification above"}};
    if (hasPrefixInAFile(patient.type()))
        return identifierFile();
    return {{Level::OK, tl::DeviceType::toUuid(patient.type()).empty()
                            ? "this type has no identifier prefix"
                            : "the identifier prefix is in the catalogue"}};
}

Remarks kernel(const Patient& patient)
{
    if (!patient.evidence_)
        return {};
    const std::string release = "release " + patient.evidence_->texts_.release_;
    if (getKernelVersion() == 0)
        return {{Level::WARN, release + " is of no kernel class that the library knows",
                 "check how your programs handle the kernel class \"<error>\""}};
    return {{Level::OK, release + " is of kernel class " + kernelClass(patient.evidence_->texts_)}};
}

}  // namespace

const std::vector<CheckRow>& identityChecks()
{
    static const std::vector<CheckRow> rows = {
        {"identification", identification}, {"sources", sources},
        {"catalogue", catalogue},           {"properties", record},
        {"identifier", identifier},         {"kernel", kernel},
    };
    return rows;
}

}  // namespace tool
