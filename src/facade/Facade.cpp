#include "tl/Facade.h"

#include <unistd.h>

#include <cerrno>

#include "tlshared/FileX.h"

namespace {

constexpr unsigned int DIRECTORY_MODE = 0755;

bool exists(const std::string& path)
{
    const bool found = ::access(path.c_str(), F_OK) == 0;
    // Cleared after every probe: a caller that reads errno later must not see the ENOENT of a
    // directory that we then created.
    errno = 0;
    return found;
}

}  // namespace

namespace tl {

Facade::Facade() : m_debug(false), m_info(&release) {}

Facade::~Facade() = default;

Facade& Facade::instance()
{
    static Facade facade;
    return facade;
}

void Facade::debug(bool on)
{
    m_debug = on;
    m_info = on ? &devel : &release;
}

// clang-format off
const std::string& Facade::tollanDir() const          { return m_info->tollanDir; }
const std::string& Facade::etcDir() const             { return m_info->etcDir; }
const std::string& Facade::umDebugFile() const        { return m_info->umDebugFile; }
const std::string& Facade::umStatusFile() const       { return m_info->umStatusFile; }
const std::string& Facade::umExclusionFile() const    { return m_info->umExclusionFile; }
const std::string& Facade::umStateFile() const        { return m_info->umStateFile; }
const std::string& Facade::umStateBakFile() const     { return m_info->umStateBakFile; }
const std::string& Facade::umStateCorruptFile() const { return m_info->umStateCorruptFile; }
const std::string& Facade::syslogFile() const         { return m_info->syslogFile; }
const std::string& Facade::varCacheDir() const        { return m_info->varCacheDir; }
const std::string& Facade::varLogDir() const          { return m_info->varLogDir; }
const std::string& Facade::varRunDir() const          { return m_info->varRunDir; }
const std::string& Facade::varUpmanCacheDir() const   { return m_info->varUpmanCacheDir; }
const std::string& Facade::packagesDir() const        { return m_info->packagesDir; }
// clang-format on

std::string Facade::dirName(const std::string& path)
{
    // One trailing slash is not searched.
    const std::size_t length = path.size() - (!path.empty() && path.back() == '/' ? 1 : 0);
    if (length == 0)
        return "";

    const std::size_t slash = path.rfind('/', length - 1);
    return slash == std::string::npos ? path : path.substr(0, slash);
}

int Facade::makeFullPath(const std::string& path)
{
    for (std::size_t slash = path.find('/'); slash != std::string::npos;
         slash = path.find('/', slash + 1)) {
        const std::string directory = path.substr(0, slash + 1);
        if (!exists(directory) && FileX::mkdir(directory, DIRECTORY_MODE) != 0)
            return 1;
    }

    if (path.empty() || path.back() != '/')
        (void)FileX::mkdir(path, DIRECTORY_MODE);
    return 0;
}

void Facade::initializeSandbox() const
{
    (void)makeFullPath(tollanDir());
    (void)makeFullPath(etcDir());
    (void)makeFullPath(dirName(umDebugFile()));
    (void)makeFullPath(dirName(umStatusFile()));
    (void)makeFullPath(dirName(umExclusionFile()));
    (void)makeFullPath(dirName(umStateFile()));
    (void)makeFullPath(dirName(umStateBakFile()));
    (void)makeFullPath(dirName(umStateCorruptFile()));
    (void)makeFullPath(dirName(syslogFile()));
    (void)makeFullPath(varCacheDir());
    (void)makeFullPath(varLogDir());
    (void)makeFullPath(varRunDir());
    (void)makeFullPath(varUpmanCacheDir());
    (void)makeFullPath(packagesDir());
}

}  // namespace tl
