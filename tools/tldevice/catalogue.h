#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "tl/DeviceType.h"

namespace tool {

/// An id of so many characters, or fewer, may be part of an ordinary word.
constexpr std::size_t SHORT_ID = 3;

/// Every type that has a row of its own, in the order of the enumeration.  DT_INVALID is not among them.
std::vector<DeviceType_t> deviceTypes();

/// The identifier prefix; "" for a type whose prefix lies in a file of *another* device.
std::string identifierPrefix(DeviceType_t type, bool ofThisDevice);

/// The type whose id is `id`.  Throws Failure where there is none.
DeviceType_t typeOfId(const std::string& id);

}  // namespace tool
