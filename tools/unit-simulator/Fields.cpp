#include "Fields.h"

#include <algorithm>
#include <array>
#include <memory>

#include "Hex.h"

namespace unit_simulator {
namespace {

using nlohmann::json;

bool isText(const json& value)
{
    return value.is_string() || value.is_null();
}

bool fits(Kind kind, const json& value)
{
    switch (kind) {
    case Kind::flag:
        return value.is_boolean();
    case Kind::seconds:
        return value.is_number() && value.get<double>() >= 0;
    case Kind::number:
        return value.is_number_integer() || value.is_null();
    case Kind::text:
        return isText(value);
    case Kind::bytes:
        return value.is_null() || (value.is_string() && tool_support::fromHex(value.get<std::string>()));
    case Kind::texts:
        return value.is_null() || (value.is_array() && std::all_of(value.begin(), value.end(), isText));
    case Kind::service:
        return std::find(kServices.begin(), kServices.end(), value) != kServices.end();
    }
    return false;
}

util::SharedPtr<std::string> textFrom(const json& value)
{
    return value.is_null() ? nullptr : std::make_shared<std::string>(value.get<std::string>());
}

} // namespace

std::string textOf(Kind kind)
{
    constexpr std::array<const char*, 7> kTexts{"true or false",
                                                "an integer or null",
                                                "a number of seconds",
                                                "a text or null",
                                                "hex digits in a text, or null",
                                                "an array of texts and nulls, or null",
                                                "one of"};
    std::string text = kTexts[static_cast<std::size_t>(kind)];
    if (kind == Kind::service) {
        for (const auto* const service : kServices) {
            text += std::string{service == kServices.front() ? " " : ", "} + service;
        }
    }
    return text;
}

std::string Fields::problemOf(const std::vector<Field>& known, const std::string& name, const json& value)
{
    const auto field = std::find_if(known.begin(), known.end(), [&](const Field& one) { return one.name == name; });
    if (field == known.end()) {
        std::string allowed;
        for (const auto& one : known) {
            allowed += (allowed.empty() ? "" : ", ") + std::string{one.name};
        }
        return "unknown field \"" + name + "\"; " + (allowed.empty() ? "there are none" : "allowed: " + allowed);
    }
    return fits(field->kind, value) ? "" : "\"" + name + "\" must be " + textOf(field->kind);
}

util::SharedPtr<std::string> Fields::text(const char* name) const
{
    return textFrom(m_values.at(name));
}

UInt8Array Fields::bytes(const char* name) const
{
    const auto& value = m_values.at(name);
    return value.is_null()
               ? nullptr
               : std::make_shared<std::vector<std::uint8_t>>(*tool_support::fromHex(value.get<std::string>()));
}

std::vector<util::SharedPtr<std::string>> Fields::texts(const char* name) const
{
    std::vector<util::SharedPtr<std::string>> all;
    for (const auto& value : m_values.at(name)) {
        all.push_back(textFrom(value));
    }
    return all;
}

} // namespace unit_simulator
