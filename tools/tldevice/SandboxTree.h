#pragma once

#include <sys/types.h>

#include <set>
#include <string>
#include <vector>

#include "Descriptor.h"
#include "evidence.h"

namespace tool {

/// The sandbox as a tree that somebody else may have prepared: "/tmp" is everybody's.
///
/// Every step is taken from an open directory and refuses to follow a link, so whatever is put in the
/// way, nothing outside "/tmp/upmand" is reached.
class SandboxTree {
public:
    SandboxTree();

    /// "/tmp/upmand".
    const std::string& root() const { return root_; }

    /// What is wrong with it; empty where nothing is, and where there is no tree.
    std::vector<Warning> warnings() const;

    bool exists() const;
    /// Whether all its directories are there.
    bool isComplete() const;

    /// Makes its directories.  Throws Failure where one cannot be made safely.
    void make();

    /// Removes it with all that is in it.  \returns what could not be removed, and why; throws Failure
    /// where nothing was tried.
    std::vector<std::string> remove();

private:
    Descriptor openParent() const;
    Descriptor openRoot(const Descriptor& parent) const;
    void makeDirectory(const Descriptor& root, const std::string& path) const;
    std::vector<std::string> directories() const;

    std::string root_;
    std::string parent_;
    std::string name_;
};

}  // namespace tool
