// The offset of each member of the public classes, on 64-bit and on 32-bit machines.  Programs that
// were built against the library contain these numbers.

#include <dlfcn.h>
#include <gmock/gmock.h>
#include <link.h>

#include <cstddef>
#include <cstdint>
#include <fstream>
#include <ostream>
#include <string>
#include <vector>

#include "tl/DeviceProperties.h"
#include "tl/DeviceType.h"
#include "tl/Facade.h"
#include "tl/WatchProcess.h"
#include "tl/tlTimer.h"

namespace {

struct Place {
    std::string member;
    std::size_t offset;

    bool operator==(const Place& other) const
    {
        return member == other.member && offset == other.offset;
    }
};

void PrintTo(const Place& place, std::ostream* stream)
{
    *stream << place.member << " at " << place.offset;
}

/// A member's name and its offset in bytes on 64-bit and on 32-bit machines.
struct Row {
    const char* member_;
    std::size_t offset64_;
    std::size_t offset32_;
};

constexpr bool WIDE = sizeof(void*) == 8;

constexpr std::size_t size(std::size_t on64, std::size_t on32)
{
    return WIDE ? on64 : on32;
}

template <std::size_t n>
std::vector<Place> laidDown(const Row (&rows)[n])
{
    std::vector<Place> places;
    for (const Row& row : rows)
        places.push_back({row.member_, size(row.offset64_, row.offset32_)});
    return places;
}

template <class Class, class Member>
std::size_t offset(const Class& object, Member Class::*member)
{
    return static_cast<std::size_t>(reinterpret_cast<const char*>(&(object.*member)) -
                                    reinterpret_cast<const char*>(&object));
}

// Private members have offsets, too.  An explicit instantiation may name one and exposes its
// pointer through a friend, so the classes need not know this test.  The pointer includes the type:
// a member of another type does not compile.
template <class Name, auto pointer>
struct Reveal {
    friend constexpr auto reveal(Name) { return pointer; }
};

#define REVEAL(Class, Type, member)                     \
    struct Class##_##member {                           \
        friend constexpr auto reveal(Class##_##member); \
    };                                                  \
    template struct Reveal<Class##_##member, static_cast<Type Class::*>(&Class::member)>
#define PLACE(object, Class, member)                        \
    Place                                                   \
    {                                                       \
#member, offset(object, reveal(Class##_##member())) \
    }

using tl::DeviceProperties;
using tl::DeviceType;
using tl::DeviceTypeContainer;
using tl::Facade;
using tl::FacadeInfo;
using tl::WatchProcess;
using tl::WatchProcessState_t;
using Arguments = std::vector<std::string>;
using LogFile = char[25];

REVEAL(WatchProcess, WatchProcessState_t, state_);
REVEAL(WatchProcess, std::string, command_);
REVEAL(WatchProcess, std::string, execPath_);
REVEAL(WatchProcess, Arguments, args_);
REVEAL(WatchProcess, int, exitStatus_);
REVEAL(WatchProcess, int, errorNum_);
REVEAL(WatchProcess, int, signal_);
REVEAL(WatchProcess, bool, isExecuting_);
REVEAL(WatchProcess, int, timeOut_);
REVEAL(WatchProcess, TlTimer, waitTimer_);
REVEAL(WatchProcess, pid_t, pid_);
REVEAL(WatchProcess, bool, noTimeOut_);
REVEAL(WatchProcess, bool, killedByTimer_);
REVEAL(WatchProcess, LogFile, logFile_);

REVEAL(TlTimer, unsigned long, m_idTimer);
REVEAL(TlTimer, bool, m_expired);
REVEAL(TlTimer, bool, m_set);

REVEAL(CTimerManager, TimerQueue, queue_);
REVEAL(CTimerManager, TimerIds, ids_);
REVEAL(TimerIds, std::uint64_t, nextRegistration_);

REVEAL(Facade, bool, m_debug);
REVEAL(Facade, const FacadeInfo*, m_info);

REVEAL(DeviceType, DeviceTypeContainer, catalogue_);
REVEAL(DeviceType, DeviceType_t, deviceType_);

/// The virtual table of `object`: its slots, as filled in by the dynamic linker.
const void* const* slots(const void* object)
{
    return *static_cast<const void* const* const*>(object);
}

const void* symbol(const char* name)
{
    const void* address = ::dlsym(RTLD_DEFAULT, name);
    EXPECT_NE(nullptr, address) << name;
    return address;
}

/// The size of the symbol at `address`, from its file: only glibc's dynamic linker provides it.
std::size_t sizeOfSymbol(const void* address)
{
    Dl_info info;
    if (::dladdr(address, &info) == 0)
        return 0;
    std::ifstream file(info.dli_fname, std::ios::binary);
    const auto read = [&file](auto offset, auto* to, std::size_t count = 1) {
        file.seekg(static_cast<std::streamoff>(offset));
        file.read(reinterpret_cast<char*>(to), static_cast<std::streamsize>(count * sizeof *to));
    };

    ElfW(Ehdr) header = {};
    read(0, &header);
    std::vector<ElfW(Shdr)> sections(header.e_shnum);
    read(header.e_shoff, sections.data(), sections.size());
    const auto base = header.e_type == ET_EXEC ? 0 : reinterpret_cast<ElfW(Addr)>(info.dli_fbase);
    for (const ElfW(Shdr) & section : sections) {
        if (section.sh_type != SHT_DYNSYM)
            continue;
        std::vector<ElfW(Sym)> symbols(section.sh_size / sizeof(ElfW(Sym)));
        read(section.sh_offset, symbols.data(), symbols.size());
        for (const ElfW(Sym) & each : symbols)
            if (each.st_shndx != SHN_UNDEF &&
                base + each.st_value == reinterpret_cast<ElfW(Addr)>(address))
                return static_cast<std::size_t>(each.st_size);
    }
    return 0;
}

/// The number of slots in the class's table, from the size of its symbol.  Two words precede the
/// slots: the offset to the complete object, and the type information.
std::size_t slotCount(const char* table)
{
    const std::size_t size = sizeOfSymbol(symbol(table));
    EXPECT_NE(0U, size) << table;
    return size / sizeof(void*) - 2;
}

}  // namespace

