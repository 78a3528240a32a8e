#include "device/leftovers.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <fstream>
#include <set>
#include <sstream>
#include <string_view>
#include <utility>

#include "system/directory.h"

namespace tool {

namespace {

constexpr const char* DIRECTORY = "/tmp/";
constexpr std::string_view PREFIX = "watchprocess.";
constexpr std::size_t RANDOM = 6;  // letters and digits that mkstemp(3) fills in

bool isName(const std::string& name)
{
    return name.size() == PREFIX.size() + RANDOM && name.rfind(PREFIX, 0) == 0 &&
           std::all_of(name.begin() + static_cast<std::ptrdiff_t>(PREFIX.size()), name.end(),
                       [](unsigned char c) { return c < 0x80 && std::isalnum(c) != 0; });
}

bool isProcess(const std::string& name)
{
    return name.find_first_not_of("0123456789") == std::string::npos;
}

bool isGone(int error)
{
    return error == ENOENT || error == ESRCH;
}

// The real, effective, saved and file-system user of a process.
std::set<uid_t> usersOf(const std::string& process)
{
    std::ifstream status(process + "/status");
    std::string line;
    while (std::getline(status, line)) {
        if (line.rfind("Uid:", 0) != 0)
            continue;
        std::istringstream numbers(line.substr(4));
        std::set<uid_t> users;
        for (uid_t user = 0; numbers >> user;)
            users.insert(user);
        return users;
    }
    return {};
}

enum class Library { ABSENT, LOADED, UNKNOWN };

Library libraryIn(const std::string& process)
{
    errno = 0;
    std::ifstream maps(process + "/maps");
    if (!maps.is_open())
        return isGone(errno) ? Library::ABSENT : Library::UNKNOWN;
    std::string line;
    while (std::getline(maps, line))
        if (line.find("libtldevice.so") != std::string::npos)
            return Library::LOADED;
    return maps.bad() && !isGone(errno) ? Library::UNKNOWN : Library::ABSENT;
}

// Files that live processes have open, and users whose processes may need an output file.
struct Living {
    std::set<std::pair<dev_t, ino_t>> open_;
    std::set<uid_t> users_;
    bool someAreHidden_;
};

// \returns false if access is denied.
bool noteOpenFiles(const std::string& directory, Living& out)
{
    const Names descriptors = namesIn(directory);
    for (const std::string& fd : descriptors.all_) {
        struct stat file;
        if (::stat((directory + fd).c_str(), &file) == 0)
            out.open_.insert({file.st_dev, file.st_ino});
    }
    return descriptors.error_ == 0 || isGone(descriptors.error_);
}

Living living()
{
    struct stat first;
    Living found{
        {}, {}, ::stat("/proc/1", &first) != 0};  // /proc mounted with "hidepid", or not at all
    const std::string self = std::to_string(::getpid());
    for (const std::string& name : namesIn("/proc").all_) {
        const std::string process = "/proc/" + name;
        if (!isProcess(name))
            continue;
        const bool seen = noteOpenFiles(process + "/fd/", found);
        if (name == self)  // has the library loaded, but needs no output file
            continue;
        if (!seen || libraryIn(process) != Library::ABSENT)
            found.users_.merge(usersOf(process));
    }
    return found;
}

LogState stateOf(const struct stat& log, const Living& now)
{
    if (now.open_.count({log.st_dev, log.st_ino}) > 0)
        return LogState::OPEN;
    return now.someAreHidden_ || now.users_.count(log.st_uid) > 0 ? LogState::UNKNOWN
                                                                  : LogState::LEFT;
}

}  // namespace

std::vector<Log> outputLogs()
{
    std::vector<std::pair<std::string, struct stat>> files;
    for (const std::string& name : namesIn(DIRECTORY).all_) {
        struct stat file;
        if (isName(name) && ::lstat((DIRECTORY + name).c_str(), &file) == 0 &&
            S_ISREG(file.st_mode))
            files.emplace_back(DIRECTORY + name, file);
    }
    if (files.empty())
        return {};

    const Living now = living();
    std::vector<Log> logs;
    logs.reserve(files.size());
    for (const auto& [path, file] : files)
        logs.push_back({path, stateOf(file, now)});
    return logs;
}

}  // namespace tool
