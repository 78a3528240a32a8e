#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "tl/DeviceType.h"

namespace tool {

/// An id of at most this many characters may be part of an ordinary word.
constexpr std::size_t LONGEST_CHANCE = 3;

/// All types of the catalogue except DT_INVALID, in the order of the enumeration.
std::vector<DeviceType_t> deviceTypes();

/// Whether the type's identifier prefix is in a file on the device, not in the catalogue.
bool hasPrefixInAFile(DeviceType_t type);

/// The identifier prefix; "" if it is in a file on *another* device, or in one that is not safe to
/// read.
std::string identifierPrefix(DeviceType_t type, bool ofThisDevice);

}  // namespace tool
