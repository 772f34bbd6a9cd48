#pragma once

#include <cstdint>
#include <list>
#include <memory>
#include <string>
#include <vector>

#include "PartitionManager.h"
#include "PendingWrite.h"
#include "Subscription.h"
#include "comm/Proxy.h"
#include "conn_common/DelayedCallback.h"
#include "conn_common/PersistenceServices.h"
#include "conn_common/Reconnection.h"
#include "persistence/IPersistenceA.h"

namespace persistence {

/// What stands behind PersistenceServices: the protocol with the service. Requests arrive from any thread, all else
/// happens on the active object.
///
/// An answer that nothing waits for changes nothing: one for a partition that is not being opened, for a handle that is
/// not the bunch's, or beyond the writes sent.
class PersistenceServicesImpl final : private comm::LifecycleListener,
                                      private IPersistenceAReply,
                                      private IPartitionStateTracker
{
public:
    PersistenceServicesImpl(comm::FactoryPtr factory, PersistenceListener& listener);
    ~PersistenceServicesImpl() override = default;
    PersistenceServicesImpl(const PersistenceServicesImpl&) = delete;
    PersistenceServicesImpl& operator=(const PersistenceServicesImpl&) = delete;

    void startService();
    void requestValue(const PersistenceLocation& location, std::uint32_t keyId,
                      PersistenceServices::ResultCallback& callback);
    void writeInt(const PersistenceLocation& location, std::uint32_t keyId, std::int32_t value, bool flush);

private:
    enum class WriteState
    {
        idle,
        writing, // a bunch is sent, results are awaited
        flushing
    };

    void alive(const comm::Lifecycle&) override;
    void dead(const comm::Lifecycle&, const comm::DeathNotice& notice) override;
    std::unique_ptr<IPersistenceAProxy> makeProxy();
    void connect();

    void versionResult(std::uint32_t partition, const Version& version, std::uint32_t result) override;
    void versionByNameResult(const std::string& partition, const Version& version, std::uint32_t result) override;
    void openResult(std::uint32_t partition, std::uint32_t handle, std::uint32_t result) override;
    void openByNameResult(const std::string& partition, std::uint32_t handle, std::uint32_t result) override;
    void setResult(std::uint32_t handle, std::uint32_t key, std::uint32_t result) override;
    void flushResult(std::uint32_t handle, std::uint32_t result) override;
    void unsubscribeResult(std::uint32_t handle, const Keys& keys, std::uint32_t result) override;
    void intValues(std::uint32_t handle, const std::vector<IntValue>& values) override;
    void stringValues(std::uint32_t handle, const std::vector<StringValue>& values) override;
    void blobValues(std::uint32_t handle, const std::vector<BlobValue>& values) override;
    void partitionOpened(const PersistenceLocation& location) override;

    bool prepareAccess(const PersistenceLocation& location);
    bool requestVersion(const PersistenceLocation& location) const;
    void versionKnown(const PersistenceLocation& location, const Version& version, std::uint32_t result);
    void open(const PersistenceLocation& location, const Version& version, const char* expression) const;
    void openDone(const PersistenceLocation& location, std::uint32_t handle, std::uint32_t result);

    void addSubscription(std::unique_ptr<Subscription> subscription);
    void checkSubscriptions();
    void checkSubscription(Subscription& subscription);
    bool hasSubscriptions(const PersistenceLocation& location) const;
    template <typename Value>
    void processUpdate(std::uint32_t handle, const std::vector<Value>& values);
    std::size_t deliver(const PersistenceServices::subscription_result& result);

    void addWrite(const util::SharedPtr<PendingWriteBase>& write);
    void processPendingWrites();
    void sendBunch(std::list<util::SharedPtr<PendingWriteBase>>::iterator first, std::uint32_t handle);
    bool sendFlush();
    void sendNextBunch();

    const comm::FactoryPtr m_factory;
    PersistenceListener& m_listener;
    std::unique_ptr<IPersistenceAProxy> m_proxy;
    PartitionManager m_partitions;
    std::vector<std::unique_ptr<Subscription>> m_subscriptions;
    std::list<util::SharedPtr<PendingWriteBase>> m_pendingWrites; // in the order of their arrival
    WriteState m_writeState = WriteState::idle;
    bool m_flushNeeded = false;
    std::uint32_t m_pendingWriteResults = 0;
    std::uint32_t m_bunchHandle = 0;
    common_::DelayedCallback<PersistenceServicesImpl, std::unique_ptr<Subscription>> m_subscriptionCallback;
    common_::DelayedCallback<PersistenceServicesImpl, util::SharedPtr<PendingWriteBase>> m_writeCallback;
    common_::Reconnection m_reconnection;
};

} // namespace persistence
