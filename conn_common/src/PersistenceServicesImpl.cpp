#include "PersistenceServicesImpl.h"

#include <algorithm>
#include <utility>

#include "PersistenceCall.h"
#include "conn_common/allocate.h"
#include "ipl/ErrorStorage.h"

namespace persistence {
namespace {

using subscription_result = PersistenceServices::subscription_result;

constexpr char kLabel[] = "PersistenceServicesImpl";
constexpr char kSource[] = "conn_common/src/PersistenceServicesImpl";
constexpr char kDefaultVersion[] = "DSI-unversioned";
constexpr char kNotSubscribed[] = "Received string values on partition neither opened nor subscribed";
constexpr char kNotWaitedFor[] = "Nobody waits for this answer";
constexpr char kOutOfMemory[] = "Could not allocate memory";
constexpr std::uint32_t kInstance = 1;

PersistenceLocation locationOf(std::uint32_t number)
{
    return {PersistenceLocation::byNumber, number, {}};
}

PersistenceLocation locationOf(const std::string& name)
{
    return {PersistenceLocation::byName, 0, name};
}

subscription_result::Status statusOf(std::uint32_t serviceStatus)
{
    switch (serviceStatus) {
    case ok:
        return subscription_result::present;
    case notFound:
        return subscription_result::missing;
    default:
        return subscription_result::failed;
    }
}

void store(const IntValue& from, subscription_result& result)
{
    TRACE_AT(s_implChannel, detail, kLabel, "processUpdate", __LINE__, "-> Integer '%d'", from.value);
    result.intValue = from.value;
}

void store(const StringValue& from, subscription_result& result)
{
    TRACE_AT(s_implChannel, detail, kLabel, "processUpdate", __LINE__, "-> String '%s'",
             from.value ? from.value->c_str() : "");
    result.stringValue = from.value;
}

void store(const BlobValue& from, subscription_result& result)
{
    TRACE_AT(s_implChannel, detail, kLabel, "processUpdate", __LINE__, "-> Blob size=%zu",
             from.value ? from.value->size() : 0);
    result.blobValue = from.value;
}

} // namespace

PersistenceServicesImpl::PersistenceServicesImpl(comm::FactoryPtr factory, PersistenceListener& listener)
    : m_factory{std::move(factory)},
      m_listener{listener},
      m_proxy{makeProxy()},
      m_partitions{*this},
      m_subscriptionCallback{this, &PersistenceServicesImpl::addSubscription, m_factory},
      m_writeCallback{this, &PersistenceServicesImpl::addWrite, m_factory},
      m_reconnection{m_factory, [this] { connect(); }}
{}

std::unique_ptr<IPersistenceAProxy> PersistenceServicesImpl::makeProxy()
{
    return common_::allocate<IPersistenceAProxy>({kSource, __LINE__, "makeProxy"}, kOutOfMemory, kInstance, m_factory,
                                                 static_cast<IPersistenceAReply&>(*this),
                                                 static_cast<comm::LifecycleListener&>(*this));
}

// From any thread.
void PersistenceServicesImpl::requestValue(const PersistenceLocation& location, std::uint32_t keyId,
                                           PersistenceServices::ResultCallback& callback)
{
    m_subscriptionCallback.schedule(common_::allocate<Subscription>(
        {kSource, __LINE__, "requestValue"}, kOutOfMemory, Subscription{location, keyId, &callback, false, true}));
}

// From any thread.
void PersistenceServicesImpl::writeInt(const PersistenceLocation& location, std::uint32_t keyId, std::int32_t value,
                                       bool flush)
{
    m_writeCallback.schedule(common_::allocate<PendingWrite<int>>({kSource, __LINE__, "writeInt"}, kOutOfMemory,
                                                                  location, keyId, flush, value));
}

void PersistenceServicesImpl::startService()
{
    TRACE(s_implChannel, detail, kLabel, "Initializing persistence service");
    connect();
}

void PersistenceServicesImpl::connect()
{
    if (m_proxy->isAlive()) {
        return;
    }
    m_writeState = WriteState::idle;
    if (m_proxy->connect()) {
        logPlatformError(kSource, 85, "Couldn't connect to persistence proxy", ipl::ErrorStorage::reason());
        ipl::ErrorStorage::ack();
        m_reconnection.connectFailed();
    }
}

void PersistenceServicesImpl::alive(const comm::Lifecycle&)
{
    TRACE(s_implChannel, detail, kLabel, "Persistence went alive, open partition and subscribe");
    checkSubscriptions();
    processPendingWrites();
    m_listener.persistenceLoaded();
}

void PersistenceServicesImpl::dead(const comm::Lifecycle&, const comm::DeathNotice& notice)
{
    TRACE(s_implChannel, warning, kLabel, "Persistence died, mh...");
    m_partitions.forgetAll();
    for (const auto& subscription : m_subscriptions) {
        subscription->subscribed = false;
    }
    m_proxy = makeProxy();
    m_writeState = WriteState::idle;
    m_reconnection.serviceDied(notice);
}

bool PersistenceServicesImpl::prepareAccess(const PersistenceLocation& location)
{
    const auto state = m_partitions.stateOf(location);
    if (state) {
        return state == PartitionManager::opened;
    }
    TRACE(s_implChannel, progress, kLabel, "Partition not yet opened, requesting version");
    if (requestVersion(location)) {
        m_partitions.setOpenRequested(location);
    }
    return false;
}

bool PersistenceServicesImpl::requestVersion(const PersistenceLocation& location) const
{
    if (location.kind == PersistenceLocation::byNumber) {
        return callLogged<&IPersistenceA::version>(
            *m_proxy, {kSource, __LINE__, "m_PersistencyProxy->version((uint32_t)partition)"}, location.number);
    }
    return callLogged<&IPersistenceA::versionByName>(
        *m_proxy,
        {kSource, __LINE__,
         "m_PersistencyProxy->version(CITypesFactory::createString(((ipl::string)partition).c_str(), "
         "util::UnicodeString::ASCII))"},
        location.name);
}

void PersistenceServicesImpl::versionResult(std::uint32_t partition, const Version& version, std::uint32_t result)
{
    versionKnown(locationOf(partition), version, result);
}

void PersistenceServicesImpl::versionByNameResult(const std::string& partition, const Version& version,
                                                  std::uint32_t result)
{
    versionKnown(locationOf(partition), version, result);
}

void PersistenceServicesImpl::versionKnown(const PersistenceLocation& location, const Version& version,
                                           std::uint32_t result)
{
    TRACE_AT(s_implChannel, detail, kLabel, "versionResult", __LINE__, "called partition=%s,result=%d,version=%s",
             textOf(location).c_str(), static_cast<int>(result), version ? version->c_str() : "<INVALID_STRING>");
    const auto* const item = m_partitions.setVersion(location, version);
    if (item == nullptr) {
        TRACE_AT(s_implChannel, progress, kLabel, "versionResult", __LINE__, kNotWaitedFor);
        return;
    }
    switch (result) {
    case notFound:
        TRACE_AT(s_implChannel, milestone, kLabel, "versionResult", __LINE__,
                 "-> Creating partition with version DSI-unversioned");
        open(location, std::make_shared<std::string>(kDefaultVersion),
             "m_PersistencyProxy->open(partition, CITypesFactory::createString(DEFAULT_VERSION, "
             "util::UnicodeString::ASCII))");
        return;
    case ok:
        TRACE_AT(s_implChannel, progress, kLabel, "versionResult", __LINE__, "-> Partition already exists");
        open(location, item->version, "m_PersistencyProxy->open(partition, version)");
        return;
    default:
        TRACE_AT(s_implChannel, error, kLabel, "versionResult", __LINE__,
                 "-> Serious error while opening requested partition");
    }
}

void PersistenceServicesImpl::open(const PersistenceLocation& location, const Version& version,
                                   const char* expression) const
{
    if (location.kind == PersistenceLocation::byNumber) {
        callLogged<&IPersistenceA::open>(*m_proxy, {kSource, __LINE__, expression}, location.number, version);
    } else {
        callLogged<&IPersistenceA::openByName>(*m_proxy, {kSource, __LINE__, expression}, location.name, version);
    }
}

void PersistenceServicesImpl::openResult(std::uint32_t partition, std::uint32_t handle, std::uint32_t result)
{
    openDone(locationOf(partition), handle, result);
}

void PersistenceServicesImpl::openByNameResult(const std::string& partition, std::uint32_t handle, std::uint32_t result)
{
    openDone(locationOf(partition), handle, result);
}

void PersistenceServicesImpl::openDone(const PersistenceLocation& location, std::uint32_t handle, std::uint32_t result)
{
    TRACE_AT(s_implChannel, detail, kLabel, "openResult", __LINE__, "called partition=%s,result=%d",
             textOf(location).c_str(), static_cast<int>(result));
    const bool waitedFor = result == ok ? m_partitions.setOpened(location, handle) : m_partitions.setFailed(location);
    if (!waitedFor) {
        TRACE_AT(s_implChannel, progress, kLabel, "openResult", __LINE__, kNotWaitedFor);
    }
}

void PersistenceServicesImpl::partitionOpened(const PersistenceLocation& location)
{
    TRACE(s_implChannel, progress, kLabel, "Partition '%s' was opened -> check pending subscriptions or writes",
          textOf(location).c_str());
    checkSubscriptions();
    processPendingWrites();
}

void PersistenceServicesImpl::addSubscription(std::unique_ptr<Subscription> subscription)
{
    m_subscriptions.push_back(std::move(subscription));
    checkSubscription(*m_subscriptions.back());
}

void PersistenceServicesImpl::checkSubscriptions()
{
    for (const auto& subscription : m_subscriptions) {
        checkSubscription(*subscription);
    }
}

void PersistenceServicesImpl::checkSubscription(Subscription& subscription)
{
    if (!m_proxy->isAlive() || subscription.subscribed || !prepareAccess(subscription.location)) {
        return;
    }
    const auto handle = m_partitions.handleOf(subscription.location);
    if (!handle) {
        TRACE(s_implChannel, warning, kLabel, "Partition state says OPENED, but no handle returned");
        return;
    }
    TRACE(s_implChannel, progress, kLabel, "Subscribing to '%s'", std::to_string(subscription.keyId).c_str());
    subscription.subscribed = callLogged<&IPersistenceA::subscribe>(
        *m_proxy, {kSource, __LINE__, "m_PersistencyProxy->subscribe(handle, keys)"}, *handle,
        Keys{subscription.keyId});
}

bool PersistenceServicesImpl::hasSubscriptions(const PersistenceLocation& location) const
{
    return std::any_of(m_subscriptions.begin(), m_subscriptions.end(), [&](const auto& subscription) {
        return subscription->subscribed && subscription->location == location;
    });
}

void PersistenceServicesImpl::intValues(std::uint32_t handle, const std::vector<IntValue>& values)
{
    TRACE(s_implChannel, detail, kLabel, "called");
    processUpdate(handle, values);
}

void PersistenceServicesImpl::stringValues(std::uint32_t handle, const std::vector<StringValue>& values)
{
    TRACE(s_implChannel, detail, kLabel, "called");
    processUpdate(handle, values);
}

void PersistenceServicesImpl::blobValues(std::uint32_t handle, const std::vector<BlobValue>& values)
{
    TRACE(s_implChannel, detail, kLabel, "called");
    processUpdate(handle, values);
}

template <typename Value>
void PersistenceServicesImpl::processUpdate(std::uint32_t handle, const std::vector<Value>& values)
{
    const auto* const location = m_partitions.locationOf(handle);
    if (location == nullptr || !hasSubscriptions(*location)) {
        TRACE(s_implChannel, warning, kLabel, kNotSubscribed);
        return;
    }
    Keys served;
    for (const auto& value : values) {
        TRACE(s_implChannel, progress, kLabel, "Key %s changed, status=%d", std::to_string(value.key).c_str(),
              static_cast<int>(value.status));
        subscription_result result{.location = *location, .keyId = value.key, .status = statusOf(value.status)};
        store(value, result);
        served.insert(served.end(), deliver(result), value.key);
    }
    if (served.empty()) {
        return;
    }
    TRACE(s_implChannel, detail, kLabel, "Unsubscribing %zu keys", served.size());
    callLogged<&IPersistenceA::unsubscribe>(
        *m_proxy, {kSource, __LINE__, "m_PersistencyProxy->unsubscribe(handle, pendingUnsubscriptions)"}, handle,
        served);
}

// Returns how many subscriptions wanted no more than that.
std::size_t PersistenceServicesImpl::deliver(const subscription_result& result)
{
    std::size_t served = 0;
    for (auto next = m_subscriptions.begin(); next != m_subscriptions.end();) {
        const auto& subscription = **next;
        const bool wanted =
            subscription.subscribed && subscription.keyId == result.keyId && subscription.location == result.location;
        if (wanted) {
            subscription.callback->schedule(result);
        }
        if (!wanted || !subscription.single) {
            ++next;
            continue;
        }
        TRACE_AT(s_implChannel, detail, kLabel, "processUpdate", __LINE__, "%s is single subscription, remove it",
                 std::to_string(result.keyId).c_str());
        next = m_subscriptions.erase(next);
        ++served;
    }
    return served;
}

void PersistenceServicesImpl::unsubscribeResult(std::uint32_t handle, const Keys& keys, std::uint32_t)
{
    TRACE(s_implChannel, detail, kLabel, "handle=%d", static_cast<int>(handle));
    const auto* const location = m_partitions.locationOf(handle);
    if (location == nullptr) {
        TRACE(s_implChannel, warning, kLabel, kNotSubscribed);
        return;
    }
    TRACE(s_implChannel, detail, kLabel, "Unsubscribe result on %s", textOf(*location).c_str());
    for (const auto key : keys) {
        TRACE(s_implChannel, detail, kLabel, "Unsubscribed '%s'", std::to_string(key).c_str());
    }
}

void PersistenceServicesImpl::addWrite(const util::SharedPtr<PendingWriteBase>& write)
{
    m_pendingWrites.push_back(write);
    processPendingWrites();
}

void PersistenceServicesImpl::processPendingWrites()
{
    TRACE(s_implChannel, detail, kLabel, "Processing pending writes");
    if (!m_proxy->isAlive()) {
        TRACE(s_implChannel, progress, kLabel, "PersistencyProxy not yet alive");
        return;
    }
    if (m_writeState != WriteState::idle) {
        return;
    }
    const auto first = std::find_if(m_pendingWrites.begin(), m_pendingWrites.end(),
                                    [this](const auto& write) { return prepareAccess(write->getLocation()); });
    if (first == m_pendingWrites.end()) {
        return;
    }
    const auto handle = m_partitions.handleOf((*first)->getLocation());
    if (!handle) {
        TRACE(s_implChannel, warning, kLabel, "Partition access okay, but no handle!");
        return;
    }
    sendBunch(first, *handle);
}

void PersistenceServicesImpl::sendBunch(std::list<util::SharedPtr<PendingWriteBase>>::iterator first,
                                        std::uint32_t handle)
{
    const auto location = (*first)->getLocation();
    m_flushNeeded = false;
    m_pendingWriteResults = 0;
    m_bunchHandle = handle;
    for (auto next = first; next != m_pendingWrites.end();) {
        const auto& write = **next;
        if (!(write.getLocation() == location)) {
            ++next;
            continue;
        }
        m_flushNeeded = m_flushNeeded || write.needsFlush();
        if (!write.doWrite(*m_proxy, handle)) {
            TRACE_AT(s_implChannel, warning, kLabel, "processPendingWrites", __LINE__, "doWrite() failed");
            break;
        }
        ++m_pendingWriteResults;
        next = m_pendingWrites.erase(next);
    }
    if (m_pendingWriteResults > 0) {
        m_writeState = WriteState::writing;
    }
}

void PersistenceServicesImpl::setResult(std::uint32_t handle, std::uint32_t, std::uint32_t result)
{
    TRACE(s_implChannel, detail, kLabel, "result=%d -> pendingWriteResults=%d", static_cast<int>(result),
          static_cast<int>(m_pendingWriteResults));
    if (m_writeState != WriteState::writing || handle != m_bunchHandle) {
        TRACE(s_implChannel, progress, kLabel, kNotWaitedFor);
        return;
    }
    if (--m_pendingWriteResults > 0) {
        return;
    }
    if (!m_flushNeeded) {
        TRACE(s_implChannel, milestone, kLabel, "Write bunch finished");
        sendNextBunch();
    } else if (!sendFlush()) {
        sendNextBunch();
    }
}

// Returns true when the result of the flush is awaited.
bool PersistenceServicesImpl::sendFlush()
{
    if (!callLogged<&IPersistenceA::flush>(*m_proxy, {kSource, __LINE__, "m_PersistencyProxy->flush(handle)"},
                                           m_bunchHandle))
    {
        TRACE_AT(s_implChannel, warning, kLabel, "setResult", __LINE__, "Couldn't sent flush.");
        return false;
    }
    m_writeState = WriteState::flushing;
    return true;
}

void PersistenceServicesImpl::flushResult(std::uint32_t handle, std::uint32_t result)
{
    TRACE(s_implChannel, detail, kLabel, "result=%d", static_cast<int>(result));
    if (m_writeState != WriteState::flushing || handle != m_bunchHandle) {
        TRACE(s_implChannel, progress, kLabel, kNotWaitedFor);
        return;
    }
    TRACE(s_implChannel, milestone, kLabel, "Write bunch finished");
    sendNextBunch();
}

void PersistenceServicesImpl::sendNextBunch()
{
    m_writeState = WriteState::idle;
    processPendingWrites();
}

} // namespace persistence
