#include "IdsApp.h"

#include <cerrno>
#include <exception>
#include <utility>

#include "CIdsManager.h"
#include "ipl/ErrorStorage.h"
#include "tracing/Channel.h"

namespace ids {
namespace {

constexpr char kLabel[] = "IdsApp";

tracing::Channel s_channel{"CON_IDS_APP", 7, 2};

// Null when there is no memory for the manager, or no thread or descriptor for what it is made of; the reason is in
// ipl::ErrorStorage. Made on the active object, or what its first members post there would meet the last ones in the
// making.
std::unique_ptr<CIdsManager> createManager(const comm::FactoryPtr& factory)
try {
    std::unique_ptr<CIdsManager> manager;
    std::exception_ptr failure;
    comm::runAndWait(factory->getActiveObject({}), [&] {
        try {
            manager = std::make_unique<CIdsManager>(factory);
        } catch (...) {
            failure = std::current_exception();
        }
    });
    if (failure) {
        std::rethrow_exception(failure);
    }
    return manager;
} catch (const std::exception& error) {
    ipl::ErrorStorage::set(ECANCELED, "%s", error.what());
    return nullptr;
}

} // namespace

using servmngt::AppState;

IdsApp::IdsApp(comm::FactoryPtr factory) : m_factory{std::move(factory)} {}

IdsApp::~IdsApp()
{
    destroyManager();
}

std::uint32_t IdsApp::initApplication(std::uint32_t systemRunMode, std::uint32_t appRunMode,
                                      std::uint32_t persistenceAccessMode)
{
    TRACE(s_channel, progress, kLabel,
          "initApplication with system run mode: %08Xh, app run mode: %08Xh and persistence access mode: %08Xh",
          systemRunMode, appRunMode, persistenceAccessMode);
    setAppState(AppState::initialising);
    destroyManager();
    m_manager = createManager(m_factory);
    if (!m_manager) {
        TRACE(s_channel, error, kLabel, "Can't create IDS manager!");
        setAppState(AppState::initFailed);
        return 1;
    }
    setAppState(AppState::initialised);
    return 0;
}

void IdsApp::runApplication()
{
    TRACE(s_channel, milestone, kLabel, "starting procedure...");
    if (m_manager) {
        m_manager->start();
    }
    setAppState(AppState::running);
}

void IdsApp::stopApplication()
{
    TRACE(s_channel, milestone, kLabel, "stopping procedure...");
    setAppState(AppState::stopping);
    if (m_manager) {
        m_manager->stopClients();
        m_manager->stopServices();
    }
    setAppState(AppState::stopped);
}

void IdsApp::watchdogAliveRequest()
{
    TRACE(s_channel, progress, kLabel, "Watchdog request");
    sendWatchdogAliveMsg();
}

void IdsApp::requestPersistenceFlush()
{
    TRACE(s_channel, milestone, kLabel, "Flush persistence");
    persistenceFlushAck();
}

// Destroys the components on their own thread, so that no work of theirs meets a half destroyed component.
void IdsApp::destroyManager()
{
    if (!comm::runAndWait(m_factory->getActiveObject({}), [this] { m_manager.reset(); })) {
        m_manager.reset();
    }
}

} // namespace ids
