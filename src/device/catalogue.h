#pragma once

#include <cstddef>
#include <iterator>

#include "tl/DeviceType.h"

namespace {

constexpr const char* NO_PREFIX = "";

struct CatalogueRow {
    DeviceType_t type_;
    const char* id_;             // short id, unique; searched for in kernel strings and host names
    const char* serverName_;     // display name
    const char* uuid_;           // identifier prefix: ends in '-', or NO_PREFIX
    const char* uuidFile_ = "";  // file whose first line replaces a missing identifier prefix
};

// One row is one device type, and its position is the enumerator's value: append, never insert or
// sort.  Rows with a tag look wrong but are intended:
//
//   [miss]  Looking up an unknown type returns the id and the display name of this row.
//   [v2]    "v2" is lower case here and upper case in other models.  The names are interface: leave
//           them alone.
//   [kr30]  The commercial 30 series has the home model's word, KR30, in its display name.
//   [file]  The only type whose identifier prefix is read from the device instead of this table.

// clang-format off
constexpr CatalogueRow CATALOGUE[] = {
//    type            id                display name                      identifier prefix
    { DT_INVALID,     "Invalid device", "<error>",                        NO_PREFIX },                            // [miss]
    { DT_SN,          "sn",             "Sound Node",                     NO_PREFIX },
    { DT_MQ,          "mq",             "Pebble",                         "tl:tollan_minicontroller-" },
    { DT_AVX,         "avx",            "Home Theater Controller",        "tl:tollan_avx-" },
    { DT_MHUB,        "mhub",           "Media Controller",               "tl:tollan_mediacontroller-" },
    { DT_IRX,         "irx",            "Serial / IR Extender",           NO_PREFIX },
    { DT_MQ2,         "mq2",            "Pebble2",                        "tl:tollan_v2_minicontroller-" },
    { DT_KR200,       "kr200",          "Home Controller KR200",          "tl:tollan_kr200_homecontroller-" },
    { DT_KR20V2,      "kr20v2",         "Home Controller KR20v2",         "tl:tollan_kr20v2_homecontroller-" },   // [v2]
    { DT_KR20,        "kr20",           "Home Controller KR20",           "tl:tollan_kr20_homecontroller-" },
    { DT_KR30V2,      "kr30v2",         "Home Controller KR30v2",         "tl:tollan_kr30v2_homecontroller-" },   // [v2]
    { DT_PR30V2,      "pr30v2",         "Commercial Controller KR30v2",   "tl:tollan_pr30v2_homecontroller-" },   // [v2] [kr30]
    { DT_KR30,        "kr30",           "Home Controller KR30",           "tl:tollan_kr30_homecontroller-" },
    { DT_PR30,        "pr30",           "Commercial Controller KR30",     "tl:tollan_pr30_homecontroller-" },     // [kr30]
    { DT_KR50,        "kr50",           "Home Controller KR50",           "tl:tollan_kr50_homecontroller-" },
    { DT_KR100,       "kr100",          "Home Controller KR100",          "tl:tollan_kr100_homecontroller-" },
    { DT_TQ,          "tq",             "Lantern",                        "tl:tollan_touchscreen-" },
    { DT_WQ,          "wq",             "W9",                             "tl:tollan_w9_touchscreen-" },
    { DT_TQ2,         "tq2",            "Lantern2",                       "tl:tollan_v2_touchscreen-" },
    { DT_W5,          "w5",             "W5",                             "tl:tollan_w5_touchscreen-" },
    { DT_W5P,         "w5p",            "W5 Portable",                    "tl:tollan_w5p_touchscreen-" },
    { DT_OB20,        "ob20",           "OEM Controller 20",              "tl:tollan_ob20_homecontroller-" },
    { DT_KR100V2,     "kr100v2",        "Home Controller KR100V2",        "tl:tollan_kr100_v2_homecontroller-" },
    { DT_PR100V2,     "pr100v2",        "Commercial Controller KR100V2",  "tl:tollan_pr100_v2_homecontroller-" },
    { DT_IOU,         "iou",            "I/O Extender",                   "tl:tollan_io_extender-" },
    { DT_PIOU,        "piou",           "Commercial I/O Extender",        "tl:tollan_cio_extender-" },
    { DT_R5,          "r5",             "R5",                             "tl:tollan_r5_touchscreen-" },
    { DT_R7,          "r7",             "R7",                             "tl:tollan_r7_touchscreen-" },
    { DT_BROOK6,      "brook6",         "Brook6",                         "tl:tollan_brook6_touchscreen-" },
    { DT_EK10,        "ek10",           "Energy Controller EK10",         "tl:tollan_ek10_energycontroller-" },
    { DT_PARTNER_AVR, "partner-avr",    "Partner Receiver",               NO_PREFIX, "/etc/device-searchtype" },  // [file]
    { DT_DEVTAB1,     "devtab1",        "Reference Dev Tablet",           "tl:tollan_devtab1_touchscreen-" },
    { DT_DSXIN,       "dsxin",          "Interior Door Station",          "tl:tollan_dsxin_doorstation-" },
    { DT_DSX,         "dsx",            "Exterior Door Station",          "tl:tollan_dsx_doorstation-" },
    { DT_GX7P,        "gx7p",           "Portable 7 V2",                  "tl:tollan_gx7p_touchscreen-" },
    { DT_GX7,         "gx7",            "Inwall 7 V2",                    "tl:tollan_gx7_touchscreen-" },
    { DT_KR80,        "kr80",           "Home Controller KR80",           "tl:tollan_kr80_homecontroller-" },
    { DT_KR25,        "kr25",           "Home Controller KR25",           "tl:tollan_kr25_homecontroller-" },
};
// clang-format on

constexpr bool rowsStandInEnumerationOrder()
{
    for (std::size_t i = 0; i < std::size(CATALOGUE); ++i)
        if (CATALOGUE[i].type_ != static_cast<DeviceType_t>(i))
            return false;
    return true;
}

constexpr bool everyPrefixEndsInDash()
{
    for (const CatalogueRow& row : CATALOGUE) {
        const char* end = row.uuid_;
        while (*end != '\0')
            ++end;
        if (end != row.uuid_ && end[-1] != '-')
            return false;
    }
    return true;
}

constexpr bool everyIdHasTwoCharacters()
{
    for (const CatalogueRow& row : CATALOGUE)
        if (row.id_[0] == '\0' || row.id_[1] == '\0')
            return false;
    return true;
}

static_assert(rowsStandInEnumerationOrder(), "a row's position is its enumerator's value");
static_assert(everyPrefixEndsInDash(), "identifier prefixes end in '-'");
static_assert(everyIdHasTwoCharacters(), "find() tells ids apart by their first two characters");

}  // namespace