TEST(DevicePropertiesLayout, HasItsThirteenFieldsInOrder)
{
    // clang-format off
    constexpr Row ROWS[] = {
    //    member                 64 bit  32 bit
        { "type_",                    0,      0 },
        { "codeName_",                8,      4 },
        { "flag1_",                  40,     28 },
        { "updateManagerName_",      48,     32 },
        { "platform_",               80,     56 },
        { "packageDir_",            112,     80 },
        { "flag2_",                 144,    104 },
        { "flag3_",                 145,    105 },
        { "logDirScript_",          152,    108 },
        { "flag4_",                 184,    132 },
        { "flag5_",                 185,    133 },
        { "flag6_",                 186,    134 },
        { "hostname_",              192,    136 },
    };
    // clang-format on
    const DeviceProperties record;
    const std::vector<Place> places = {
        {"type_", offset(record, &DeviceProperties::type_)},
        {"codeName_", offset(record, &DeviceProperties::codeName_)},
        {"flag1_", offset(record, &DeviceProperties::flag1_)},
        {"updateManagerName_", offset(record, &DeviceProperties::updateManagerName_)},
        {"platform_", offset(record, &DeviceProperties::platform_)},
        {"packageDir_", offset(record, &DeviceProperties::packageDir_)},
        {"flag2_", offset(record, &DeviceProperties::flag2_)},
        {"flag3_", offset(record, &DeviceProperties::flag3_)},
        {"logDirScript_", offset(record, &DeviceProperties::logDirScript_)},
        {"flag4_", offset(record, &DeviceProperties::flag4_)},
        {"flag5_", offset(record, &DeviceProperties::flag5_)},
        {"flag6_", offset(record, &DeviceProperties::flag6_)},
        {"hostname_", offset(record, &DeviceProperties::hostname_)},
    };

    EXPECT_EQ(laidDown(ROWS), places);
    EXPECT_EQ(size(224, 160), sizeof(DeviceProperties));
}

