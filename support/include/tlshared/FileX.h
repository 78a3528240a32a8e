#pragma once

#include <string>

#include "tlshared/Export.h"

/// File operations of the platform.
class FileX {
public:
    /// Creates one directory, but not its parents, with `mode` less the umask, through mkdir(2).
    ///
    /// \returns 0; or -1 with `errno` as mkdir(2) left it, even if the directory exists.
    TLSHARED_EXPORT static int mkdir(const std::string& path, unsigned int mode);
};
