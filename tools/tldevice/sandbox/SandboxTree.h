#pragma once

#include <string>
#include <vector>

#include "device/Warning.h"
#include "system/Descriptor.h"

namespace tool {

/// The sandbox's tree.  It does not trust what it finds: any user can write to "/tmp".
///
/// Every step starts from an open directory and follows no link, so nothing outside "/tmp/upmand"
/// is reached, whatever another user plants.  Concurrent calls of make() and remove() do not fail:
/// they start again when they interfere.
class SandboxTree {
public:
    SandboxTree();

    /// "/tmp/upmand".
    const std::string& root() const { return root_; }

    struct Survey {
        bool exists_;    ///< there is something of that name
        bool complete_;  ///< all its directories exist
        std::vector<Warning> warnings_;
    };

    /// Examines the whole tree and follows no link.  Warns only of the first entry that belongs to
    /// another user.
    Survey survey() const;

    /// Creates its directories.  Throws Failure if it cannot, or if anything in the tree belongs to
    /// another user.
    void make();

    /// Removes the whole tree; for root, other users' files, too.  \returns what could not be
    /// removed, and why; throws Failure if it refuses to start.
    std::vector<std::string> remove();

private:
    Descriptor openParent() const;
    Descriptor openRoot(const Descriptor& parent) const;
    bool tryToMake() const;
    bool makeDirectory(const Descriptor& root, const std::string& path) const;
    bool tryToRemove(std::vector<std::string>& kept) const;
    std::vector<std::string> directories() const;

    std::string root_;
    std::string parent_;
    std::string name_;
};

}  // namespace tool
