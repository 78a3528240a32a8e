#pragma once

#include <cstddef>
#include <string>

#include "system/Descriptor.h"

namespace tool {

/// An untrusted file: opening it never blocks, and reading it always ends.
class OrdinaryFile {
public:
    enum State {
        READABLE,
        MISSING,
        DANGLING,    ///< a dangling link
        NOT_A_FILE,  ///< a directory, a pipe, a device, ...
        CLOSED,      ///< cannot be read; see error()
    };

    /// Follows links.
    explicit OrdinaryFile(const std::string& path);

    State state() const { return state_; }
    int error() const { return error_; }

    /// Reads up to `most` bytes.  If reading fails, returns what was read so far, and the state is
    /// CLOSED.
    std::string read(std::size_t most);

private:
    Descriptor file_;
    State state_ = READABLE;
    int error_ = 0;
};

}  // namespace tool
