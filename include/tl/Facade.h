#pragma once

#include <string>

#include "tl/Export.h"

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
TL_EXPORT extern const FacadeInfo devel;    ///< the sandbox: the same paths below "/tmp/upmand"

/// Where are the update manager's files, and the operations that change a device.
///
///     tl::Facade& facade = tl::Facade::instance();
///     facade.debug(true);                                    // the sandbox
///     facade.initializeSandbox();
///     std::ofstream state(facade.umStateFile());             // "/tmp/upmand/etc/um-state"
///     facade.unlink(facade.umStateBakFile(), "upman");       // a failure is logged: "upman: ..."
///     facade.system("reboot", "upman");                      // skipped: this is the sandbox
///
/// **Failures** of the operations are returned as the system call returned them and logged once, at
/// level 3, in fixed words that begin with the caller's tag.  `errno` afterwards is what the failed
/// call left.  Nothing throws, out of memory excepted.
///
/// **Ownership.**  Path accessors return references into #release or #devel, which live as long as
/// the library; a reference keeps naming its layout after a later debug().
///
/// **Threads.**  The first call of instance() is guarded.  debug() writes without a lock: choose
/// the layout before threads share the facade.  Everything else only reads.
///
/// Paths, commands and tags are used as they are.  A tag or path with a newline in it puts that
/// newline into the log, and a command is given to a shell: quoting is the caller's business.
class TL_EXPORT Facade {
public:
    Facade();
    ~Facade();

    /// The process's facade.  It starts in the real layout.
    static Facade& instance();

    /// Selects the sandbox (true) or the real layout (false); makes no directory.
    void debug(bool on);

    const std::string& tollanDir() const;
    const std::string& etcDir() const;
    const std::string& umDebugFile() const;
    const std::string& umStatusFile() const;
    const std::string& umExclusionFile() const;
    const std::string& umStateFile() const;
    const std::string& umStateBakFile() const;
    const std::string& umStateCorruptFile() const;
    const std::string& syslogFile() const;
    const std::string& varCacheDir() const;
    const std::string& varLogDir() const;
    const std::string& varRunDir() const;
    const std::string& varUpmanCacheDir() const;
    const std::string& packagesDir() const;

    /// The directory part of `path`, without its slash.  One trailing slash is not looked at.
    ///
    ///     "/etc/um-state"  "/etc"          "/a"  ""        "name"  "name" (no slash)
    ///     "/a/b/"          "/a"            "/"   ""        "a/"    "a/"   (no other slash)
    ///     "/a//"           "/a"            "//"  ""        ""      ""
    static std::string dirName(const std::string& path);

    /// Makes every missing directory along `path`, with mode 0755 less the umask.
    ///
    /// What follows the last slash is made a directory too, so pass dirName() of a file.  Whether
    /// that last step worked is not reported: in most cases it is there already.
    ///
    /// \returns 0; 1 as soon as a directory before the last slash could not be made, with `errno`
    ///          as FileX::mkdir() left it.  `errno` is 0 where the path ends in
    ///          a slash and nothing had to be made.
    static int makeFullPath(const std::string& path);

    /// Makes the directories of the selected layout, whichever it is, and no file.  Reports
    /// nothing.
    void initializeSandbox() const;

    /// Removes a file, through unlink(2).
    ///
    /// \returns 0, or -1 after logging "<who>: cannot remove <path>".
    int unlink(const std::string& path, const std::string& who) const;

    /// Sets a file's mode to 0755, through chmod(2).
    ///
    /// \returns 0, or -1 after logging "<who>: chmod failed, <reason>".  The path is not in the
    ///          message: let the tag tell which file it was.
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
    /// \returns the wait status, to be taken apart with `WEXITSTATUS` and the like, or -1.
    int rawSystem(const std::string& cmd, const std::string& who) const;

    /// In the real layout, rawSystem(); in the sandbox nothing is run, "skipping: '<cmd>'" is
    /// logged at level 7 and the result is 0.
    int system(const std::string& cmd, const std::string& who) const;

private:
    bool m_debug;
    const FacadeInfo* m_info;
};

}  // namespace tl
