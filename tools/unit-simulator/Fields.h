#pragma once

#include <array>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <vector>

#include "util/CITypesFactory.h"
#include "util/SharedPtr.h"

namespace unit_simulator {

/// What a scenario, a command or an option asks for cannot be done; the text says where and what is allowed.
struct BadInput : std::runtime_error
{
    using runtime_error::runtime_error;
};

/// What a field of a step may hold. Every kind but flag and seconds may also be null: the value is absent then.
enum class Kind
{
    flag,    ///< true or false
    number,  ///< an integer of up to 64 bits
    seconds, ///< a number from 0 on
    text,
    bytes,  ///< hex digits in a text
    texts,  ///< an array of texts and nulls
    service ///< one of kServices
};

/// What the unit's services are called. Some are provided in several instances, or as several services of the bus.
inline constexpr std::array<const char*, 11> kServices{"gnss",          "operation-control", "dtcs",        "modem",
                                                       "configuration", "time-sync",         "diagnostics", "some-ip",
                                                       "wlan",          "persistence",       "all"};

/// What a value of the kind is, for people.
std::string textOf(Kind kind);

/// One field of a kind of step.
struct Field
{
    const char* name;
    Kind kind;
    nlohmann::json otherwise; ///< its value when it is not given
    const char* help;
};

/// The checked fields of one step.
class Fields
{
public:
    /// Takes the values given for the fields of a kind of step, and the defaults of the others. Throws BadInput when a
    /// value is not of its field's kind or belongs to no field; where tells the place of a value by its name.
    template <typename Where>
    Fields(const std::vector<Field>& known, const nlohmann::json& given, const Where& where)
    {
        for (const auto& field : known) {
            m_values[field.name] = field.otherwise;
        }
        for (const auto& [name, value] : given.items()) {
            if (const auto problem = problemOf(known, name, value); !problem.empty()) {
                throw BadInput{where(name) + problem};
            }
            m_values[name] = value;
        }
    }

    bool flag(const char* name) const { return m_values.at(name).get<bool>(); }
    double seconds(const char* name) const { return m_values.at(name).get<double>(); }
    bool isAbsent(const char* name) const { return m_values.at(name).is_null(); }
    std::string word(const char* name) const { return m_values.at(name).get<std::string>(); }

    /// The number, cut to the type; 0 when it is absent.
    template <typename T>
    T number(const char* name) const
    {
        return isAbsent(name) ? T{} : static_cast<T>(m_values.at(name).get<std::int64_t>());
    }

    util::SharedPtr<std::string> text(const char* name) const;
    UInt8Array bytes(const char* name) const;
    std::vector<util::SharedPtr<std::string>> texts(const char* name) const;

private:
    static std::string problemOf(const std::vector<Field>& known, const std::string& name, const nlohmann::json& value);

    nlohmann::json m_values = nlohmann::json::object();
};

} // namespace unit_simulator
