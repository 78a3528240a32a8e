#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>

#include "device/records.h"
#include "health/Check.h"
#include "health/space.h"
#include "system/OrdinaryFile.h"
#include "system/output.h"
#include "tl/Facade.h"

namespace tool {

namespace {

// ------------------------------------------------------------------------------------------- files

// What it means if a file of the update manager is missing, unusable or readable.
struct FileRow {
    std::string tl::FacadeInfo::*path_;
    Level whenUnusable_;
    const char* missing_;
    Level whenThere_ = Level::OK;
    const char* there_ = "readable";
    const char* adviceWhenThere_ = "";
};

using Info = tl::FacadeInfo;

// clang-format off
constexpr FileRow STATE_FILE   = { &Info::umStateFile,    Level::FAIL, "not present: the update manager starts afresh" };
constexpr FileRow STATE_BACKUP = { &Info::umStateBakFile, Level::WARN, "not present: a lost state file cannot be restored" };
constexpr FileRow STATUS_FILE  = { &Info::umStatusFile,   Level::FAIL, "not present: the update manager has not reported yet" };
constexpr FileRow DEBUG_FILE   = { &Info::umDebugFile,    Level::WARN, "not present" };
// clang-format on
constexpr FileRow CORRUPT_FILE = {
    &Info::umStateCorruptFile,
    Level::WARN,
    "not present",
    Level::WARN,
    "a corrupt state file was set aside",
    "keep a copy for the support ticket, then remove it; check for a full disk or a power cut"};
constexpr FileRow EXCLUSIONS = {&Info::umExclusionFile, Level::FAIL,
                                "not present: nothing is excluded from updates", Level::OK,
                                "readable: what it lists is not updated"};

// Root is denied access only by a fault; other users may simply lack permission.
Level whenRefused(Level forRoot)
{
    return ::geteuid() == 0 ? forRoot : Level::CANNOT_TELL;
}

const char* adviceWhenRefused(const char* forRoot)
{
    return ::geteuid() == 0 ? forRoot : "run doctor again as root";
}

Remarks lookAt(const FileRow& row)
{
    const std::string& path = tl::release.*row.path_;
    OrdinaryFile file(path);
    (void)file.read(1);  // on a damaged file system, open() may succeed and read() fail
    switch (file.state()) {
        case OrdinaryFile::MISSING:
            return {{Level::OK, path + ": " + row.missing_}};
        case OrdinaryFile::DANGLING:
            return {{row.whenUnusable_, path + " is a dangling link",
                     "create its target, or remove the link"}};
        case OrdinaryFile::NOT_A_FILE:
            return {{row.whenUnusable_, path + " is not a regular file",
                     "move it away: the update manager expects a regular file or none"}};
        case OrdinaryFile::CLOSED:
            return {{whenRefused(row.whenUnusable_),
                     "cannot read " + path + ": " + reason(file.error()),
                     adviceWhenRefused("check the file system (fsck) and the file's mode")}};
        case OrdinaryFile::READABLE:
            break;
    }
    return {{row.whenThere_, path + ": " + row.there_, row.adviceWhenThere_}};
}

template <const FileRow& ROW>
Remarks file(const Patient&)
{
    return lookAt(ROW);
}

// ------------------------------------------------------------------------------------- directories

std::string withoutSlash(const std::string& path)
{
    return path.size() > 1 && path.back() == '/' ? path.substr(0, path.size() - 1) : path;
}

Remark notWritable(const std::string& path, int error)
{
    const std::string message = "cannot write to " + path + ": " + reason(error);
    if (error == EROFS)
        return {Level::FAIL, message, "remount it read-write; dmesg may show why it is read-only"};
    if (error != EACCES && error != EPERM)
        return {Level::FAIL, message, "check the file system"};
    return {whenRefused(Level::FAIL), message,
            adviceWhenRefused("give its owner write permission")};
}

// `use`: what the directory is for.
Remarks directory(const std::string& name, const char* use)
{
    const std::string path = withoutSlash(name);
    struct stat found;
    const int error = ::stat(path.c_str(), &found) == 0 ? 0 : errno;
    if (error == ENOENT && ::lstat(path.c_str(), &found) == 0)
        return {{Level::FAIL, path + " is a dangling link: " + use,
                 "create its target, or replace the link with a directory"}};
    if (error == ENOENT)
        return {{Level::FAIL, path + " does not exist: " + use, "create it", "mkdir -p " + path}};
    if (error != 0 && error != ENOTDIR)
        return {{whenRefused(Level::FAIL), "cannot access " + path + ": " + reason(error),
                 adviceWhenRefused("check the file system and the parent directories")}};
    if (error == ENOTDIR || !S_ISDIR(found.st_mode))
        return {{Level::FAIL, path + " is not a directory: " + use, "replace it with a directory"}};
    if (::access(path.c_str(), W_OK | X_OK) != 0)
        return {notWritable(path, errno)};
    return {spaceIn(path)};
}

Remarks packages(const Patient& patient)
{
    const bool served = patient.type() != DT_INVALID && hasRecord(patient.type());
    return directory(
        served ? recordOf(patient.type()).properties_->packageDir_ : tl::release.packagesDir,
        "packages are stored there");
}

Remarks cache(const Patient&)
{
    return directory(tl::release.varUpmanCacheDir, "downloads are stored there");
}

Remarks logs(const Patient&)
{
    return directory(tl::release.varLogDir, "logs are written there");
}

Remarks running(const Patient&)
{
    return directory(tl::release.varRunDir, "running programs record their state there");
}

// ---------------------------------------------------------------------------- log-directory script

// The path that the script tests first: "if [ ! -e PATH ]".
std::string placeIn(const std::string& script)
{
    constexpr const char* TEST = "[ ! -e ";
    const std::size_t test = script.find(TEST);
    if (test == std::string::npos)
        return "";
    const std::size_t begin = test + std::string(TEST).size();
    return script.substr(begin, script.find(' ', begin) - begin);
}

std::string targetOf(const std::string& link)
{
    char target[PATH_MAX];
    const ssize_t length = ::readlink(link.c_str(), target, sizeof target);
    return length < 0 ? "" : std::string(target, static_cast<std::size_t>(length));
}

Remark withoutLogDirectory(const std::string& place, int error)
{
    if (error == ENOENT || error == ENOTDIR)
        return {Level::WARN, place + " does not exist: logs are lost",
                "run the script that creates it", "tldevice properties --script | sh"};
    return {whenRefused(Level::FAIL), "cannot access " + place + ": " + reason(error),
            adviceWhenRefused("check the file system")};
}

// Follows links, as the script's own test does.
Remarks logDirectory(const Patient& patient)
{
    if (patient.type() == DT_INVALID || !hasRecord(patient.type()))
        return {{Level::CANNOT_TELL, "cannot determine which script creates it",
                 "see identification and properties above"}};
    const std::string& script = recordOf(patient.type()).properties_->logDirScript_;
    const std::string place = placeIn(script);
    const bool makesLink = script.find("ln -s") != std::string::npos;

    struct stat is;
    if (::lstat(place.c_str(), &is) != 0)
        return {withoutLogDirectory(place, errno)};
    const bool link = S_ISLNK(is.st_mode);
    struct stat leadsTo;
    if (::stat(place.c_str(), &leadsTo) != 0)
        return {{Level::FAIL, place + " is a dangling link to " + targetOf(place),
                 "create the directory that it points to: the script does not"}};
    if (!S_ISDIR(leadsTo.st_mode))
        return {{Level::FAIL,
                 place + (link ? " does not point to a directory" : " is not a directory"),
                 "move it away, then run the script: it replaces nothing",
                 "tldevice properties --script | sh"}};
    if (link)
        return {{Level::OK, place + " is a link to " + targetOf(place)}};
    return {
        {Level::OK, place + (makesLink ? " is a directory; the script does not replace it by a link"
                                       : " is a directory")}};
}

}  // namespace

const std::vector<CheckRow>& updateManagerChecks()
{
    static const std::vector<CheckRow> rows = {
        {"state file", file<STATE_FILE>},
        {"state backup", file<STATE_BACKUP>},
        {"corrupt state", file<CORRUPT_FILE>},
        {"status file", file<STATUS_FILE>},
        {"exclusions", file<EXCLUSIONS>},
        {"debug file", file<DEBUG_FILE>},
        {"packages", packages},
        {"cache", cache},
        {"logs", logs},
        {"run", running},
        {"log directory", logDirectory},
    };
    return rows;
}

}  // namespace tool
