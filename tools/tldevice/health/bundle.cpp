#include "health/bundle.h"

#include <sys/utsname.h>
#include <unistd.h>

#include <ctime>
#include <fstream>

#include "device/identifierFile.h"
#include "device/identity.h"
#include "device/layout.h"
#include "device/leftovers.h"
#include "device/records.h"
#include "health/space.h"
#include "sandbox/state.h"

namespace tool {

namespace {

constexpr std::size_t LONGEST_TEXT = 65536;
constexpr const char* OS_RELEASE = "/etc/os-release";

struct Machine {
    utsname kernel_;
    std::vector<std::string> leftovers_;
};

std::string textOf(const std::string& path)
{
    return OrdinaryFile(path).read(LONGEST_TEXT);
}

std::string identifierText()
{
    return textOf(IDENTIFIER_FILE);
}

std::string timeOfDay()
{
    const std::time_t now = std::time(nullptr);
    std::tm parts{};
    char text[32] = "";
    if (::gmtime_r(&now, &parts) != nullptr)
        (void)std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &parts);
    return text;
}

// In seconds.  The second number in the file is the idle time.
std::string uptime()
{
    const std::string text = textOf("/proc/uptime");
    return text.substr(0, text.find(' '));
}

// The library that this command has loaded.  If two are installed, it may be the wrong one.
std::string loadedLibrary()
{
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);)
        if (line.find("libtldevice.so") != std::string::npos)
            return line.substr(line.find('/'));
    return "";
}

struct Room {
    std::string path_;
    Space space_;
    std::string mount_;  // its line in the mount table
};

// The last mount point at or above `path`, after following links, is the one that contains it.
std::string mountOf(const std::string& path)
{
    char real[4096];
    const std::string shown = ::realpath(path.c_str(), real) != nullptr ? real : path;
    std::ifstream mounts("/proc/self/mounts");
    std::string found;
    std::size_t longest = 0;
    for (std::string line; std::getline(mounts, line);) {
        const std::size_t begin = line.find(' ') + 1;
        const std::string point = line.substr(begin, line.find(' ', begin) - begin);
        const bool holds = point == "/" || shown == point || shown.rfind(point + "/", 0) == 0;
        if (holds && point.size() >= longest) {
            longest = point.size();
            found = line;
        }
    }
    return found;
}

std::vector<Room> rooms()
{
    std::vector<Room> found;
    for (const std::string& path :
         {std::string("/tmp"), tl::release.etcDir, tl::release.packagesDir,
          tl::release.varUpmanCacheDir, tl::release.varLogDir, tl::release.varRunDir})
        found.push_back({path, spaceOf(path), mountOf(path)});
    return found;
}

// clang-format off
const Field<Machine> MACHINE_FIELDS[] = {
    { "time",            "time",            "time of the report, in UTC",           [](auto&) { return timeOfDay(); } },
    { "user",            "user",            "effective user id",                    [](auto&) { return ::geteuid(); } },
    { "sysname",         "sysname",         "kernel name (uname -s)",               [](auto& m) { return m.kernel_.sysname; } },
    { "machine",         "machine",         "machine type (uname -m)",              [](auto& m) { return m.kernel_.machine; } },
    { "tldevice",        "tldevice",        "version of tldevice",                  [](auto&) { return TLDEVICE_VERSION; } },
    { "library",         "library",         "path of the library; empty if static", [](auto&) { return loadedLibrary(); } },
    { "uptime",          "uptime",          "seconds since boot",                   [](auto&) { return uptime(); } },
    { "os_release",      "os_release",      "contents of /etc/os-release",          [](auto&) { return textOf(OS_RELEASE); } },
    { "identifier_file", "identifier_file", "contents of /etc/device-searchtype",   [](auto&) { return identifierText(); } },
};

const Field<Machine> LEFTOVER_FIELDS[] = {
    { "leftovers",       "leftovers",       "left-over output files of supervised programs",      &Machine::leftovers_ },
};

const Field<Room> ROOM_FIELDS[] = {
    { "path",        "path",        "the directory",                               &Room::path_ },
    { "mount",       "mount",       "its file system's line in the mount table",   &Room::mount_ },
    { "bytes",       "bytes",       "size of the file system in bytes",            [](auto& r) { return r.space_.bytes_; } },
    { "free_bytes",  "free_bytes",  "bytes free for this user",                    [](auto& r) { return r.space_.freeBytes_; } },
    { "inodes",      "inodes",      "number of inodes; 0: it does not count them", [](auto& r) { return r.space_.inodes_; } },
    { "free_inodes", "free_inodes", "inodes free for this user",                   [](auto& r) { return r.space_.freeInodes_; } },
};
// clang-format on

Machine thisOne()
{
    Machine machine{};
    (void)::uname(&machine.kernel_);
    for (const Log& log : outputLogs())
        if (log.state_ == LogState::LEFT)
            machine.leftovers_.push_back(log.path_);
    return machine;
}

}  // namespace

Answer bundled(const Patient& patient, const Answer& examined)
{
    const SandboxTree tree;
    const Machine machine = thisOne();
    const Answer identity =
        explainedAnswer(patient.evidence_ ? *patient.evidence_ : examine(KernelTexts{}));
    const Answer sandbox = sandboxAnswer(tree, tree.survey());
    Answer whole;
    whole.fields_ = examined.fields_;
    for (const Cell& cell : rowOf(LEFTOVER_FIELDS, machine))
        whole.fields_.push_back(cell);
    whole.parts_ = {
        {"machine", rowOf(MACHINE_FIELDS, machine), {}},
        {"identify", identity.fields_, identity.lists_},
        {"properties",
         hasRecord(patient.type()) ? recordFieldsOf(recordOf(patient.type())) : Row{},
         {}},
        {"sandbox", sandbox.fields_, sandbox.lists_},
    };
    whole.lists_ = {pathList(placesOf("real", tl::release)),
                    {"space", rowsOf(ROOM_FIELDS, rooms())}};
    whole.lists_.insert(whole.lists_.end(), examined.lists_.begin(), examined.lists_.end());
    return whole;
}

Shape bundleShape(const Shape& examined)
{
    Shape shape{
        "bundle", examined.fields_, {{"paths", pathFields()}, {"space", namesOf(ROOM_FIELDS)}}};
    for (const FieldName& field : namesOf(LEFTOVER_FIELDS))
        shape.fields_.push_back(field);
    shape.lists_.insert(shape.lists_.end(), examined.lists_.begin(), examined.lists_.end());
    shape.parts_ = {
        {"machine", namesOf(MACHINE_FIELDS)},
        {"identify",
         identityFields(),
         {{"sources", sourceFields()}, {"matches", matchFields()}, {"warnings", warningFields()}}},
        {"properties", {}, {}, recordFields()},
        {"sandbox", sandboxFields(), {{"paths", pathFields()}, {"warnings", warningFields()}}}};
    return shape;
}

}  // namespace tool