TEST(WatchProcessLayout, HasItsMembersInOrderAndA25BytePathLast)
{
    // clang-format off
    constexpr Row ROWS[] = {
    //    member            64 bit  32 bit
        { "state_",              0,      0 },
        { "command_",            8,      4 },
        { "execPath_",          40,     28 },
        { "args_",              72,     52 },
        { "exitStatus_",        96,     64 },
        { "errorNum_",         100,     68 },
        { "signal_",           104,     72 },
        { "isExecuting_",      108,     76 },
        { "timeOut_",          112,     80 },
        { "waitTimer_",        120,     84 },
        { "pid_",              144,     96 },
        { "noTimeOut_",        148,    100 },
        { "killedByTimer_",    149,    101 },
        { "logFile_",          150,    102 },
    };
    // clang-format on
    const WatchProcess process;
    const std::vector<Place> places = {
        PLACE(process, WatchProcess, state_),         PLACE(process, WatchProcess, command_),
        PLACE(process, WatchProcess, execPath_),      PLACE(process, WatchProcess, args_),
        PLACE(process, WatchProcess, exitStatus_),    PLACE(process, WatchProcess, errorNum_),
        PLACE(process, WatchProcess, signal_),        PLACE(process, WatchProcess, isExecuting_),
        PLACE(process, WatchProcess, timeOut_),       PLACE(process, WatchProcess, waitTimer_),
        PLACE(process, WatchProcess, pid_),           PLACE(process, WatchProcess, noTimeOut_),
        PLACE(process, WatchProcess, killedByTimer_), PLACE(process, WatchProcess, logFile_),
    };

    EXPECT_EQ(laidDown(ROWS), places);
    EXPECT_EQ(25U, sizeof(process.*reveal(WatchProcess_logFile_())));
    EXPECT_EQ(size(176, 128), sizeof(WatchProcess));
}

TEST(TlTimerLayout, HasItsThreeMembersInOrder)
{
    constexpr Row ROWS[] = {{"m_idTimer", 8, 4}, {"m_expired", 16, 8}, {"m_set", 17, 9}};
    const TlTimer timer;
    const std::vector<Place> places = {
        PLACE(timer, TlTimer, m_idTimer),
        PLACE(timer, TlTimer, m_expired),
        PLACE(timer, TlTimer, m_set),
    };

    EXPECT_EQ(laidDown(ROWS), places);
    EXPECT_EQ(size(24, 12), sizeof(TlTimer));
}

// A virtual destructor has two entries: one that destroys, and one that also frees.
TEST(TlTimerLayout, HasTheCallbackInItsFirstSlotAndTheDestructorInItsSecond)
{
    const TlTimer timer;

    ASSERT_EQ(3U, slotCount("_ZTV7TlTimer"));
    EXPECT_EQ(symbol("_ZN7TlTimer14OnTimerExpiredEml"), slots(&timer)[0]);
    EXPECT_EQ(symbol("_ZN7TlTimerD1Ev"), slots(&timer)[1]);
    EXPECT_EQ(symbol("_ZN7TlTimerD0Ev"), slots(&timer)[2]);
}

TEST(TlTimerLayout, IsItsOwnCallbackAtTheSameAddress)
{
    const TlTimer timer;

    EXPECT_EQ(static_cast<const void*>(&timer), static_cast<const ITimerManagerCallback*>(&timer));
}

