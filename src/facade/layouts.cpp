#include "builtEarly.h"
#include "tl/Facade.h"

namespace tl {

FacadeInfo::FacadeInfo(const std::string& tollanDir_, const std::string& etcDir_,
                       const std::string& umDebugFile_, const std::string& umStatusFile_,
                       const std::string& umExclusionFile_, const std::string& umStateFile_,
                       const std::string& umStateBakFile_, const std::string& umStateCorruptFile_,
                       const std::string& syslogFile_, const std::string& varCacheDir_,
                       const std::string& varLogDir_, const std::string& varRunDir_,
                       const std::string& varUpmanCacheDir_, const std::string& packagesDir_)
    : tollanDir(tollanDir_),
      etcDir(etcDir_),
      umDebugFile(umDebugFile_),
      umStatusFile(umStatusFile_),
      umExclusionFile(umExclusionFile_),
      umStateFile(umStateFile_),
      umStateBakFile(umStateBakFile_),
      umStateCorruptFile(umStateCorruptFile_),
      syslogFile(syslogFile_),
      varCacheDir(varCacheDir_),
      varLogDir(varLogDir_),
      varRunDir(varRunDir_),
      varUpmanCacheDir(varUpmanCacheDir_),
      packagesDir(packagesDir_)
{
}

FacadeInfo::~FacadeInfo() = default;

// The exclusions file has a plural name but a singular accessor; both are interface.

// clang-format off
TL_BUILT_EARLY const FacadeInfo release(
    "/tollan/",
    "/etc/",
    "/etc/um-debug",
    "/etc/um-status",
    "/etc/um-exclusions",
    "/etc/um-state",
    "/etc/um-state.bak",
    "/etc/um-state.corrupt",
    "/etc/syslog.conf",
    "/var/cache/",
    "/var/log/",
    "/var/run/",
    "/var/cache/upman/",
    "/packages/");

TL_BUILT_EARLY const FacadeInfo devel(
    "/tmp/upmand/tollan/",
    "/tmp/upmand/etc/",
    "/tmp/upmand/etc/um-debug",
    "/tmp/upmand/etc/um-status",
    "/tmp/upmand/etc/um-exclusions",
    "/tmp/upmand/etc/um-state",
    "/tmp/upmand/etc/um-state.bak",
    "/tmp/upmand/etc/um-state.corrupt",
    "/tmp/upmand/etc/syslog.conf",
    "/tmp/upmand/var/cache/",
    "/tmp/upmand/var/log/",
    "/tmp/upmand/var/run/",
    "/tmp/upmand/var/cache/upman/",
    "/tmp/upmand/packages/");
// clang-format on

}  // namespace tl
