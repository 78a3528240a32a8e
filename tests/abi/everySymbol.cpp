// Uses everything that the public headers declare.  scripts/checks/headers compiles this with each
// compiler and standard, and compares which symbols the objects need from the libraries.

#include <tl/DeviceProperties.h>
#include <tl/DeviceType.h>
#include <tl/Facade.h>
#include <tl/Utilities.h>
#include <tl/WatchProcess.h>
#include <tl/tlTimer.h>
#include <tlshared/AssertWrite.h>
#include <tlshared/FileX.h>
#include <tlshared/LogX.h>
#include <tlshared/SimpleSingleton.h>
#include <tlshared/System.h>
#include <tlshared/TimerManager.h>

#include <typeinfo>

namespace {

// Keeps the compiler from removing its argument.
template <class Pointer>
void use(Pointer pointer)
{
    [[maybe_unused]] static volatile Pointer kept;
    kept = pointer;
}

// Constructors and destructors have no address: creating an object uses them.
template <class Class, class... Arguments>
void live(Arguments... arguments)
{
    const Class object(arguments...);
    use(static_cast<const void*>(&object));
}

// The constructors and destructors of a base class subobject.
template <class Class>
struct Heir : Class {
    using Class::Class;
};

void useDeviceType()
{
    using tl::DeviceType;
    use(&getKernelVersion);
    use(static_cast<const void*>(kernelVersionNames));
    live<tl::DeviceTypeEntry>(DT_SN, "", "", "", "");
    live<DeviceType>();
    live<Heir<DeviceType>>();
    delete new DeviceType;
    use(&DeviceType::instance);
    use(&DeviceType::toString);
    use(&DeviceType::toServerName);
    use(&DeviceType::toUuid);
    use(&DeviceType::toEnum);
    use(&DeviceType::find);
    use(&DeviceType::get);
    use(&DeviceType::getUuid);
    use(&DeviceType::readUuidFromFile);
    use(&DeviceType::initializeDeviceTypes);
    use(static_cast<const void*>(&DeviceType::instance_));
    use(static_cast<const void*>(&DeviceType::INVALID_DEV_STR));
    use(static_cast<const void*>(&DeviceType::ERROR_SERVER_NAME));
    use(static_cast<const void*>(&DeviceType::EMPTY_UUID));
    use(static_cast<const void*>(&typeid(DeviceType)));
}

void useDeviceProperties()
{
    using tl::DeviceProperties;
    using tl::DevicePropertiesMap;
    live<DeviceProperties>();
    live<Heir<DeviceProperties>>();
    live<DeviceProperties>(DT_SN, "", "", "", true, "", true, true, "", true, true, true);
    live<Heir<DeviceProperties>>(DT_SN, "", "", "", true, "", true, true, "", true, true, true);
    use(&DeviceProperties::isPlatformMatch);
    use(&DeviceProperties::isUpdateManagerMatch);
    use(&DeviceProperties::hostname);
    use(&DevicePropertiesMap::instance);
    use(&DevicePropertiesMap::get);
    delete &DevicePropertiesMap::instance();
}

void useFacade()
{
    using tl::Facade;
    using tl::FacadeInfo;
    live<Facade>();
    live<Heir<Facade>>();
    live<FacadeInfo>("", "", "", "", "", "", "", "", "", "", "", "", "", "");
    live<Heir<FacadeInfo>>("", "", "", "", "", "", "", "", "", "", "", "", "", "");
    use(static_cast<const void*>(&tl::release));
    use(static_cast<const void*>(&tl::devel));
    use(&Facade::instance);
    use(&Facade::debug);
    use(&Facade::tollanDir);
    use(&Facade::etcDir);
    use(&Facade::umDebugFile);
    use(&Facade::umStatusFile);
    use(&Facade::umExclusionFile);
    use(&Facade::umStateFile);
    use(&Facade::umStateBakFile);
    use(&Facade::umStateCorruptFile);
    use(&Facade::syslogFile);
    use(&Facade::varCacheDir);
    use(&Facade::varLogDir);
    use(&Facade::varRunDir);
    use(&Facade::varUpmanCacheDir);
    use(&Facade::packagesDir);
    use(&Facade::dirName);
    use(&Facade::makeFullPath);
    use(&Facade::initializeSandbox);
    use(&Facade::unlink);
    use(&Facade::chmodX);
    use(&Facade::rawSystem);
    use(&Facade::system);
}

void useWatchProcess()
{
    using tl::WatchProcess;
    using Arguments = std::vector<std::string>;
    live<WatchProcess>();
    live<Heir<WatchProcess>>();
    use(static_cast<int (WatchProcess::*)(const std::string&, const Arguments&, int)>(
        &WatchProcess::startProcess));
    use(static_cast<int (WatchProcess::*)(const std::string&, int)>(&WatchProcess::startProcess));
    use(&WatchProcess::runProcess);
    use(&WatchProcess::restartProcess);
    use(&WatchProcess::poll);
    use(static_cast<void (WatchProcess::*)()>(&WatchProcess::wait));
    use(static_cast<void (WatchProcess::*)(bool)>(&WatchProcess::wait));
    use(&WatchProcess::kill);
    use(&WatchProcess::setTimeOutValues);
    use(&WatchProcess::clearState);
    use(&WatchProcess::setEnvironment);
    use(&WatchProcess::resetLogFile);
    use(&WatchProcess::deleteLog);
    use(&WatchProcess::printState);
    use(&WatchProcess::command);
    use(&WatchProcess::exitStatus);
    use(&WatchProcess::errorNum);
    use(&WatchProcess::signal);
    use(&WatchProcess::killedByTimer);
    use(&WatchProcess::logFile);
    use(&WatchProcess::getArgsFromCommandString);
    use(static_cast<std::ostream& (*)(std::ostream&, tl::WatchProcessState_t)>(&tl::operator<<));
}

void useTimer()
{
    live<TlTimer>();
    live<Heir<TlTimer>>();
    delete new TlTimer;
    TlTimer().TlTimer::OnTimerExpired(0, 0);
    use(&TlTimer::startTimerSec);
    use(&TlTimer::startTimerMS);
    use(&TlTimer::clearTimer);
    use(&TlTimer::isTimerSet);
    use(&TlTimer::isExpired);
    use(static_cast<const void*>(&typeid(TlTimer)));
}

void useUtilities()
{
    use(&axtoi);
    use(&stringToInt);
    use(&itoax);
    use(&wtoax);
    use(&intToString);
    use(&getStringField);
    use(&getHexField);
    use(&createGUIDString);
    use(&StringUtils::SplitString);
    use(&addFDtoFDSET);
    use(&AddSocketToFDSets);
    use(&RemoveSocketFromFDSets);
    use(&set_cloexec_flag);
    use(&tluSleep);
    use(&getNextPacketNumber);
    use(static_cast<const void*>(&globalPacketCount));
}

void usePlatform()
{
    live<CTimerManager>();
    live<Heir<CTimerManager>>();
    live<tl::StackTrace>();
    live<Heir<tl::StackTrace>>();
    use(&CTimerManager::AddTimer);
    use(&CTimerManager::KillTimer);
    use(&CTimerManager::Process);
    use(&SimpleSingleton<CTimerManager>::Instance);
    use(static_cast<void (*)(unsigned int, const char*, ...)>(&LogXMessage));
    use(static_cast<void (*)(unsigned int, const std::string&)>(&LogXMessage));
    use(&FileX::mkdir);
    use(&tl::system);
    use(&tl::AssertWrite);
}

}  // namespace

void useEverything()
{
    useDeviceType();
    useDeviceProperties();
    useFacade();
    useWatchProcess();
    useTimer();
    useUtilities();
    usePlatform();
}
