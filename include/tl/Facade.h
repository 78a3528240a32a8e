#pragma once

#include <string>

#include "tl/Export.h"

/// \file
/// The paths of the update manager, and guarded operations on its files.

namespace tl {

/// One layout of the update manager's files.  Directories end in "/", files do not.
struct TL_EXPORT FacadeInfo {
    /// Copies its arguments into the fields, in the same order.
    FacadeInfo(const std::string& tollanDir, const std::string& etcDir,
               const std::string& umDebugFile, const std::string& umStatusFile,
               const std::string& umExclusionFile, const std::string& umStateFile,
               const std::string& umStateBakFile, const std::string& umStateCorruptFile,
               const std::string& syslogFile, const std::string& varCacheDir,
               const std::string& varLogDir, const std::string& varRunDir,
               const std::string& varUpmanCacheDir, const std::string& packagesDir);
    ~FacadeInfo();

    std::string tollanDir;           ///< the product's root directory
    std::string etcDir;              ///< configuration directory
    std::string umDebugFile;         ///< the update manager's debug file
    std::string umStatusFile;        ///< the update manager's status file
    std::string umExclusionFile;     ///< the update manager's exclusions file
    std::string umStateFile;         ///< the update manager's state file
    std::string umStateBakFile;      ///< backup copy of the state file
    std::string umStateCorruptFile;  ///< a state file set aside as corrupt
    std::string syslogFile;          ///< the system logger's configuration file
    std::string varCacheDir;         ///< cache directory
    std::string varLogDir;           ///< log directory
    std::string varRunDir;           ///< run-time state directory
    std::string varUpmanCacheDir;    ///< the update manager's cache directory
    std::string packagesDir;         ///< directory of package files
};

TL_EXPORT extern const FacadeInfo release;  ///< the real layout
TL_EXPORT extern const FacadeInfo devel;    ///< the sandbox layout: all below "/tmp/upmand"

/// The update manager's paths, and the operations that change a device.
///
///     tl::Facade& facade = tl::Facade::instance();
///     facade.debug(true);                                    // the sandbox
///     facade.initializeSandbox();
///     std::ofstream state(facade.umStateFile());             // "/tmp/upmand/etc/um-state"
///     facade.unlink(facade.umStateBakFile(), "upman");       // a failure is logged: "upman: ..."
///     facade.system("reboot", "upman");                      // skipped: this is the sandbox
///
/// **Failures** return what the system call returned, and are logged once, at level 3, in fixed
/// words after the caller's tag.  `errno` is left as the failed call set it.  Only std::bad_alloc
/// is thrown.
///
/// **Ownership.**  Path accessors return references into tl::release or tl::devel, which live as
/// long as the library.  A reference keeps its layout after a later debug().
///
/// **Threads.**  The first call of instance() is guarded.  debug() writes without a lock: choose
/// the layout before threads share the facade.  Everything else only reads.
///
/// Paths, commands and tags are used as they are.  A newline in a tag or path ends up in the log,
/// and commands go to a shell: quoting is up to the caller.
class TL_EXPORT Facade {
public:
    Facade();
    ~Facade();

    /// The process's facade.  It starts in the real layout.
    static Facade& instance();

    /// Selects the sandbox layout (true) or the real layout (false).  Creates no directory.
    void debug(bool on);

    // The paths of the selected layout.
    const std::string& tollanDir() const;           ///< FacadeInfo::tollanDir
    const std::string& etcDir() const;              ///< FacadeInfo::etcDir
    const std::string& umDebugFile() const;         ///< FacadeInfo::umDebugFile
    const std::string& umStatusFile() const;        ///< FacadeInfo::umStatusFile
    const std::string& umExclusionFile() const;     ///< FacadeInfo::umExclusionFile
    const std::string& umStateFile() const;         ///< FacadeInfo::umStateFile
    const std::string& umStateBakFile() const;      ///< FacadeInfo::umStateBakFile
    const std::string& umStateCorruptFile() const;  ///< FacadeInfo::umStateCorruptFile
    const std::string& syslogFile() const;          ///< FacadeInfo::syslogFile
    const std::string& varCacheDir() const;         ///< FacadeInfo::varCacheDir
    const std::string& varLogDir() const;           ///< FacadeInfo::varLogDir
    const std::string& varRunDir() const;           ///< FacadeInfo::varRunDir
    const std::string& varUpmanCacheDir() const;    ///< FacadeInfo::varUpmanCacheDir
    const std::string& packagesDir() const;         ///< FacadeInfo::packagesDir

    /// The directory part of `path`, without its slash.  One trailing slash is ignored.
    ///
    ///     "/etc/um-state"  "/etc"          "/a"  ""        "name"  "name" (no slash)
    ///     "/a/b/"          "/a"            "/"   ""        "a/"    "a/"   (no other slash)
    ///     "/a//"           "/a"            "//"  ""        ""      ""
    static std::string dirName(const std::string& path);

    /// Creates every missing directory along `path`, with mode 0755 less the umask.
    ///
    /// The part after the last slash becomes a directory, too: for a file, pass its dirName().  The
    /// result of that last step is not reported, since the directory usually exists.
    ///
    /// \returns 0; or 1 as soon as a directory before the last slash cannot be created, with
    ///          `errno` as FileX::mkdir() left it.  If the path ends in a slash and nothing was
    ///          missing, `errno` is 0.
    static int makeFullPath(const std::string& path);

    /// Creates the directories of the selected layout, real or sandbox, but no files.  Failures are
    /// not reported.
    void initializeSandbox() const;

    /// Removes a file, through unlink(2).
    ///
    /// \returns 0, or -1 after logging "<who>: cannot remove <path>".
    int unlink(const std::string& path, const std::string& who) const;

    /// Sets a file's mode to 0755, through chmod(2).
    ///
    /// \returns 0, or -1 after logging "<who>: chmod failed, <reason>".  The path is not in the
    ///          message, so name the file in the tag.
    int chmodX(const std::string& path, const std::string& who) const;

    /// Runs a shell command in either layout, through tl::system(), and blocks until it has ended.
    ///
    /// In the sandbox "running: '<cmd>'" is logged at level 7 first.  A command that ends with
    /// anything but exit status 0 is logged, unless `who` is empty; one that could not be run at
    /// all is always logged.
    ///
    ///     <who>: cmd = '<cmd>', exit status = 3, errno = (0) Success
    ///     <who>: cmd = '<cmd>', signal = 9, errno = (0) Success       (ended or stopped by one)
    ///     <who>: cmd = '<cmd>', rc = -1, errno = (11) Resource temporarily unavailable
    ///
    /// \returns the wait status, for `WEXITSTATUS` and the like, or -1.
    int rawSystem(const std::string& cmd, const std::string& who) const;

    /// In the real layout, the same as rawSystem().  In the sandbox, runs nothing, logs
    /// "skipping: '<cmd>'" at level 7 and returns 0.
    int system(const std::string& cmd, const std::string& who) const;

private:
    bool m_debug;
    const FacadeInfo* m_info;
};

}  // namespace tl
