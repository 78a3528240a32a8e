#pragma once

#include <sys/stat.h>

#include <functional>
#include <string>
#include <vector>

#include "system/Descriptor.h"
#include "system/directory.h"

namespace tool {

/// How a directory of such a tree is opened: never through a link.
constexpr int AS_OWN_DIRECTORY = AS_DIRECTORY | O_NOFOLLOW;

/// Something found in a tree: `name_` in the open directory `directory_`.
struct Found {
    int directory_;
    std::string name_;
    std::string path_;  ///< for messages
    struct stat is_;    ///< from lstat(2)
};

/// The callbacks of a walk.
struct Visits {
    std::function<void(const Found&)> file_;               ///< everything but directories
    std::function<bool(const Found&)> directory_;          ///< \returns whether to enter it
    std::function<void(const Found&)> left_;               ///< after leaving a directory
    std::function<void(const Found&, int error)> closed_;  ///< cannot be examined or entered
};

/// Visits a tree of any depth, depth first and in byte order, and follows no link.
///
/// Only one directory is open at a time.  On the way up, each parent must be the directory seen on
/// the way down: if one was moved meanwhile, the walk throws Failure instead of leaving the tree.
/// What vanishes meanwhile is skipped.  Mounted file systems are not entered: closed_ gets EXDEV.
class TreeWalk {
public:
    TreeWalk(Descriptor root, const std::string& path, Visits visits);
    void run();

private:
    struct Identity {
        dev_t device_;
        ino_t inode_;

        bool operator==(const Identity& other) const
        {
            return device_ == other.device_ && inode_ == other.inode_;
        }
    };
    struct Level {
        Found entered_;
        Identity above_;
        std::vector<std::string> restAbove_;
    };

    static Identity identityOf(const struct stat& found) { return {found.st_dev, found.st_ino}; }
    static Identity identityOf(const Descriptor& file);

    std::vector<std::string> names() const;
    void visit(const std::string& name);
    void descend(const Found& found);
    void ascend();

    Descriptor current_;
    const dev_t device_;
    const std::string root_;
    const Visits visits_;
    std::string path_;
    std::vector<Level> levels_;
    std::vector<std::string> rest_;  // names left in the current directory, the next one last
};

}  // namespace tool
