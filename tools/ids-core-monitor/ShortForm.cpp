#include "ShortForm.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "event_text.h"

namespace core_monitor {
namespace {

constexpr char kNetwork[] = "\033[33m";
constexpr char kHost[] = "\033[36m";
constexpr char kConnectivity[] = "\033[32m";
constexpr char kForeign[] = "\033[35m";
constexpr char kRoutine[] = "\033[2m";

/// The fields of a whole block by their names.
struct Fields
{
    const std::vector<ids::event_decoder::DecodedField>& all;

    /// Empty when the event has no such field.
    std::string operator[](std::string_view name) const
    {
        const auto field = std::ranges::find(all, name, [](const auto& one) { return one.layout().name; });
        return field == all.end() ? "" : bareText(*field);
    }
};

std::string route(const Fields& fields)
{
    return "[" + fields["sourceAddress"] + "]:" + fields["sourcePort"] + " > [" + fields["destinationAddress"] +
           "]:" + fields["destinationPort"];
}

std::string process(const Fields& fields)
{
    const auto id = fields["processId"];
    return fields["processName"] + (id == "0" ? " (no process)" : " (" + id + ")");
}

std::string resources(const Fields& fields)
{
    std::array<char, 16> ram;
    std::snprintf(ram.data(), ram.size(), "%.1f", std::strtod(fields["ramUsage"].c_str(), nullptr) / 1024);
    return process(fields) + " cpu " + fields["cpuUsage"] + " % user, " + fields["systemCpuUsage"] + " % system, ram " +
           ram.data() + " MiB";
}

/// The text after the separator; empty for an empty text.
std::string appended(const char* separator, const std::string& text)
{
    return text == kNoText ? "" : separator + text;
}

std::string serviceList(const Fields& fields)
{
    const auto kind = fields["kind"];
    const auto services = fields["services"];
    return (kind == "0"   ? "removed "
            : kind == "1" ? "added "
                          : "kind " + kind + " ") +
           (services == kNoText ? "nothing" : services);
}

std::string hardwareAddress(const Fields& fields)
{
    const auto hex = fields["hardwareAddress"];
    std::string text;
    for (std::size_t at = 0; at < hex.size(); at += 2) {
        text += (at == 0 ? "" : ":") + hex.substr(at, 2);
    }
    return text == "00:00:00:00:00:00" ? std::string{kNoText} : text;
}

std::string connection(const Fields& fields)
{
    const auto type = fields["connectionType"]; // the daemon's sensors report 0 and 4
    const auto medium = type == "0" ? "wlan" : type == "4" ? "cellular" : "type " + type;
    return medium + appended(" ", fields["name"]) + appended(" ", hardwareAddress(fields)) + " code " +
           fields["failureCode"];
}

struct Form
{
    std::uint16_t eventId;
    std::string_view name;
    const char* colour;
    std::string (*detail)(const Fields&);
};

// The protocolName of a firewall event is always "UDP", so no form shows it.
constexpr std::array kForms{
    Form{0x000B, "tcp port", kNetwork, [](const Fields& f) { return route(f) + " tcp group " + f["groupNumber"]; }},
    Form{0x000C, "udp port", kNetwork, [](const Fields& f) { return route(f) + " udp group " + f["groupNumber"]; }},
    Form{0x000E, "bad address", kNetwork, [](const Fields& f) { return route(f) + " group " + f["groupNumber"]; }},
    Form{0x9701, "l3 check", kNetwork, route},
    Form{0x9704, "l4 protocol", kNetwork, route},
    Form{0x9709, "too long", kNetwork, route},
    Form{0x9711, "statistics", kRoutine, [](const Fields& f) { return f["packetCount"] + " dropped in 10 s"; }},
    Form{0x9712, "blocked", kNetwork, [](const Fields& f) { return route(f) + " group " + f["groupNumber"]; }},
    Form{0x8000, "keep-alive", kRoutine, [](const Fields& f) { return "number " + f["counter"]; }},
    Form{0xD006, "no service", kConnectivity,
         [](const Fields& f) {
             return "query by " + f["queryingService"] + " at " + f["queryingAddress"] + appended(": ", f["errorText"]);
         }},
    Form{0xD00E, "no keys", kHost, [](const Fields& f) { return f["millisecondsSinceBoot"] + " ms after boot"; }},
    Form{0xD012, "tls failure", kConnectivity,
         [](const Fields& f) { return route(f) + " " + f["protocolName"] + " " + f["tlsIdentity"]; }},
    Form{0xD015, "tee use", kHost,
         [](const Fields& f) { return f["appName"] + " used " + f["teeName"] + ", code " + f["code"]; }},
    Form{0xD016, "services", kConnectivity, serviceList},
    Form{0xD701, "process", kHost, resources},
    Form{0xD705, "apn change", kConnectivity, process},
    Form{0xE901, "connect fail", kConnectivity, connection},
};

std::string rawDetail(const ReceivedEvent& event, const Form* form)
{
    const auto size = event.contextBytes.size();
    const bool isWhole = form != nullptr && event.context.missing == 0 && event.context.rest.empty();
    return (form == nullptr ? "" : "raw ") +
           (event.frame ? "instance " + std::to_string(event.frame->idsmInstanceId) + ", " : "") +
           std::to_string(size) + " bytes" + (size == 0 ? "" : ": ") +
           (isWhole ? form->detail(Fields{event.context.fields}) : hexText(event.contextBytes));
}

} // namespace

ShortForm shortForm(const ReceivedEvent& event)
{
    if (!event.payload) {
        return {"-", kForeign, ""};
    }
    const auto found = std::ranges::find(kForms, event.payload->eventId, &Form::eventId);
    const auto* const form = found == kForms.end() ? nullptr : &*found;
    if (event.isRaw || form == nullptr) {
        return {form == nullptr ? event.origin() : form->name, kForeign, rawDetail(event, form)};
    }
    return {form->name, form->colour, form->detail(Fields{event.context.fields})};
}

} // namespace core_monitor
