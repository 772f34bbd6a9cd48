#include "PersistenceSteps.h"

#include <algorithm>
#include <array>

#include "Unit.h"

namespace unit_simulator {
namespace {

using namespace persistence;

const Field kPartition{"partition", Kind::text, "IDS", "by its name"};
const Field kNumber{"number", Kind::number, nullptr, "of a partition that goes by one, instead of the name"};

PersistenceLocation locationOf(const Fields& fields)
{
    if (!fields.isAbsent("number")) {
        return {PersistenceLocation::byNumber, fields.number<std::uint32_t>("number"), {}};
    }
    const auto name = fields.text("partition");
    return {PersistenceLocation::byName, 0, name ? *name : ""};
}

void changeValue(Unit& unit, const Fields& fields)
{
    PersistenceStore::Value value;
    if (!fields.isAbsent("value")) {
        value = fields.number<std::int32_t>("value");
    } else if (const auto text = fields.text("text")) {
        value = *text;
    } else if (const auto bytes = fields.bytes("blob")) {
        value = *bytes;
    }
    unit.persistence.change(locationOf(fields), fields.number<std::uint32_t>("key"), value);
}

void failRequests(Unit& unit, const Fields& fields)
{
    constexpr std::array kRequests{"version", "open", "set", "flush", "subscribe"};
    const auto request = fields.text("request");
    if (!request || std::find(kRequests.begin(), kRequests.end(), *request) == kRequests.end()) {
        throw BadInput{"\"request\" must be one of version, open, set, flush, subscribe"};
    }
    PersistenceService::Fault fault;
    if (!fields.isAbsent("result")) {
        fault.result = fields.number<std::uint32_t>("result");
    }
    fault.versionIsAbsent = fields.flag("absent");
    fault.times = fields.number<std::uint32_t>("times");
    unit.persistence.fail(*request, fault);
}

void tellUnasked(Unit& unit, const Fields& fields)
{
    const auto answer = fields.text("answer");
    const auto handle = fields.number<std::uint32_t>("handle");
    const auto key = fields.number<std::uint32_t>("key");
    const auto result = fields.number<std::uint32_t>("result");
    const auto name = fields.text("partition");
    const auto partition = name ? *name : "";
    if (answer && *answer == "version") {
        unit.persistence.tell<&IPersistenceAReply::versionByNameResult>(partition, Version{}, result);
    } else if (answer && *answer == "open") {
        unit.persistence.tell<&IPersistenceAReply::openByNameResult>(partition, handle, result);
    } else if (answer && *answer == "set") {
        unit.persistence.tell<&IPersistenceAReply::setResult>(handle, key, result);
    } else if (answer && *answer == "flush") {
        unit.persistence.tell<&IPersistenceAReply::flushResult>(handle, result);
    } else if (answer && *answer == "values") {
        const std::vector values(fields.number<std::size_t>("count"), IntValue{key, 0, result});
        unit.persistence.tell<&IPersistenceAReply::intValues>(handle, values);
    } else {
        throw BadInput{"\"answer\" must be one of version, open, set, flush, values"};
    }
}

} // namespace

std::vector<StepKind> persistenceSteps()
{
    const Field key{"key", Kind::number, 0, "of the value"};
    return {{"persistence-value",
             "change a setting; one without value, text and blob is removed",
             {kPartition,
              kNumber,
              key,
              {"value", Kind::number, nullptr, "32 bits"},
              {"text", Kind::text, nullptr, ""},
              {"blob", Kind::bytes, nullptr, ""}},
             changeValue},
            {"persistence-fault",
             "what becomes of the next requests of a kind to the persistence service",
             {{"request", Kind::text, "version", "version, open, set, flush or subscribe"},
              {"result", Kind::number, nullptr, "0: done; 6: not there; others: failures; null: no answer"},
              {"times", Kind::number, 1, "for how many requests"},
              {"absent", Kind::flag, false, "tell no version"}},
             failRequests},
            {"persistence-answer",
             "an answer of the persistence service that nobody has asked for",
             {{"answer", Kind::text, "set", "version, open, set, flush or values"},
              kPartition,
              {"handle", Kind::number, 1, "the first partition that was opened has 1"},
              key,
              {"result", Kind::number, 0, "or the values' status"},
              {"count", Kind::number, 1, "how many values"}},
             tellUnasked}};
}

} // namespace unit_simulator
