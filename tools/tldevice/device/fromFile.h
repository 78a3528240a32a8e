#pragma once

#include <string>

#include "device/evidence.h"

namespace tool {

/// The texts of another device from a file: a "uname -a" line, a copy of "/proc/version" or the
/// JSON of `tldevice identify` or `tldevice doctor --bundle`.  Skips lines before a "uname -a" or
/// version line.
///
/// `path` "-" is standard input.  Throws Failure if the file cannot be read or contains none of
/// these.
KernelTexts textsOfFile(const std::string& path);

}  // namespace tool
