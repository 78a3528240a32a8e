#pragma once

#include "tl/DeviceType.h"

struct NamedType {
    DeviceType_t type;
    const char* name;
};

// clang-format off
#define NAMED(type) { type, #type }
constexpr NamedType NAMED_TYPES[] = {
    NAMED(DT_INVALID),     NAMED(DT_SN),      NAMED(DT_MQ),     NAMED(DT_AVX),     NAMED(DT_MHUB),    NAMED(DT_IRX),
    NAMED(DT_MQ2),         NAMED(DT_KR200),   NAMED(DT_KR20V2), NAMED(DT_KR20),    NAMED(DT_KR30V2),  NAMED(DT_PR30V2),
    NAMED(DT_KR30),        NAMED(DT_PR30),    NAMED(DT_KR50),   NAMED(DT_KR100),   NAMED(DT_TQ),      NAMED(DT_WQ),
    NAMED(DT_TQ2),         NAMED(DT_W5),      NAMED(DT_W5P),    NAMED(DT_OB20),    NAMED(DT_KR100V2), NAMED(DT_PR100V2),
    NAMED(DT_IOU),         NAMED(DT_PIOU),    NAMED(DT_R5),     NAMED(DT_R7),      NAMED(DT_BROOK6),  NAMED(DT_EK10),
    NAMED(DT_PARTNER_AVR), NAMED(DT_DEVTAB1), NAMED(DT_DSXIN),  NAMED(DT_DSX),     NAMED(DT_GX7P),    NAMED(DT_GX7),
    NAMED(DT_KR80),        NAMED(DT_KR25),
};
#undef NAMED
// clang-format on

inline const char* enumeratorOf(DeviceType_t type)
{
    for (const NamedType& named : NAMED_TYPES)
        if (named.type == type)
            return named.name;
    return "?";
}
