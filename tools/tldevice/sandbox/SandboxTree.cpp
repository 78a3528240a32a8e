#include "sandbox/SandboxTree.h"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <set>

#include "device/layout.h"
#include "sandbox/TreeWalk.h"
#include "sandbox/mounts.h"
#include "system/Failure.h"
#include "system/output.h"

namespace tool {

namespace {

constexpr mode_t DIRECTORY_MODE = 0755;
constexpr int ATTEMPTS = 1000;  // a concurrent command may undo some of them, but hardly all

Failure leftAlone(const std::string& what)
{
    return Failure{EXIT_TROUBLE, FailureCode::UNSAFE, what + "; refusing to touch it"};
}

Failure notMade(const std::string& path, int error)
{
    return Failure{EXIT_TROUBLE, FailureCode::NOT_MADE,
                   "cannot create '" + path + "': " + reason(error)};
}

std::string notRemoved(const std::string& path, const std::string& why)
{
    return "cannot remove '" + path + "': " + why;
}

bool isForeign(const struct stat& found)
{
    return found.st_uid != ::geteuid();
}

bool mayRemove(const struct stat& found)
{
    return !isForeign(found) || ::geteuid() == 0;
}

Warning foreign(const struct stat& found, const std::string& path)
{
    return {WarningCode::OTHER_OWNER, "'" + path + "' belongs to user " +
                                          std::to_string(found.st_uid) + ", not to user " +
                                          std::to_string(::geteuid())};
}

// What is wrong with a directory of the layout, apart from its owner.
std::vector<Warning> wrongWith(const struct stat& found, const std::string& path)
{
    if (S_ISLNK(found.st_mode))
        return {{WarningCode::LINK, "'" + path + "' is a symbolic link"}};
    if (!S_ISDIR(found.st_mode))
        return {{WarningCode::NOT_A_DIRECTORY, "'" + path + "' is not a directory"}};
    if (!isForeign(found) && (found.st_mode & (S_IWGRP | S_IWOTH)) != 0)
        return {{WarningCode::WRITABLE, "'" + path + "' is writable by other users"}};
    return {};
}

// Records what a walk finds.  Does not enter other users' directories: they could keep us busy
// forever.
class Surveying {
public:
    explicit Surveying(std::vector<std::string> directories) : missing_(std::move(directories)) {}

    bool look(const struct stat& found, const std::string& path)
    {
        const auto place = std::find(missing_.begin(), missing_.end(), path);
        if (place != missing_.end()) {
            const std::vector<Warning> wrong = wrongWith(found, path);
            warnings_.insert(warnings_.end(), wrong.begin(), wrong.end());
            if (S_ISDIR(found.st_mode))
                missing_.erase(place);
            else
                return false;
        }
        if (isForeign(found) && !std::exchange(foreignFound_, true))
            warnings_.push_back(foreign(found, path));
        return !isForeign(found);
    }

    std::vector<std::string> missing_;
    std::vector<Warning> warnings_;

private:
    bool foreignFound_ = false;
};

// Removes what a walk finds.  A directory that is not empty in the end is not reported: what is
// left in it has been reported, or is new, and the next walk will find it.
class Emptying {
public:
    std::vector<std::string> run(Descriptor root, const std::string& path)
    {
        TreeWalk(std::move(root), path,
                 {[this](const Found& found) { remove(found, 0); },
                  [this](const Found& found) { return isOurs(found); },
                  [this](const Found& found) { remove(found, AT_REMOVEDIR); },
                  [this](const Found& found, int error) { removeClosed(found, error); }})
            .run();
        return std::move(kept_);
    }

private:
    void keep(const Found& found, const std::string& why)
    {
        kept_.push_back(notRemoved(found.path_, why));
    }

    bool isOurs(const Found& found)
    {
        if (!mayRemove(found.is_))
            keep(found, "it belongs to user " + std::to_string(found.is_.st_uid));
        return mayRemove(found.is_);
    }

    void remove(const Found& found, int flags)
    {
        if (flags == 0 && !isOurs(found))
            return;
        if (::unlinkat(found.directory_, found.name_.c_str(), flags) != 0 && errno != ENOENT &&
            errno != ENOTEMPTY)
            keep(found, reason(errno));
    }

    // An unreadable directory can still be removed if it is empty.
    void removeClosed(const Found& found, int error)
    {
        if (::unlinkat(found.directory_, found.name_.c_str(), AT_REMOVEDIR) == 0 ||
            errno == ENOENT || error == ESTALE)
            return;
        keep(found, error == EXDEV ? "another file system is mounted there" : reason(error));
    }

