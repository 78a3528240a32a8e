#include "leftovers.h"

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <memory>
#include <set>
#include <utility>

namespace tool {

namespace {

constexpr const char* DIRECTORY = "/tmp/";
constexpr const char* PREFIX = "watchprocess.";
constexpr std::size_t RANDOM = 6;  // characters that mkstemp(3) fills in

struct Log {
    std::string path_;
    dev_t device_;
    ino_t inode_;
    uid_t owner_;
};

std::vector<std::string> namesIn(const std::string& directory)
{
    std::vector<std::string> names;
    const std::unique_ptr<DIR, int (*)(DIR*)> entries(::opendir(directory.c_str()), ::closedir);
    if (entries == nullptr)
        return names;
    while (const dirent* entry = ::readdir(entries.get()))
        names.emplace_back(entry->d_name);
    std::sort(names.begin(), names.end());
    return names;
}

std::vector<Log> logs()
{
    std::vector<Log> found;
    for (const std::string& name : namesIn(DIRECTORY)) {
        struct stat file;
        const std::string path = DIRECTORY + name;
        if (name.rfind(PREFIX, 0) == 0 && name.size() == std::strlen(PREFIX) + RANDOM &&
            ::lstat(path.c_str(), &file) == 0 && S_ISREG(file.st_mode))
            found.push_back({path, file.st_dev, file.st_ino, file.st_uid});
    }
    return found;
}

bool isProcess(const std::string& name)
{
    return name.find_first_not_of("0123456789") == std::string::npos;
}

bool hasLibraryLoaded(const std::string& process)
{
    std::ifstream maps(process + "/maps");
    std::string line;
    while (std::getline(maps, line))
        if (line.find("libtldevice.so") != std::string::npos)
            return true;
    return false;
}

// What the living processes hold: files they have open, and users who have the library loaded.
struct Living {
    std::set<std::pair<dev_t, ino_t>> open_;
    std::set<uid_t> users_;
};

void noteOpenFiles(const std::string& directory, Living& out)
{
    for (const std::string& fd : namesIn(directory)) {
        struct stat file;
        if (::stat((directory + fd).c_str(), &file) == 0 && S_ISREG(file.st_mode))
            out.open_.insert({file.st_dev, file.st_ino});
    }
}

Living living()
{
    Living found;
    const std::string self = std::to_string(::getpid());
    for (const std::string& name : namesIn("/proc")) {
        const std::string process = "/proc/" + name;
        struct stat owner;
        if (!isProcess(name) || name == self || ::stat(process.c_str(), &owner) != 0)
            continue;
        noteOpenFiles(process + "/fd/", found);
        if (hasLibraryLoaded(process))
            found.users_.insert(owner.st_uid);
    }
    return found;
}

}  // namespace

std::vector<std::string> leftoverLogs()
{
    const std::vector<Log> all = logs();
    if (all.empty())
        return {};

    const Living now = living();
    std::vector<std::string> left;
    for (const Log& log : all)
        if (now.open_.count({log.device_, log.inode_}) == 0 && now.users_.count(log.owner_) == 0)
            left.push_back(log.path_);
    return left;
}

}  // namespace tool
