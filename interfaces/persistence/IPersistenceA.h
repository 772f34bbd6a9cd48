#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "comm/Proxy.h"
#include "comm/Service.h"
#include "util/CITypesFactory.h"
#include "util/SharedPtr.h"

/// The unit's persistence service: persistent settings, as values under numbered keys in partitions. A partition is
/// identified by a number or a name, has a version, and must be opened before use.
namespace persistence {

/// The result of a request, and the status of a value. The service defines the other numbers.
enum ResultCode : std::uint32_t
{
    ok = 0,      ///< done, or the value exists
    notFound = 6 ///< no such partition or value
};

struct IntValue
{
    std::uint32_t key = 0;
    std::int32_t value = 0;
    std::uint32_t status = ok;

    static constexpr auto fields()
    {
        return std::tuple{comm::field("key", &IntValue::key), comm::field("value", &IntValue::value),
                          comm::field("status", &IntValue::status)};
    }
};

struct StringValue
{
    std::uint32_t key = 0;
    util::SharedPtr<std::string> value{};
    std::uint32_t status = ok;

    static constexpr auto fields()
    {
        return std::tuple{comm::field("key", &StringValue::key), comm::field("value", &StringValue::value),
                          comm::field("status", &StringValue::status)};
    }
};

struct BlobValue
{
    std::uint32_t key = 0;
    UInt8Array value{};
    std::uint32_t status = ok;

    static constexpr auto fields()
    {
        return std::tuple{comm::field("key", &BlobValue::key), comm::field("value", &BlobValue::value),
                          comm::field("status", &BlobValue::status)};
    }
};

using Keys = std::vector<std::uint32_t>;
using Version = util::SharedPtr<std::string>; ///< may be null

class IPersistenceA
{
public:
    virtual ~IPersistenceA() = default;

    virtual void version(std::uint32_t partition) = 0;
    virtual void versionByName(const std::string& partition) = 0;

    /// Opens a partition; creates it with the version when it does not exist.
    virtual void open(std::uint32_t partition, const Version& version) = 0;
    virtual void openByName(const std::string& partition, const Version& version) = 0;

    virtual void setInt(std::uint32_t handle, std::uint32_t key, std::int32_t value) = 0;

    /// When the result arrives, all values set before are on the medium.
    virtual void flush(std::uint32_t handle) = 0;

    /// Sends the values of the keys now and at every change.
    virtual void subscribe(std::uint32_t handle, const Keys& keys) = 0;
    virtual void unsubscribe(std::uint32_t handle, const Keys& keys) = 0;
};

class IPersistenceAReply
{
public:
    virtual ~IPersistenceAReply() = default;
    virtual void versionResult(std::uint32_t partition, const Version& version, std::uint32_t result) = 0;
    virtual void versionByNameResult(const std::string& partition, const Version& version, std::uint32_t result) = 0;
    virtual void openResult(std::uint32_t partition, std::uint32_t handle, std::uint32_t result) = 0;
    virtual void openByNameResult(const std::string& partition, std::uint32_t handle, std::uint32_t result) = 0;
    virtual void setResult(std::uint32_t handle, std::uint32_t key, std::uint32_t result) = 0;
    virtual void flushResult(std::uint32_t handle, std::uint32_t result) = 0;
    virtual void unsubscribeResult(std::uint32_t handle, const Keys& keys, std::uint32_t result) = 0;
    virtual void intValues(std::uint32_t handle, const std::vector<IntValue>& values) = 0;
    virtual void stringValues(std::uint32_t handle, const std::vector<StringValue>& values) = 0;
    virtual void blobValues(std::uint32_t handle, const std::vector<BlobValue>& values) = 0;
};

struct IPersistenceADescription
{
    static constexpr std::string_view name = "persistence.IPersistenceA";
    using Requests = IPersistenceA;
    using Reply = IPersistenceAReply;
    static constexpr auto requests =
        std::tuple{comm::method<&IPersistenceA::version>(1, "version", "partition"),
                   comm::method<&IPersistenceA::versionByName>(2, "versionByName", "partition"),
                   comm::method<&IPersistenceA::open>(3, "open", "partition", "version"),
                   comm::method<&IPersistenceA::openByName>(4, "openByName", "partition", "version"),
                   comm::method<&IPersistenceA::setInt>(5, "setInt", "handle", "key", "value"),
                   comm::method<&IPersistenceA::flush>(6, "flush", "handle"),
                   comm::method<&IPersistenceA::subscribe>(7, "subscribe", "handle", "keys"),
                   comm::method<&IPersistenceA::unsubscribe>(8, "unsubscribe", "handle", "keys")};
    static constexpr auto replies = std::tuple{
        comm::method<&IPersistenceAReply::versionResult>(1, "versionResult", "partition", "version", "result"),
        comm::method<&IPersistenceAReply::versionByNameResult>(2, "versionByNameResult", "partition", "version",
                                                               "result"),
        comm::method<&IPersistenceAReply::openResult>(3, "openResult", "partition", "handle", "result"),
        comm::method<&IPersistenceAReply::openByNameResult>(4, "openByNameResult", "partition", "handle", "result"),
        comm::method<&IPersistenceAReply::setResult>(5, "setResult", "handle", "key", "result"),
        comm::method<&IPersistenceAReply::flushResult>(6, "flushResult", "handle", "result"),
        comm::method<&IPersistenceAReply::unsubscribeResult>(7, "unsubscribeResult", "handle", "keys", "result"),
        comm::method<&IPersistenceAReply::intValues>(8, "intValues", "handle", "values"),
        comm::method<&IPersistenceAReply::stringValues>(9, "stringValues", "handle", "values"),
        comm::method<&IPersistenceAReply::blobValues>(10, "blobValues", "handle", "values")};
    static constexpr auto attributes = std::tuple{};
};

using IPersistenceAS = comm::Service<IPersistenceADescription>;
using IPersistenceAProxy = comm::ServiceProxy<IPersistenceADescription>;

} // namespace persistence
