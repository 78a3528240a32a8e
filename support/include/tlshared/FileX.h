#pragma once

#include <string>

#include "tlshared/Export.h"

/// File operations of the platform.
class FileX {
public:
    /// Makes one directory with `mode`, less the umask, through mkdir(2).  Parents are not made.
    ///
    /// \returns 0, or -1 with `errno` as mkdir(2) left it; that the directory exists is a failure
    ///          too.
    TLSHARED_EXPORT static int mkdir(const std::string& path, unsigned int mode);
};
