#pragma once

#include <string>
#include <vector>

#include "answer/Answer.h"
#include "tl/DeviceProperties.h"

namespace tool {

/// What the update manager knows about a device type.
struct Record {
    DeviceType_t type_;  ///< the key of the look-up
    const tl::DeviceProperties* properties_;
};

/// Whether there is a record.  Does not log a failed look-up.
bool hasRecord(DeviceType_t type);

/// Throws Failure if there is none.
Record recordOf(DeviceType_t type);

/// Every record, in the order of the enumeration of types.
std::vector<Record> everyRecord();

/// All distinct values of `field`.
std::vector<std::string> everyRecordsText(std::string tl::DeviceProperties::*field);

Row recordFieldsOf(const Record& record);
std::vector<FieldName> recordFields();

}  // namespace tool
