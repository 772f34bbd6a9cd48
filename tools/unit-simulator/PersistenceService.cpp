#include "PersistenceService.h"

#include <algorithm>
#include <memory>
#include <variant>

namespace unit_simulator {

using namespace persistence;

namespace {

constexpr std::uint32_t kFailed = 1;

std::string textOf(const PersistenceLocation& location)
{
    return location.kind == PersistenceLocation::byName ? location.name : std::to_string(location.number);
}

std::string textOf(const Keys& keys)
{
    std::string text;
    for (const auto key : keys) {
        text += " " + std::to_string(key);
    }
    return text;
}

} // namespace

void PersistenceService::version(std::uint32_t partition)
{
    answerVersion({Location::byNumber, partition, {}}, [&](const Version& version, std::uint32_t result) {
        tell<&IPersistenceAReply::versionResult>(partition, version, result);
    });
}

void PersistenceService::versionByName(const std::string& partition)
{
    answerVersion({Location::byName, 0, partition}, [&](const Version& version, std::uint32_t result) {
        tell<&IPersistenceAReply::versionByNameResult>(partition, version, result);
    });
}

template <typename Tell>
void PersistenceService::answerVersion(const Location& location, const Tell& tell)
{
    m_report("persistence: version " + textOf(location));
    const auto version = m_store.version(location);
    const auto fault = takeFault("version", version ? ok : notFound);
    if (fault.result) {
        const bool told = version && !fault.versionIsAbsent;
        tell(told ? std::make_shared<std::string>(*version) : nullptr, *fault.result);
    }
}

void PersistenceService::open(std::uint32_t partition, const Version& version)
{
    answerOpen({Location::byNumber, partition, {}}, version, [&](std::uint32_t handle, std::uint32_t result) {
        tell<&IPersistenceAReply::openResult>(partition, handle, result);
    });
}

void PersistenceService::openByName(const std::string& partition, const Version& version)
{
    answerOpen({Location::byName, 0, partition}, version, [&](std::uint32_t handle, std::uint32_t result) {
        tell<&IPersistenceAReply::openByNameResult>(partition, handle, result);
    });
}

template <typename Tell>
void PersistenceService::answerOpen(const Location& location, const Version& version, const Tell& tell)
{
    const auto text = version ? *version : "";
    m_report("persistence: open " + textOf(location) + " as " + text);
    answer("open", ok, [&](std::uint32_t result) { tell(result == ok ? handleOf(location, text) : 0, result); });
}

void PersistenceService::setInt(std::uint32_t handle, std::uint32_t key, std::int32_t value)
{
    m_report("persistence: set " + nameOf(handle) + " " + std::to_string(key) + " to " + std::to_string(value));
    const auto opened = m_opened.find(handle);
    answer("set", opened != m_opened.end() ? ok : kFailed, [&](std::uint32_t result) {
        if (result == ok && (opened == m_opened.end() || !m_store.set(opened->second.id, key, value))) {
            result = kFailed;
        }
        tell<&IPersistenceAReply::setResult>(handle, key, result);
        if (result == ok) {
            tellIfSubscribed(handle, key);
        }
    });
}

void PersistenceService::flush(std::uint32_t handle)
{
    m_report("persistence: flush " + nameOf(handle));
    answer("flush", m_opened.count(handle) != 0 ? ok : kFailed, [&](std::uint32_t result) {
        tell<&IPersistenceAReply::flushResult>(handle, result == ok && !m_store.commit() ? kFailed : result);
    });
}

void PersistenceService::subscribe(std::uint32_t handle, const Keys& keys)
{
    m_report("persistence: subscribe " + nameOf(handle) + textOf(keys));
    if (m_opened.count(handle) == 0) {
        return;
    }
    answer("subscribe", ok, [&](std::uint32_t result) {
        for (const auto key : keys) {
            m_subscriptions.emplace(handle, key);
            tellValue(handle, key, result);
        }
    });
}

void PersistenceService::unsubscribe(std::uint32_t handle, const Keys& keys)
{
    m_report("persistence: unsubscribe " + nameOf(handle) + textOf(keys));
    for (const auto key : keys) {
        m_subscriptions.erase({handle, key});
    }
    tell<&IPersistenceAReply::unsubscribeResult>(handle, keys, m_opened.count(handle) != 0 ? ok : kFailed);
}

void PersistenceService::change(const Location& location, std::uint32_t key, const PersistenceStore::Value& value)
{
    const auto handle = handleOf(location, "unit");
    m_store.set(m_opened.at(handle).id, key, value);
    tellIfSubscribed(handle, key);
}

void PersistenceService::withdraw()
{
    ProvidedService::withdraw();
    m_opened.clear();
    m_subscriptions.clear();
}

void PersistenceService::clientDisconnected(const Reply& client)
{
    ProvidedService::clientDisconnected(client);
    if (!hasClients()) {
        m_subscriptions.clear();
    }
}

template <typename Tell>
void PersistenceService::answer(const std::string& request, std::uint32_t result, const Tell& tell)
{
    if (const auto fault = takeFault(request, result); fault.result) {
        tell(*fault.result);
    }
}

// A fault with the given result when there is none.
PersistenceService::Fault PersistenceService::takeFault(const std::string& request, std::uint32_t result)
{
    const auto found = m_faults.find(request);
    if (found == m_faults.end() || found->second.times == 0) {
        return {result};
    }
    --found->second.times;
    return found->second;
}

std::uint32_t PersistenceService::handleOf(const Location& location, const std::string& version)
{
    const auto id = m_store.open(location, version);
    const auto found =
        std::find_if(m_opened.begin(), m_opened.end(), [id](const auto& opened) { return opened.second.id == id; });
    if (found != m_opened.end()) {
        return found->first;
    }
    m_opened.emplace(++m_lastHandle, Opened{id, textOf(location)});
    return m_lastHandle;
}

void PersistenceService::tellIfSubscribed(std::uint32_t handle, std::uint32_t key) const
{
    if (m_subscriptions.count({handle, key}) != 0) {
        tellValue(handle, key, ok);
    }
}

// status: told unless there is no value.
void PersistenceService::tellValue(std::uint32_t handle, std::uint32_t key, std::uint32_t status) const
{
    const auto value = m_store.value(m_opened.at(handle).id, key);
    if (const auto* const text = std::get_if<std::string>(&value)) {
        tell<&IPersistenceAReply::stringValues>(
            handle, std::vector{StringValue{key, std::make_shared<std::string>(*text), status}});
    } else if (const auto* const bytes = std::get_if<std::vector<std::uint8_t>>(&value)) {
        tell<&IPersistenceAReply::blobValues>(
            handle, std::vector{BlobValue{key, std::make_shared<std::vector<std::uint8_t>>(*bytes), status}});
    } else {
        const auto* const number = std::get_if<std::int32_t>(&value);
        const auto told = number == nullptr && status == ok ? notFound : status;
        tell<&IPersistenceAReply::intValues>(handle, std::vector{IntValue{key, number != nullptr ? *number : 0, told}});
    }
}

std::string PersistenceService::nameOf(std::uint32_t handle) const
{
    const auto found = m_opened.find(handle);
    return found != m_opened.end() ? found->second.name : "(bad handle " + std::to_string(handle) + ")";
}

} // namespace unit_simulator