// If 64-bit numbers are aligned to 4 bytes, as on i386, there is no gap before the last one.
TEST(TimerManagerLayout, HasItsTwoTablesInOrderAndTheNextRegistrationLast)
{
    constexpr std::size_t ALIGNMENT = alignof(CTimerManager);
    constexpr Row ROWS[] = {
        {"queue_", 0, 0},
        {"ids_", 32, 16},
        {"nextRegistration_", 56, ALIGNMENT == 4 ? 28 : 32},
    };
    const CTimerManager manager;
    const TimerIds& ids = manager.*reveal(CTimerManager_ids_());
    Place next = PLACE(ids, TimerIds, nextRegistration_);
    next.offset += offset(manager, reveal(CTimerManager_ids_()));
    const std::vector<Place> places = {
        PLACE(manager, CTimerManager, queue_),
        PLACE(manager, CTimerManager, ids_),
        next,
    };

    EXPECT_EQ(laidDown(ROWS), places);
    EXPECT_EQ(size(64, ALIGNMENT == 4 ? 36 : 40), sizeof(CTimerManager));
}

TEST(FacadeLayout, HasItsTwoMembersInOrder)
{
    constexpr Row ROWS[] = {{"m_debug", 0, 0}, {"m_info", 8, 4}};
    const Facade facade;
    const std::vector<Place> places = {
        PLACE(facade, Facade, m_debug),
        PLACE(facade, Facade, m_info),
    };

    EXPECT_EQ(laidDown(ROWS), places);
    EXPECT_EQ(size(16, 8), sizeof(Facade));
}

TEST(FacadeInfoLayout, HasItsFourteenPathsInOrder)
{
    const FacadeInfo& layout = tl::release;
    const std::string* const paths[] = {
        &layout.tollanDir,        &layout.etcDir,
        &layout.umDebugFile,      &layout.umStatusFile,
        &layout.umExclusionFile,  &layout.umStateFile,
        &layout.umStateBakFile,   &layout.umStateCorruptFile,
        &layout.syslogFile,       &layout.varCacheDir,
        &layout.varLogDir,        &layout.varRunDir,
        &layout.varUpmanCacheDir, &layout.packagesDir,
    };

    const std::string* expected = &layout.tollanDir;
    for (const std::string* path : paths)
        EXPECT_EQ(expected++, path);
    EXPECT_EQ(14 * sizeof(std::string), sizeof(FacadeInfo));
}

// Boost determines the size of the catalogue.
TEST(DeviceTypeLayout, HasTheCatalogueAndThenTheDetectedType)
{
    const DeviceType& type = DeviceType::instance();
    const std::vector<Place> laidDown = {
        {"catalogue_", sizeof(void*)},
        {"deviceType_", sizeof(void*) + sizeof(DeviceTypeContainer)},
    };
    const std::vector<Place> places = {
        PLACE(type, DeviceType, catalogue_),
        PLACE(type, DeviceType, deviceType_),
    };

    EXPECT_EQ(laidDown, places);
    EXPECT_EQ(2 * sizeof(void*) + sizeof(DeviceTypeContainer), sizeof(DeviceType));
}

TEST(DeviceTypeLayout, HasTheDestructorInItsOneSlot)
{
    const DeviceType& type = DeviceType::instance();

    ASSERT_EQ(2U, slotCount("_ZTVN2tl10DeviceTypeE"));
    EXPECT_EQ(symbol("_ZN2tl10DeviceTypeD1Ev"), slots(&type)[0]);
    EXPECT_EQ(symbol("_ZN2tl10DeviceTypeD0Ev"), slots(&type)[1]);
}

TEST(EnumerationLayout, IsA32BitNumber)
{
    EXPECT_EQ(4U, sizeof(DeviceType_t));
    EXPECT_EQ(4U, sizeof(WatchProcessState_t));
    EXPECT_EQ(-1, static_cast<std::int32_t>(static_cast<DeviceType_t>(-1)));
    EXPECT_EQ(-1, static_cast<std::int32_t>(static_cast<WatchProcessState_t>(-1)));
}
