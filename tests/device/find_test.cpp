#include <gtest/gtest.h>

#include "tl/DeviceType.h"

TEST(DeviceTypeFind, PrefersTheLongestId)
{
    EXPECT_EQ(DT_KR20V2, tl::DeviceType::find("#12 kr20v2 Tue Mar 6"));
    EXPECT_EQ(DT_KR200, tl::DeviceType::find("xkr200x"));
}
