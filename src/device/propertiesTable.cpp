#include "logDirScripts.h"
#include "tl/DeviceProperties.h"
#include "tl/Facade.h"

namespace {

// ROOT: tollanDir(), PACKAGES: packagesDir(), TMP: the literal "/tmp/"
enum Directory : unsigned char { ROOT, PACKAGES, TMP };
enum LogScript : unsigned char { LINK, MKDIR };  // linkScript(), directoryScript()

struct PropertiesRow {
    DeviceType_t key_;
    DeviceType_t type_;
    const char* codeName_;
    const char* updateManagerName_;
    const char* platform_;
    bool flag1_;
    Directory packageDir_;
    bool flag2_;
    bool flag3_;
    LogScript logDirScript_;
    bool flag4_;
    bool flag5_;
    bool flag6_;
};

// Rows with a tag look wrong but are intended:
//
//   [link]   The one "nimbo" device that takes the link script.
//   [alias]  The commercial variant has the home variant's record, type_ included.
//   [dsx]    Both door stations are one update-manager target.
//   [ridge]  The one "ridge" device; it takes the packages directory and the link script, as the
//            "quill" devices do.
//   [jade]   The one "jade" device that takes the packages directory.
//
// The update manager does not support a type without a row.

// clang-format off
constexpr PropertiesRow PROPERTIES[] = {
// found under     type_           code name          update manager     platform   f1 directory f2 f3 script f4 f5 f6
  {DT_AVX,         DT_AVX,         "orrin",           "avx",             "nimbo",   1, ROOT,     0, 1, LINK,  1, 0, 0}, // [link]
  {DT_SN,          DT_SN,          "wren",            "soundnode",       "nimbo",   0, ROOT,     0, 1, MKDIR, 0, 0, 0},
  {DT_MQ,          DT_MQ,          "pebble",          "minicontroller",  "nimbo",   1, ROOT,     0, 0, MKDIR, 0, 1, 0},
  {DT_MQ2,         DT_MQ2,         "pebble2",         "minicontroller2", "nimbo",   1, ROOT,     0, 0, MKDIR, 0, 1, 0},
  {DT_MHUB,        DT_MHUB,        "tapir",           "mediacontroller", "nimbo",   1, ROOT,     0, 0, MKDIR, 1, 0, 0},
  {DT_TQ,          DT_TQ,          "lantern",         "lantern",         "lantern", 1, ROOT,     0, 0, MKDIR, 0, 1, 1},
  {DT_WQ,          DT_WQ,          "w9",              "w9touchpanel",    "lantern", 1, ROOT,     0, 0, MKDIR, 0, 1, 0},
  {DT_OB20,        DT_OB20,        "ob20",            "ob20",            "quill",   1, PACKAGES, 1, 0, LINK,  1, 0, 0},
  {DT_KR20,        DT_KR20,        "kr20",            "kr20",            "quill",   1, PACKAGES, 1, 1, LINK,  1, 0, 0},
  {DT_KR30,        DT_KR30,        "kr30",            "kr30",            "quill",   1, PACKAGES, 1, 1, LINK,  1, 0, 0},
  {DT_PR30,        DT_PR30,        "pr30",            "pr30",            "quill",   1, PACKAGES, 1, 1, LINK,  1, 0, 0},
  {DT_KR20V2,      DT_KR20V2,      "kr20v2",          "kr20v2",          "quill",   1, PACKAGES, 1, 1, LINK,  1, 0, 0},
  {DT_KR30V2,      DT_KR30V2,      "kr30v2",          "kr30v2",          "quill",   1, PACKAGES, 1, 1, LINK,  1, 0, 0},
  {DT_PR30V2,      DT_PR30V2,      "pr30v2",          "pr30v2",          "quill",   1, PACKAGES, 1, 1, LINK,  1, 0, 0},
  {DT_KR50,        DT_KR50,        "kr50",            "kr50",            "quill",   1, PACKAGES, 1, 1, LINK,  1, 0, 0},
  {DT_KR100,       DT_KR100,       "kr100",           "kr100",           "lantern", 0, ROOT,     0, 1, MKDIR, 1, 0, 0},
  {DT_KR100V2,     DT_KR100V2,     "kr100v2",         "kr100v2",         "lantern", 0, ROOT,     0, 1, MKDIR, 1, 0, 0},
  {DT_PR100V2,     DT_KR100V2,     "kr100v2",         "kr100v2",         "lantern", 0, ROOT,     0, 1, MKDIR, 1, 0, 0}, // [alias]
  {DT_TQ2,         DT_TQ2,         "ux300",           "ux300",           "lantern", 1, ROOT,     0, 0, MKDIR, 0, 1, 1},
  {DT_W5,          DT_W5,          "w5",              "w5",              "kite",    1, TMP,      1, 0, LINK,  0, 1, 0},
  {DT_W5P,         DT_W5P,         "w5p",             "w5p",             "kite",    1, TMP,      1, 0, LINK,  0, 1, 1},
  {DT_IOU,         DT_IOU,         "iou",             "iou",             "quill",   0, PACKAGES, 1, 1, LINK,  0, 0, 0},
  {DT_R5,          DT_R5,          "r5",              "r5",              "jade",    1, TMP,      1, 0, LINK,  0, 1, 0},
  {DT_R7,          DT_R7,          "r7",              "r7",              "jade",    1, TMP,      1, 0, LINK,  0, 1, 0},
  {DT_BROOK6,      DT_BROOK6,      "brook6",          "brook6",          "jade",    1, TMP,      1, 0, LINK,  0, 1, 0},
  {DT_GX7,         DT_GX7,         "gx7",             "gx7",             "sable",   1, TMP,      1, 0, LINK,  0, 1, 0},
  {DT_GX7P,        DT_GX7P,        "gx7p",            "gx7p",            "sable",   1, TMP,      1, 0, LINK,  0, 1, 0},
  {DT_DSXIN,       DT_DSXIN,       "dsxin",           "dsx",             "sable",   0, TMP,      1, 0, LINK,  0, 0, 0}, // [dsx]
  {DT_DSX,         DT_DSX,         "dsx",             "dsx",             "sable",   0, TMP,      1, 0, LINK,  0, 0, 0},
  {DT_DEVTAB1,     DT_DEVTAB1,     "devtab1",         "devtab1",         "sable",   1, TMP,      1, 0, LINK,  0, 1, 0},
  {DT_EK10,        DT_EK10,        "ek10",            "ek10",            "quill",   1, PACKAGES, 1, 0, LINK,  1, 1, 0},
  {DT_PARTNER_AVR, DT_PARTNER_AVR, "partnerreceiver", "partnerreceiver", "ridge",   0, PACKAGES, 0, 0, LINK,  1, 1, 0}, // [ridge]
  {DT_KR80,        DT_KR80,        "kr80",            "kr80",            "lantern", 0, ROOT,     0, 1, MKDIR, 1, 0, 0},
  {DT_KR25,        DT_KR25,        "kr25",            "kr25",            "jade",    1, PACKAGES, 1, 1, LINK,  1, 0, 0}, // [jade]
  {DT_KR200,       DT_KR200,       "kr200",           "kr200",           "lantern", 0, ROOT,     0, 1, MKDIR, 1, 0, 0},
};
// clang-format on

}  // namespace

namespace tl {

DevicePropertiesMap::DevicePropertiesMap()
{
    const Facade& facade = Facade::instance();
    const std::string logLink = facade.varLogDir() + "upmanlogs";
    const std::string scripts[] = {linkScript(logLink), directoryScript(logLink)};
    const std::string directories[] = {facade.tollanDir(), facade.packagesDir(), "/tmp/"};

    for (const PropertiesRow& row : PROPERTIES)
        properties_.emplace(
            row.key_,
            DeviceProperties(row.type_, row.codeName_, row.updateManagerName_, row.platform_,
                             row.flag1_, directories[row.packageDir_], row.flag2_, row.flag3_,
                             scripts[row.logDirScript_], row.flag4_, row.flag5_, row.flag6_));
}

DevicePropertiesMap::~DevicePropertiesMap() = default;

DevicePropertiesMap& DevicePropertiesMap::instance()
{
    static DevicePropertiesMap map;
    return map;
}

}  // namespace tl
