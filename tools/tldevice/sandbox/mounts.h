#pragma once

#include <string>

#include "system/Descriptor.h"

namespace tool {

/// The first mount point at or below `root`; "" if there is none, or no /proc.
///
/// A bind mount has the same device number as the tree, so only the mount table shows it.
std::string mountWithin(const Descriptor& root);

}  // namespace tool
