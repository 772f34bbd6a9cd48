#include "JsonFormat.h"

#include <nlohmann/json.hpp>

#include "event_text.h"

namespace core_monitor {
namespace {

using ids::EFieldKind;
using ids::event_decoder::DecodedField;
using Json = nlohmann::ordered_json;

Json timeOf(const ids::STimestamp& time)
{
    return {{"nanoseconds", time.nanoseconds}, {"seconds", time.seconds}, {"utc", utcText(time, 9)}};
}

Json frameOf(const ReceivedEvent& event)
{
    auto object = Json::object();
    if (event.frame) {
        const auto& frame = *event.frame;
        object = {{"protocolVersion", frame.protocolVersion},
                  {"reservedFlags", frame.reservedFlags},
                  {"timestampFlag", frame.hasTimestamp},
                  {"contextDataFlag", frame.hasContextData},
                  {"idsmInstanceId", frame.idsmInstanceId},
                  {"sensorInstanceId", frame.sensorInstanceId},
                  {"eventId", idText(frame.eventId)},
                  {"count", frame.count},
                  {"reserved", frame.reserved}};
    }
    object["hex"] = hexText(event.frameBytes);
    return object;
}

Json timestampOf(const ReceivedEvent& event)
{
    auto object = event.timestamp ? timeOf(*event.timestamp) : Json::object();
    object["hex"] = hexText(event.timestampBytes);
    return object;
}

Json valueOf(const DecodedField& field)
{
    switch (field.layout().kind) {
    case EFieldKind::integer:
    case EFieldKind::constant:
        return field.integer();
    case EFieldKind::text:
    case EFieldKind::characters:
        return field.text();
    case EFieldKind::bytes:
        return hexText(field.bytes());
    case EFieldKind::address:
        return addressText(field.bytes());
    case EFieldKind::time:
        return timeOf(field.time());
    }
    return nullptr;
}

template <typename Value>
Json membersOf(const ReceivedEvent& event, const Value& value)
{
    auto object = Json::object();
    for (const auto& field : event.context.fields) {
        if (!field.isCut()) {
            object[std::string{field.layout().name}] = value(field);
        }
    }
    return object;
}

} // namespace

std::string JsonFormat::operator()(const ReceivedEvent& event) const
{
    Json object;
    object["id"] = event.payload ? Json(idText(event.payload->eventId)) : Json();
    object["name"] = event.name();
    object["raw"] = event.isRaw;
    object["frame"] = frameOf(event);
    object["timestamp"] = timestampOf(event);
    object["contextData"] = hexText(event.contextBytes);
    object["fields"] = membersOf(event, valueOf);
    if (m_style.fieldBytes) {
        object["fieldBytes"] = membersOf(event, [](const DecodedField& field) { return hexText(field.bytes()); });
    }
    if (!event.notes.empty()) {
        object["note"] = event.note();
    }
    return object.dump(-1, ' ', true, Json::error_handler_t::replace) + '\n';
}

} // namespace core_monitor
