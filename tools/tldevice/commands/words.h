#pragma once

#include "cli/Command.h"

namespace tool {

/// Values that options and operands of several commands accept.
extern const Words DEVICE_TYPES;
extern const Words PATH_NAMES;
extern const Words PLATFORMS;
extern const Words MANAGERS;

}  // namespace tool
