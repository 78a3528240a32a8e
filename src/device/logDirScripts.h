#pragma once

#include <string>

namespace tl {

/// A "#!/bin/sh" script that makes `logLink` a symbolic link to the log directory in internal
/// storage.
std::string linkScript(const std::string& logLink);

/// A "#!/bin/sh" script that makes `logLink` an ordinary directory.
std::string directoryScript(const std::string& logLink);

}  // namespace tl
