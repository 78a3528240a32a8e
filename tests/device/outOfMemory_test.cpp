#include <gtest/gtest.h>

#include <new>
#include <string>

#include "TemporaryDirectory.h"
#include "hooks.h"
#include "tl/DeviceType.h"

using tl::DeviceType;

// The call with memory for none, one, two, ... requests, until it has enough.  Before that it
// must say that memory ran out.
class OutOfMemory : public ::testing::Test {
protected:
    template <class Call>
    static int failures(const Call& call)
    {
        const hooks::Reset reset;
        for (int granted = 0;; ++granted) {
            hooks::allocationsLeft = granted;
            try {
                call();
                return granted;
            } catch (const std::bad_alloc&) {
                hooks::allocationsLeft = hooks::UNLIMITED;
            }
        }
    }

    TemporaryDirectory place;
};

TEST_F(OutOfMemory, IsNotTakenForAnUnreadableIdentifierFile)
{
    const std::string line(100000, 'x');
    const std::string file = place.file("searchtype", line);
    std::string prefix;

    EXPECT_LT(2, failures([&] { prefix = DeviceType::readUuidFromFile(file); }));

    EXPECT_EQ(line + "-", prefix);
}

TEST_F(OutOfMemory, LeavesTheCatalogueAsItWas)
{
    EXPECT_LT(38, failures([] {
                  try {
                      DeviceType::instance().initializeDeviceTypes();
                  } catch (const std::bad_alloc&) {
                      hooks::allocationsLeft = hooks::UNLIMITED;
                      EXPECT_EQ("kr25", DeviceType::toString(DT_KR25));
                      EXPECT_EQ(DT_KR20, DeviceType::toEnum("kr20"));
                      throw;
                  }
              }));

    EXPECT_EQ("Home Controller KR25", DeviceType::toServerName(DT_KR25));
}
