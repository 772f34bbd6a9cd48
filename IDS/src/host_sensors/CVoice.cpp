#include "CVoice.h"

#include <algorithm>
#include <initializer_list>
#include <memory>
#include <span>
#include <strings.h>
#include <utility>

#include "SensorChannels.h"
#include "event_factory.h"
#include "ids/SServiceListUpdate.h"
#include "tracing/client_helper.h"

namespace ids {
namespace {

using asi::connectivity::configuration::QuorService;
using asi::connectivity::configuration::QuorServices;
using Entry = QuorServices::value_type;
using Entries = std::span<const Entry>;

constexpr char kLabel[] = "ids::CVoice";
constexpr std::uint8_t kRemoved = 0;
constexpr std::uint8_t kAdded = 1;

constexpr auto hasName = [](const Entry& entry) { return entry && entry->p_serviceName; };

constexpr auto isBefore = [](const Entry& one, const Entry& other) {
    return strcasecmp(one->p_serviceName->c_str(), other->p_serviceName->c_str()) < 0;
};

/// Orders the list by name and returns its named entries. Those without a name have no place in the order and go to the
/// end.
Entries sortByName(QuorServices& services)
{
    const auto end = std::partition(services.begin(), services.end(), hasName);
    if (!std::is_sorted(services.begin(), end, isBefore)) { // the list of last time is
        std::sort(services.begin(), end, isBefore);
    }
    return {services.begin(), end};
}

/// The names, joined, of those entries whose name is not among the others. Both are in order.
std::string namesMissingIn(Entries others, Entries entries)
{
    std::string names;
    auto other = others.begin();
    for (const auto& entry : entries) {
        while (other != others.end() && isBefore(*other, entry)) {
            ++other;
        }
        if (other == others.end() || isBefore(entry, *other)) {
            names.append(*entry->p_serviceName).push_back(';');
        }
    }
    if (!names.empty()) {
        names.pop_back();
    }
    return names;
}

util::SharedPtr<QuorServices> listOf(std::initializer_list<const char*> names)
{
    const auto services = std::make_shared<QuorServices>();
    for (const auto* const name : names) {
        services->push_back(std::make_shared<QuorService>(QuorService{std::make_shared<std::string>(name)}));
    }
    return services;
}

} // namespace

CVoice::CVoice(IIdsm& idsm) : m_idsm{idsm}, m_testCommands{kLabel}
{
    tracing::client_helper::addCommand(m_testCommands, "onServiceListChanged", *this, &CVoice::onServiceListChanged);
}

void CVoice::updateQuorServices(const util::SharedPtr<QuorServices>& services, bool isValid)
{
    TRACE(s_hostSensorChannel, progress, kLabel, "QuorServices received (size: %zu), isValid: %s",
          services ? services->size() : 0, isValid ? "true" : "false");
    if (!isValid) {
        return;
    }
    if (m_previousServices) {
        QuorServices none;
        reportChanges(*m_previousServices, services ? *services : none);
    }
    keep(services);
}

void CVoice::reportChanges(QuorServices& previous, QuorServices& services)
{
    const auto now = sortByName(services);
    const auto before = sortByName(previous);
    report(kAdded, namesMissingIn(before, now));
    report(kRemoved, namesMissingIn(now, before));
}

void CVoice::report(std::uint8_t kind, std::string services)
{
    m_idsm.reportEvent(
        event_factory::createEvent<SEvent_ServiceListChange>({.kind = kind, .services = std::move(services)}));
}

void CVoice::keep(const util::SharedPtr<QuorServices>& services)
{
    if (services) {
        m_previousServices = services;
    } else if (m_previousServices) {
        m_previousServices->clear();
    }
}

void CVoice::onServiceListChanged()
{
    updateQuorServices(listOf({"ecall", "vts", "mqtt"}), true);
    updateQuorServices(listOf({"mqtt", "euecall", "era"}), true);
}

} // namespace ids
