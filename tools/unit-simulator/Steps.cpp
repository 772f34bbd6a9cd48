#include "Steps.h"

#include <chrono>
#include <cstdlib>
#include <string_view>
#include <thread>
#include <utility>

#include "PersistenceSteps.h"
#include "Unit.h"

namespace unit_simulator {
namespace {

using nlohmann::json;
using std::chrono::system_clock;

const Field kIsAbsent{"absent", Kind::flag, false, "send no record at all"};
const Field kIsValid{"valid", Kind::flag, true, "what the service says of the value"};
const Field kInstance{"instance", Kind::number, 1, "of the diagnostics, 1 or 2"};
const Field kService{"service", Kind::service, "all", "which"};

template <typename Record>
util::SharedPtr<Record> recordUnlessAbsent(const Fields& fields, Record record)
{
    return fields.flag("absent") ? nullptr : std::make_shared<Record>(std::move(record));
}

void publishPosition(Unit& unit, const Fields& fields)
{
    const std::chrono::milliseconds utc{fields.isAbsent("timestampUTC") ? 0
                                                                        : fields.number<std::int64_t>("timestampUTC")};
    if (fields.flag("absent") || !fields.flag("valid")) {
        const asi::navigation::gnss::Position position{.timestampUTC = static_cast<std::uint64_t>(utc.count())};
        unit.gnss.publishOnly(recordUnlessAbsent(fields, position), fields.flag("valid"));
        return;
    }
    unit.gnss.runFrom(fields.isAbsent("timestampUTC") ? system_clock::now() : system_clock::time_point{utc});
}

void publishClamps(Unit& unit, const Fields& fields)
{
    const asi::ooc::app::ClampStates states{
        fields.number<std::uint8_t>("ClampS"), fields.number<std::uint8_t>("Clamp15"),
        fields.number<std::uint8_t>("Clamp30"), fields.number<std::uint8_t>("CanState"),
        fields.number<std::int32_t>("ComfortReady")};
    unit.operationControl.set<&asi::ooc::app::IOocApplicationReply::updateClampStates>(
        recordUnlessAbsent(fields, states), fields.flag("valid"));
}

void publishBattery(Unit& unit, const Fields& fields)
{
    const asi::ooc::app::BatteryInfo info{fields.number<std::int32_t>("state"),
                                          fields.number<std::int32_t>("bubatTemperature")};
    unit.operationControl.set<&asi::ooc::app::IOocApplicationReply::updateBatteryInfo>(recordUnlessAbsent(fields, info),
                                                                                       fields.flag("valid"));
}

/// Codes and conditions in pairs, "0x20007:1".
void publishDtcs(Unit& unit, const Fields& fields)
{
    using asi::connectivity::diagnostic::Dtc;
    const auto dtcs = std::make_shared<asi::connectivity::diagnostic::Dtcs>();
    for (const auto& text : fields.texts("dtcs")) {
        if (!text) {
            dtcs->push_back(nullptr);
            continue;
        }
        char* rest = nullptr;
        const auto code = std::strtoul(text->c_str(), &rest, 0);
        const auto condition = *rest == ':' ? std::strtoul(rest + 1, nullptr, 0) : 0;
        dtcs->push_back(
            std::make_shared<Dtc>(Dtc{static_cast<std::uint32_t>(code), static_cast<std::uint32_t>(condition)}));
    }
    unit.dtcs.set<&asi::connectivity::diagnostic::DiagnosticDtcsReply::updateDtcs>(
        comm::Nullable{fields.isAbsent("dtcs") ? nullptr : dtcs}, fields.flag("valid"));
}

void publishServices(Unit& unit, const Fields& fields)
{
    using namespace asi::connectivity::configuration;
    const auto list = std::make_shared<QuorServices>();
    for (const auto& name : fields.texts("names")) {
        list->push_back(name ? std::make_shared<QuorService>(QuorService{name}) : nullptr);
    }
    unit.configuration.set<&QuorConfigurationReply::updateQuorServices>(
        comm::Nullable{fields.isAbsent("names") ? nullptr : list}, fields.flag("valid"));
}

void publishConnectionResult(Unit& unit, const Fields& fields)
{
    using namespace asi::connectivity::al;
    const DataConnectionStartResult result{fields.number<std::uint32_t>("connectionId"),
                                           fields.number<std::uint32_t>("startResult")};
    unit.modemInformation.set<&NadInformationServiceReply::updateDataConnectionStartResult>(
        recordUnlessAbsent(fields, result), fields.flag("valid"));
}

void sendShortMessage(Unit& unit, const Fields& fields)
{
    using namespace asi::connectivity::al;
    unit.modemMessaging.tell<&NadMessagingServicesReply::onMessage>(
        static_cast<SmsType>(fields.number<std::uint32_t>("type")), fields.number<std::uint32_t>("pduSize"),
        fields.text("pdu"));
}

const Diagnostics& diagnosticsOf(const Unit& unit, const Fields& fields)
{
    return fields.number<std::uint32_t>("instance") == 2 ? unit.diagnostics2 : unit.diagnostics;
}

/// The address that the fields of the given prefix tell; null when they say so.
util::SharedPtr<asi::servicediag::ServiceAddress> addressOf(const Fields& fields, const std::string& prefix)
{
    const auto bytes = fields.bytes((prefix + "Address").c_str());
    if (!bytes) {
        return nullptr;
    }
    return std::make_shared<asi::servicediag::ServiceAddress>(asi::servicediag::ServiceAddress{
        bytes, fields.number<std::uint16_t>((prefix + "Port").c_str()), fields.flag("udp")});
}

void tellDiscovery(Unit& unit, const Fields& fields)
{
    using namespace asi::servicediag;
    const auto name = fields.text("service");
    const ServiceDiscoveryEvent event{fields.number<std::uint32_t>("status"),
                                      name ? std::make_shared<ServiceIdentity>(ServiceIdentity{name}) : nullptr,
                                      addressOf(fields, "querying"), fields.text("error")};
    diagnosticsOf(unit, fields).tell<&diagReply::publish_ServiceDiscoveryEvent>(recordUnlessAbsent(fields, event));
}

void tellHandshake(Unit& unit, const Fields& fields)
{
    using namespace asi::servicediag;
    const SecureConnectionEvent event{addressOf(fields, "source"), addressOf(fields, "destination"),
                                      fields.text("identity"), fields.flag("success")};
    diagnosticsOf(unit, fields).tell<&diagReply::publish_SecureConnectionEvent>(recordUnlessAbsent(fields, event));
}

void tellSoaSecurity(Unit& unit, const Fields& fields)
{
    using namespace asi::servicediag;
    diagnosticsOf(unit, fields)
        .tell<&diagReply::publish_ServiceSecSOAEvent>(
            recordUnlessAbsent(fields, ServiceSecSOAEvent{fields.text("error")}));
}

void tellSomeIpEvents(Unit& unit, const Fields& fields)
{
    using namespace asi::someip::oru::services::idssecurityevent::v2;
    const auto event = recordUnlessAbsent(
        fields, DT_securityEvent_struct{fields.number<std::uint16_t>("id"), fields.bytes("timestamp"),
                                        fields.bytes("eventFrame"), fields.bytes("contextData")});
    const auto content = std::make_shared<SecurityEvents>(fields.number<std::size_t>("count"), event);
    unit.someIp.tell<&IDSSecurityEventReply::securityEvent>(content);
}

void publishTimeOffsets(Unit& unit, const Fields& fields)
{
    using asi::time::TimeSyncReply;
    unit.timeSync.set<&TimeSyncReply::updatepltOffset>(fields.number<std::int64_t>("platform"), fields.flag("valid"));
    unit.timeSync.set<&TimeSyncReply::updateutcOffset>(fields.number<std::int64_t>("utc"), fields.flag("valid"));
}

void tellHotspotFailure(Unit& unit, const Fields& fields)
{
    using namespace asi::connectivity::networking;
    const WlanConnectionFailureHotspot failure{fields.bytes("mac"), fields.number<std::uint32_t>("reason"),
                                               fields.number<std::uint32_t>("band"), fields.bytes("bssid"),
                                               fields.text("ssid")};
    unit.wlan.tell<&WlanServiceReply::updateWlanConnectionFailureHotspot>(recordUnlessAbsent(fields, failure));
}

void tellClientFailure(Unit& unit, const Fields& fields)
{
    using namespace asi::connectivity::networking;
    const WlanConnectionFailureClient failure{fields.text("ssid"), fields.bytes("bssid"),
                                              fields.number<std::uint32_t>("reason"), fields.bytes("hwaddr")};
    unit.wlan.tell<&WlanServiceReply::updateWlanConnectionFailureClient>(recordUnlessAbsent(fields, failure));
}

void tellClientSuccess(Unit& unit, const Fields& fields)
{
    using namespace asi::connectivity::networking;
    const WlanConnectionSuccessClient success{fields.text("ssid"), fields.bytes("bssid")};
    unit.wlan.tell<&WlanServiceReply::updateWlanConnectionSuccessClient>(recordUnlessAbsent(fields, success));
}

void tellWlanDevice(Unit& unit, const Fields& fields)
{
    using namespace asi::connectivity::networking;
    unit.wlan.tell<&WlanServiceReply::updateWLANDevice>(recordUnlessAbsent(fields, WlanDevice{fields.text("name")}));
}

void setWlanCounters(Unit& unit, const Fields& fields)
{
    const asi::connectivity::networking::WlanTrafficCounters counters{fields.number<std::uint64_t>("received"),
                                                                      fields.number<std::uint64_t>("sent")};
    unit.wlan.setCounters(recordUnlessAbsent(fields, counters), fields.flag("answers"));
}

void callV2x(Unit& unit, const Fields& fields)
{
    const auto event = fields.bytes("event");
    const auto size = static_cast<std::uint32_t>(event ? event->size() : 0);
    unit.v2x.call<&asi::connectivity::ids::ViIdsmConnector::sendEvent>(event, size);
}

/// A step that publishes one number as an attribute.
template <auto function, typename Service>
StepKind numberStep(const char* name, const char* help, Service Unit::*service)
{
    return {name,
            help,
            {{"value", Kind::number, 0, "as the service numbers it"}, kIsValid},
            [service](Unit& unit, const Fields& fields) {
                (unit.*service).template set<function>(fields.number<std::uint32_t>("value"), fields.flag("valid"));
            }};
}

std::vector<StepKind> attributeSteps()
{
    using OocReply = asi::ooc::app::IOocApplicationReply;
    return {
        {"position",
         "sets the time of the navigation service, which goes on from it every second and stamps the events; a "
         "position "
         "that is absent or not valid is the last one until a time is set",
         {{"timestampUTC", Kind::number, nullptr, "milliseconds since 1970; the machine's time when null"},
          kIsAbsent,
          kIsValid},
         publishPosition},
        {"clamps",
         "the clamp states; Clamp15 0 is ignition off",
         {{"ClampS", Kind::number, 0, "0 or 1"},
          {"Clamp15", Kind::number, 0, "0 or 1"},
          {"Clamp30", Kind::number, 1, "0 or 1"},
          {"CanState", Kind::number, 0, "0 or 1"},
          {"ComfortReady", Kind::number, 0, "as the service numbers it"},
          kIsAbsent,
          kIsValid},
         publishClamps},
        {"battery",
         "the battery's state",
         {{"state", Kind::number, 0, "as the service numbers it"},
          {"bubatTemperature", Kind::number, 20, "of the backup battery"},
          kIsAbsent,
          kIsValid},
         publishBattery},
        numberStep<&OocReply::updateCallActive>("call-active", "whether a call is active", &Unit::operationControl),
        numberStep<&OocReply::updateRunMode>("run-mode", "the unit's run mode", &Unit::operationControl),
        numberStep<&asi::ooc::app::IOocIdsReply::updateEthCommInterruptReason>(
            "ethernet-interrupt", "an interruption of the Ethernet communication", &Unit::operationControlIds),
        {"dtcs",
         "the diagnostic trouble codes",
         {{"dtcs", Kind::texts, json::array(), "each a code and a condition, 0x20007:1 for a GNSS failure"}, kIsValid},
         publishDtcs},
        {"services",
         "the list of provisioned services",
         {{"names", Kind::texts, json::array(), "the services' names"}, kIsValid},
         publishServices},
        {"connection-result",
         "the modem's attempt at a data connection",
         {{"connectionId", Kind::number, 1, ""}, {"startResult", Kind::number, 0, "0: success"}, kIsAbsent, kIsValid},
         publishConnectionResult},
        {"time-offsets",
         "the offsets of platform time and UTC",
         {{"platform", Kind::number, 0, ""}, {"utc", Kind::number, 0, ""}, kIsValid},
         publishTimeOffsets}};
}

std::vector<StepKind> notificationSteps()
{
    const Field udp{"udp", Kind::flag, false, "else TCP"};
    return {{"short-message",
             "an SMS that the modem has received",
             {{"type", Kind::number, 0, "0 to 3"},
              {"pduSize", Kind::number, 0, "bytes"},
              {"pdu", Kind::text, "", "the PDU as text"}},
             sendShortMessage},
            {"discovery",
             "the outcome of a search for a SOME/IP service",
             {kInstance,
              {"status", Kind::number, 1, "1: it failed"},
              {"service", Kind::text, "unit.telematics", "who searched"},
              {"queryingAddress", Kind::bytes, "fd5301d5000000000000000000000010", "from where"},
              {"queryingPort", Kind::number, 30490, ""},
              {"error", Kind::text, "no answer", "why it failed"},
              udp,
              kIsAbsent},
             tellDiscovery},
            {"handshake",
             "the outcome of a TLS handshake",
             {kInstance,
              {"success", Kind::flag, false, ""},
              {"identity", Kind::text, "unit.gateway", "of the TLS peer"},
              {"sourceAddress", Kind::bytes, "fd5301d5000000000000000000000010", ""},
              {"sourcePort", Kind::number, 40100, ""},
              {"destinationAddress", Kind::bytes, "fd5301d5000000000000000000000001", ""},
              {"destinationPort", Kind::number, 443, ""},
              udp,
              kIsAbsent},
             tellHandshake},
            {"soa-security",
             "a security notice of the SOME/IP middleware",
             {kInstance, {"error", Kind::text, "", ""}, kIsAbsent},
             tellSoaSecurity},
            {"some-ip-events",
             "security events of the SOME/IP network",
             {{"count", Kind::number, 1, "how often the record stands in the notification"},
              {"id", Kind::number, 0xA002, ""},
              {"timestamp", Kind::bytes, "0000000065000000", ""},
              {"eventFrame", Kind::bytes, "130c80a002000100", ""},
              {"contextData", Kind::bytes, "8000070000000100000000", ""},
              kIsAbsent},
             tellSomeIpEvents}};
}

std::vector<StepKind> wlanSteps()
{
    const Field ssid{"ssid", Kind::text, "unit-hotspot", ""};
    const Field bssid{"bssid", Kind::bytes, "020000000001", "of the access point"};
    const Field reason{"reason", Kind::number, 1, "as the service numbers it"};
    return {{"hotspot-failure",
             "somebody could not join the unit's hotspot",
             {{"mac", Kind::bytes, "020000000010", "whose attempt it was"},
              reason,
              {"band", Kind::number, 0, "as the service numbers it"},
              bssid,
              ssid,
              kIsAbsent},
             tellHotspotFailure},
            {"wlan-failure",
             "the unit could not join a WLAN",
             {ssid, bssid, reason, {"hwaddr", Kind::bytes, "020000000002", "of the unit's device"}, kIsAbsent},
             tellClientFailure},
            {"wlan-success", "the unit has joined a WLAN", {ssid, bssid, kIsAbsent}, tellClientSuccess},
            {"wlan-device",
             "news of a WLAN device of the unit",
             {{"name", Kind::text, "wlan0", ""}, kIsAbsent},
             tellWlanDevice},
            {"wlan-counters",
             "what requests for the WLAN's traffic counters are answered from now on",
             {{"received", Kind::number, 0, "bytes"},
              {"sent", Kind::number, 0, "bytes"},
              {"answers", Kind::flag, true, "else nobody is answered"},
              kIsAbsent},
             setWlanCounters}};
}

std::vector<StepKind> callSteps()
{
    using asi::connectivity::ids::IdsTee;
    return {{"tee-access",
             "tell the daemon that an application has used the trusted execution environment",
             {{"app", Kind::text, "unit-keystore", "its name"}},
             [](Unit& unit, const Fields& fields) { unit.tee.call<&IdsTee::reportTeeAccess>(fields.text("app")); }},
            {"tee-access-of-process",
             "the same by its process",
             {{"processId", Kind::number, 1, ""}},
             [](Unit& unit, const Fields& fields) {
                 unit.tee.call<&IdsTee::reportTeeAccessOfProcess>(fields.number<std::uint32_t>("processId"));
             }},
            {"no-keys",
             "tell the daemon that the key management had no key to give",
             {},
             [](Unit& unit, const Fields&) { unit.tee.call<&IdsTee::reportNoKeysAvailable>(); }},
            {"v2x-event",
             "send the daemon an event that the V2X domain has framed",
             {{"event", Kind::bytes, "130cc0e903000100000000006500000080000700000001000000000000", "all its bytes"}},
             callV2x}};
}

std::vector<StepKind> faultSteps()
{
    return {{"down",
             "withdraw a service from the bus",
             {kService},
             [](Unit& unit, const Fields& fields) {
                 for (auto* const service : unit.servicesNamed(fields.word("service"))) {
                     service->withdraw();
                 }
             }},
            {"up",
             "provide a service that is down",
             {kService},
             [](Unit& unit, const Fields& fields) {
                 for (auto* const service : unit.servicesNamed(fields.word("service"))) {
                     service->provide();
                 }
             }},
            {"refuse",
             "admit no more clients to a service, or everybody again",
             {kService, {"refuses", Kind::flag, true, ""}},
             [](Unit& unit, const Fields& fields) {
                 for (auto* const service : unit.servicesNamed(fields.word("service"))) {
                     service->refuseClients(fields.flag("refuses"));
                 }
             }},
            {"hang",
             "answer nobody for a time",
             {{"for", Kind::seconds, 5, "seconds"}},
             [](Unit&, const Fields& fields) {
                 std::this_thread::sleep_for(std::chrono::duration<double>{fields.seconds("for")});
             }},
            {"die", "end at once, as by SIGKILL", {}, [](Unit&, const Fields&) { std::_Exit(137); }}};
}

} // namespace

std::vector<StepKind> allSteps()
{
    std::vector<StepKind> all;
    for (auto part :
         {attributeSteps(), notificationSteps(), wlanSteps(), persistenceSteps(), callSteps(), faultSteps()}) {
        all.insert(all.end(), part.begin(), part.end());
    }
    return all;
}

} // namespace unit_simulator