    std::vector<std::string> kept_;
};

}  // namespace

SandboxTree::SandboxTree()
    : root_(tl::Facade::dirName(tl::devel.tollanDir)),
      parent_(tl::Facade::dirName(root_)),
      name_(root_.substr(parent_.size() + 1))
{
}

// The directories of the sandbox layout, without trailing slashes, parents first.
std::vector<std::string> SandboxTree::directories() const
{
    std::set<std::string> found = {root_};
    for (const PathRow& row : pathRows()) {
        const std::string& path = tl::devel.*row.path_;
        for (std::size_t end = path.rfind('/'); end > root_.size(); end = path.rfind('/', end - 1))
            found.insert(path.substr(0, end));
    }
    return {found.begin(), found.end()};
}

SandboxTree::Survey SandboxTree::survey() const
{
    struct stat top;
    if (::lstat(root_.c_str(), &top) != 0)
        return {false, false, {}};

    Surveying surveying(directories());
    const auto look = [&](const Found& found) { return surveying.look(found.is_, found.path_); };
    Descriptor root(surveying.look(top, root_) ? ::open(root_.c_str(), AS_OWN_DIRECTORY) : -1);
    if (root.isOpen())
        TreeWalk(std::move(root), root_,
                 {look, look, [](const Found&) {}, [](const Found&, int) {}})
            .run();
    return {true, surveying.missing_.empty(), surveying.warnings_};
}

// "/tmp" itself may be a link: that is up to the machine's owner.
Descriptor SandboxTree::openParent() const
{
    Descriptor parent(::open(parent_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!parent.isOpen())
        throw Failure{EXIT_TROUBLE, FailureCode::UNREADABLE,
                      "cannot open '" + parent_ + "': " + reason(errno)};
    return parent;
}

// Not open if the directory has just vanished.
Descriptor SandboxTree::openRoot(const Descriptor& parent) const
{
    Descriptor root(::openat(parent.get(), name_.c_str(), AS_OWN_DIRECTORY));
    if (!root.isOpen() && errno != ENOENT)
        throw Failure{EXIT_TROUBLE, FailureCode::UNREADABLE,
                      "cannot open '" + root_ + "': " + reason(errno)};
    return root;
}

void SandboxTree::make()
{
    for (int i = 0; i < ATTEMPTS; ++i)
        if (tryToMake())
            return;
    throw notMade(root_, ENOENT);
}

// \returns false if something removed what was just created.
bool SandboxTree::tryToMake() const
{
    const Descriptor parent = openParent();
    if (::mkdirat(parent.get(), name_.c_str(), DIRECTORY_MODE) != 0 && errno != EEXIST)
        throw notMade(root_, errno);
    for (const Warning& warning : survey().warnings_)
        if (warning.code_ != WarningCode::WRITABLE)
            throw leftAlone(warning.message_);

    const Descriptor root = openRoot(parent);
    if (!root.isOpen())
        return false;
    for (const std::string& path : directories())
        if (!makeDirectory(root, path))
            return false;
    return true;
}

// Checks each level from the root down: the survey may be out of date by now.
bool SandboxTree::makeDirectory(const Descriptor& root, const std::string& path) const
{
    Descriptor current(::openat(root.get(), ".", AS_OWN_DIRECTORY));
    for (std::size_t begin = root_.size(); current.isOpen();) {
        struct stat found {};
        (void)::fstat(current.get(), &found);
        const std::string here = path.substr(0, begin);
        if (isForeign(found))
            throw leftAlone(foreign(found, here).message_);
        if (begin == path.size())
            return true;

        const std::size_t end = std::min(path.find('/', begin + 1), path.size());
        const std::string name = path.substr(begin + 1, end - begin - 1);
        const bool made =
            ::mkdirat(current.get(), name.c_str(), DIRECTORY_MODE) == 0 || errno == EEXIST;
        if (made)
            current = Descriptor(::openat(current.get(), name.c_str(), AS_OWN_DIRECTORY));
        if ((!made || !current.isOpen()) && errno != ENOENT)
            throw notMade(path.substr(0, end), errno);
        if (!made)
            return false;
        begin = end;
    }
    return false;
}

std::vector<std::string> SandboxTree::remove()
{
    std::vector<std::string> kept;
    for (int i = 0; i < ATTEMPTS; ++i)
        if (tryToRemove(kept))
            return kept;
    return {notRemoved(root_, reason(ENOTEMPTY))};
}

// \returns false if something was added meanwhile.
bool SandboxTree::tryToRemove(std::vector<std::string>& kept) const
{
    const Descriptor parent = openParent();
    struct stat top;
    if (::fstatat(parent.get(), name_.c_str(), &top, AT_SYMLINK_NOFOLLOW) != 0)
        return errno == ENOENT;
    for (const Warning& warning : survey().warnings_)
        if (warning.code_ == WarningCode::OTHER_OWNER ? ::geteuid() != 0 : !S_ISDIR(top.st_mode))
            throw leftAlone(warning.message_);

    Descriptor root = openRoot(parent);
    if (!root.isOpen())
        return true;
    const std::string mounted = mountWithin(root);
    if (!mounted.empty())
        throw leftAlone("a file system is mounted at '" + mounted + "'");

    kept = Emptying().run(std::move(root), root_);
    if (!kept.empty() || ::unlinkat(parent.get(), name_.c_str(), AT_REMOVEDIR) == 0 ||
        errno == ENOENT)
        return true;
    if (errno == ENOTEMPTY)
        return false;
    kept.push_back(notRemoved(root_, reason(errno)));
    return true;
}

}  // namespace tool
