#include "device/records.h"

#include <syslog.h>

#include <set>

#include "device/catalogue.h"

namespace tool {

namespace {

using P = tl::DeviceProperties;

template <auto MEMBER>
auto property(const Record& record)
{
    return record.properties_->*MEMBER;
}

const std::string& typeIdOf(const Record& record)
{
    return tl::DeviceType::toString(record.type_);
}

const std::string& servedAs(const Record& record)
{
    return tl::DeviceType::toString(record.properties_->type_);
}

// clang-format off
const Field<Record> RECORD_FIELDS[] = {
    { "id",                  "Id",             "id of the device type",                      typeIdOf },
    { "served_as",           "Served as",      "the type whose record is used",              servedAs },
    { "code_name",           "Code name",      "code name",                                  property<&P::codeName_> },
    { "update_manager_name", "Update manager", "the update manager's name for the device",   property<&P::updateManagerName_> },
    { "platform",            "Platform",       "the word to match package metadata against", property<&P::platform_> },
    { "package_dir",         "Package dir",    "package directory, ending in a slash",       property<&P::packageDir_> },
    { "flag1",               "Flag 1",         "setting 1",                                  property<&P::flag1_> },
    { "flag2",               "Flag 2",         "setting 2",                                  property<&P::flag2_> },
    { "flag3",               "Flag 3",         "setting 3",                                  property<&P::flag3_> },
    { "flag4",               "Flag 4",         "setting 4",                                  property<&P::flag4_> },
    { "flag5",               "Flag 5",         "setting 5",                                  property<&P::flag5_> },
    { "flag6",               "Flag 6",         "setting 6",                                  property<&P::flag6_> },
    { "log_dir_script",      "Log dir script", "the script that creates the log directory",  property<&P::logDirScript_> },
};
// clang-format on

}  // namespace

// The map logs a failed look-up.  Here that is no failure, so logging is off meanwhile.
bool hasRecord(DeviceType_t type)
{
    const int before = ::setlogmask(LOG_MASK(LOG_EMERG));
    const bool has = tl::DevicePropertiesMap::instance().get(type) != nullptr;
    (void)::setlogmask(before);
    return has;
}

Record recordOf(DeviceType_t type)
{
    const tl::DeviceProperties* properties = tl::DevicePropertiesMap::instance().get(type);
    if (properties == nullptr)
        throw Failure{EXIT_NO, FailureCode::NOT_FOUND,
                      "the update manager has no record of " + tl::DeviceType::toString(type)};
    return {type, properties};
}

std::vector<Record> everyRecord()
{
    std::vector<Record> records;
    for (const DeviceType_t type : deviceTypes())
        if (hasRecord(type))
            records.push_back(recordOf(type));
    return records;
}

std::vector<std::string> everyRecordsText(std::string tl::DeviceProperties::*field)
{
    std::set<std::string> texts;
    for (const Record& record : everyRecord())
        texts.insert(record.properties_->*field);
    return {texts.begin(), texts.end()};
}

Row recordFieldsOf(const Record& record)
{
    return rowOf(RECORD_FIELDS, record);
}

std::vector<FieldName> recordFields()
{
    return namesOf(RECORD_FIELDS);
}

}  // namespace tool
