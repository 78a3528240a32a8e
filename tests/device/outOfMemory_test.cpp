#include <gtest/gtest.h>

#include <new>
#include <string>

#include "TemporaryDirectory.h"
#include "deviceTypes.h"
#include "hooks.h"
#include "tl/DeviceType.h"

using tl::DeviceType;

// Makes the call with memory for no, one, two, ... requests, until that is enough.  Until then, it
// must throw std::bad_alloc.
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
    const DeviceTypeRow& last = deviceTypes().back();
    const int rows = static_cast<int>(deviceTypes().size());

    EXPECT_LT(rows, failures([&] {
                  try {
                      DeviceType::instance().initializeDeviceTypes();
                  } catch (const std::bad_alloc&) {
                      hooks::allocationsLeft = hooks::UNLIMITED;
                      EXPECT_EQ(last.id, DeviceType::toString(last.type));
                      EXPECT_EQ(DT_KR20, DeviceType::toEnum("kr20"));
                      throw;
                  }
              }));

    EXPECT_EQ(last.serverName, DeviceType::toServerName(last.type));
}
