#include "sandbox/TreeWalk.h"

#include <fcntl.h>

#include <cerrno>
#include <utility>

#include "system/Failure.h"

namespace tool {

TreeWalk::Identity TreeWalk::identityOf(const Descriptor& file)
{
    struct stat found {};
    (void)::fstat(file.get(), &found);
    return identityOf(found);
}

TreeWalk::TreeWalk(Descriptor root, const std::string& path, Visits visits)
    : current_(std::move(root)),
      device_(identityOf(current_).device_),
      root_(path),
      visits_(std::move(visits)),
      path_(path),
      rest_(names())
{
}

void TreeWalk::run()
{
    for (;;) {
        if (!rest_.empty()) {
            const std::string name = std::move(rest_.back());
            rest_.pop_back();
            visit(name);
        } else if (!levels_.empty()) {
            ascend();
        } else {
            return;
        }
    }
}

std::vector<std::string> TreeWalk::names() const
{
    const std::vector<std::string> sorted = namesIn(current_.get()).all_;
    return {sorted.rbegin(), sorted.rend()};
}

void TreeWalk::visit(const std::string& name)
{
    Found found{current_.get(), name, path_ + "/" + name, {}};
    if (::fstatat(current_.get(), name.c_str(), &found.is_, AT_SYMLINK_NOFOLLOW) != 0) {
        if (errno != ENOENT)
            visits_.closed_(found, errno);
    } else if (!S_ISDIR(found.is_.st_mode)) {
        visits_.file_(found);
    } else if (visits_.directory_(found)) {
        descend(found);
    }
}

void TreeWalk::descend(const Found& found)
{
    Descriptor next(::openat(current_.get(), found.name_.c_str(), AS_OWN_DIRECTORY));
    if (!next.isOpen()) {
        if (errno != ENOENT)
            visits_.closed_(found, errno);
        return;
    }
    const Identity entered = identityOf(next);
    if (entered.device_ != device_)
        return visits_.closed_(found, EXDEV);
    if (!(entered == identityOf(found.is_)))
        return visits_.closed_(found, ESTALE);

    levels_.push_back({found, identityOf(current_), std::move(rest_)});
    path_ = found.path_;
    current_ = std::move(next);
    rest_ = names();
}

void TreeWalk::ascend()
{
    Descriptor above(::openat(current_.get(), "..", AS_OWN_DIRECTORY));
    Level level = std::move(levels_.back());
    levels_.pop_back();
    if (!above.isOpen() || !(identityOf(above) == level.above_))
        throw Failure{EXIT_TROUBLE, FailureCode::UNSAFE,
                      "'" + root_ + "' changed during the operation"};

    current_ = std::move(above);
    rest_ = std::move(level.restAbove_);
    path_.resize(level.entered_.path_.size() - level.entered_.name_.size() - 1);
    level.entered_.directory_ = current_.get();
    visits_.left_(level.entered_);
}

}  // namespace tool
