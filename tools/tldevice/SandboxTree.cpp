#include "SandboxTree.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <memory>

#include "Failure.h"
#include "bytes.h"
#include "layout.h"
#include "output.h"

namespace tool {

namespace {

constexpr int AS_DIRECTORY = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
constexpr mode_t DIRECTORY_MODE = 0755;

struct Identity {
    dev_t device_;
    ino_t inode_;

    bool operator==(const Identity& other) const
    {
        return device_ == other.device_ && inode_ == other.inode_;
    }
};

Identity identityOf(const Descriptor& file)
{
    struct stat found {};
    (void)::fstat(file.get(), &found);
    return {found.st_dev, found.st_ino};
}

Failure refusal(const std::string& message)
{
    return Failure{EXIT_TROUBLE, "unsafe", message + "; it is left alone"};
}

Failure notMade(const std::string& path, int error)
{
    return Failure{EXIT_TROUBLE, "not_made",
                   "cannot make '" + escaped(path) + "': " + reason(error)};
}

// "" where `path` is a directory of ours, or is missing; else what it is instead.
std::string whatIsWrongWith(const std::string& path, std::string& code)
{
    struct stat found;
    if (::lstat(path.c_str(), &found) != 0)
        return "";
    if (S_ISLNK(found.st_mode)) {
        code = "link";
        return "'" + path + "' is a symbolic link";
    }
    if (!S_ISDIR(found.st_mode)) {
        code = "not_a_directory";
        return "'" + path + "' is not a directory";
    }
    if (found.st_uid != ::geteuid()) {
        code = "other_owner";
        return "'" + path + "' belongs to user " + std::to_string(found.st_uid) + ", not to user " +
               std::to_string(::geteuid());
    }
    if ((found.st_mode & (S_IWGRP | S_IWOTH)) != 0) {
        code = "writable";
        return "'" + path + "' can be written by others";
    }
    return "";
}

// The octal escapes of a mount table: "\040" is a blank.
std::string unescapedMount(const std::string& field)
{
    std::string out;
    for (std::size_t i = 0; i < field.size(); ++i) {
        if (field[i] == '\\' && i + 3 < field.size()) {
            out += static_cast<char>((field[i + 1] - '0') * 64 + (field[i + 2] - '0') * 8 +
                                     (field[i + 3] - '0'));
            i += 3;
        } else {
            out += field[i];
        }
    }
    return out;
}

// A file system that is mounted at or below the tree is not part of it, whatever it looks like from
// within.  Where there is no /proc, only the device numbers tell.
std::string mountWithin(const Descriptor& root)
{
    char real[4096];
    const std::string link = "/proc/self/fd/" + std::to_string(root.get());
    const ssize_t length = ::readlink(link.c_str(), real, sizeof real);
    if (length <= 0)
        return "";
    const std::string path(real, static_cast<std::size_t>(length));

    std::ifstream mounts("/proc/self/mounts");
    std::string device;
    std::string point;
    std::string rest;
    while (mounts >> device >> point && std::getline(mounts, rest)) {
        std::string mounted = unescapedMount(point);
        if (mounted == path || mounted.rfind(path + "/", 0) == 0)
            return mounted;
    }
    return "";
}

// Empties a directory, however deep.  One directory is open at a time; the way back up is checked
// against what was seen on the way down, so moving a directory meanwhile leads nowhere else.
class Emptying {
public:
    Emptying(Descriptor root, std::string path)
        : current_(std::move(root)), device_(identityOf(current_).device_), path_(std::move(path))
    {
    }

    std::vector<std::string> run()
    {
        for (;;) {
            const std::string child = removeFiles();
            if (!child.empty())
                descend(child);
            else if (levels_.empty())
                return kept_;
            else
                ascend();
        }
    }

private:
    struct Level {
        std::string name_;  // of the directory that was entered
        Identity above_;
        std::set<std::string> keptAbove_;
    };

    std::string pathOf(const std::string& name) const
    {
        std::string path = path_;
        for (const Level& level : levels_)
            path += "/" + level.name_;
        return path + "/" + name;
    }

    void keep(const std::string& name, const std::string& why)
    {
        keptHere_.insert(name);
        kept_.push_back("cannot remove '" + escaped(pathOf(name)) + "': " + why);
    }

    // Removes what is no directory; returns the first directory on the way, "" at the end.
    std::string removeFiles()
    {
        const int fd = ::openat(current_.get(), ".", AS_DIRECTORY);
        const std::unique_ptr<DIR, int (*)(DIR*)> entries(fd < 0 ? nullptr : ::fdopendir(fd),
                                                          ::closedir);
        if (entries == nullptr) {
            if (fd >= 0)
                (void)::close(fd);
            return "";
        }
        while (const dirent* entry = ::readdir(entries.get())) {
            std::string name = entry->d_name;
            if (name == "." || name == ".." || keptHere_.count(name) > 0)
                continue;
            struct stat found;
            if (::fstatat(current_.get(), name.c_str(), &found, AT_SYMLINK_NOFOLLOW) != 0) {
                if (errno != ENOENT)  // else gone meanwhile
                    keep(name, reason(errno));
                continue;
            }
            if (S_ISDIR(found.st_mode))
                return name;
            if (::unlinkat(current_.get(), name.c_str(), 0) != 0)
                keep(name, reason(errno));
        }
        return "";
    }

    void descend(const std::string& name)
    {
        Descriptor next(::openat(current_.get(), name.c_str(), AS_DIRECTORY));
        if (!next.isOpen())
            return removeUnread(name, errno);
        if (identityOf(next).device_ != device_)
            return keep(name, "another file system is mounted there");

        levels_.push_back({name, identityOf(current_), std::move(keptHere_)});
        keptHere_.clear();
        current_ = std::move(next);
    }

    // A directory that may not be read can still be removed if it is empty.
    void removeUnread(const std::string& name, int error)
    {
        if (::unlinkat(current_.get(), name.c_str(), AT_REMOVEDIR) != 0)
            keep(name, reason(error));
    }

    void ascend()
    {
        Descriptor above(::openat(current_.get(), "..", AS_DIRECTORY));
        if (!above.isOpen() || !(identityOf(above) == levels_.back().above_))
            throw Failure{EXIT_TROUBLE, "unsafe", "'" + path_ + "' was changed meanwhile"};

        const Level level = std::move(levels_.back());
        levels_.pop_back();
        current_ = std::move(above);
        const bool complained = !keptHere_.empty();
        keptHere_ = level.keptAbove_;
        if (::unlinkat(current_.get(), level.name_.c_str(), AT_REMOVEDIR) != 0) {
            if (complained)
                keptHere_.insert(level.name_);  // said already
            else
                keep(level.name_, reason(errno));
        }
    }

    Descriptor current_;
    const dev_t device_;
    const std::string path_;
    std::vector<Level> levels_;
    std::set<std::string> keptHere_;
    std::vector<std::string> kept_;
};

}  // namespace

SandboxTree::SandboxTree()
    : root_(tl::Facade::dirName(tl::devel.tollanDir)),
      parent_(tl::Facade::dirName(root_)),
      name_(root_.substr(parent_.size() + 1))
{
}

// The directories of the sandbox layout, and those of its files, without a slash at the end.
std::vector<std::string> SandboxTree::directories() const
{
    std::set<std::string> found;
    for (const PathRow& row : pathRows()) {
        const std::string& path = tl::devel.*row.path_;
        found.insert(path.back() == '/' ? path.substr(0, path.size() - 1)
                                        : tl::Facade::dirName(path));
    }
    return {found.begin(), found.end()};
}

bool SandboxTree::exists() const
{
    struct stat found;
    return ::lstat(root_.c_str(), &found) == 0;
}

bool SandboxTree::isComplete() const
{
    const std::vector<std::string> all = directories();
    return std::all_of(all.begin(), all.end(), [](const std::string& path) {
        int error = 0;
        return kindOf(path, error) == "directory";
    });
}

std::vector<Warning> SandboxTree::warnings() const
{
    std::vector<Warning> found;
    std::vector<std::string> looked = directories();
    looked.insert(looked.begin(), root_);
    for (const std::string& path : looked) {
        std::string code;
        const std::string wrong = whatIsWrongWith(path, code);
        if (!wrong.empty())
            found.push_back({code, wrong});
        if (code == "link" && path == root_)
            break;  // what lies behind it is not ours to judge
    }
    return found;
}

// "/tmp" itself may be a link: that is for the machine's owner to decide.
Descriptor SandboxTree::openParent() const
{
    Descriptor parent(::open(parent_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!parent.isOpen())
        throw Failure{EXIT_TROUBLE, "unreadable",
                      "cannot open '" + parent_ + "': " + reason(errno)};
    return parent;
}

Descriptor SandboxTree::openRoot(const Descriptor& parent) const
{
    std::string code;
    const std::string wrong = whatIsWrongWith(root_, code);
    if (!wrong.empty() && code != "writable")
        throw refusal(wrong);

    Descriptor root(::openat(parent.get(), name_.c_str(), AS_DIRECTORY));
    if (!root.isOpen())
        throw Failure{EXIT_TROUBLE, "unreadable", "cannot open '" + root_ + "': " + reason(errno)};

    struct stat found;
    if (::fstat(root.get(), &found) != 0 || found.st_uid != ::geteuid())
        throw refusal("'" + root_ + "' belongs to somebody else");
    return root;
}

void SandboxTree::make()
{
    const Descriptor parent = openParent();
    if (::mkdirat(parent.get(), name_.c_str(), DIRECTORY_MODE) != 0 && errno != EEXIST)
        throw notMade(root_, errno);
    const Descriptor root = openRoot(parent);
    for (const std::string& path : directories())
        makeDirectory(root, path);
}

void SandboxTree::makeDirectory(const Descriptor& root, const std::string& path) const
{
    Descriptor current(::openat(root.get(), ".", AS_DIRECTORY));
    std::size_t begin = root_.size() + 1;
    while (begin < path.size()) {
        const std::size_t end = std::min(path.find('/', begin), path.size());
        const std::string name = path.substr(begin, end - begin);
        const std::string here = path.substr(0, end);
        if (::mkdirat(current.get(), name.c_str(), DIRECTORY_MODE) != 0 && errno != EEXIST)
            throw notMade(here, errno);

        Descriptor next(::openat(current.get(), name.c_str(), AS_DIRECTORY));
        const int error = errno;
        if (!next.isOpen()) {
            std::string code;
            const std::string wrong = whatIsWrongWith(here, code);
            throw wrong.empty() ? notMade(here, error) : refusal(wrong);
        }
        current = std::move(next);
        begin = end + 1;
    }
}

std::vector<std::string> SandboxTree::remove()
{
    const Descriptor parent = openParent();
    Descriptor root = openRoot(parent);
    const std::string mounted = mountWithin(root);
    if (!mounted.empty())
        throw refusal("a file system is mounted at '" + escaped(mounted) + "'");

    std::vector<std::string> kept = Emptying(std::move(root), root_).run();
    if (kept.empty() && ::unlinkat(parent.get(), name_.c_str(), AT_REMOVEDIR) != 0)
        kept.push_back("cannot remove '" + root_ + "': " + reason(errno));
    return kept;
}

}  // namespace tool
