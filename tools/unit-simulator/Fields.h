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

/// A scenario, a command or an option is invalid; the text names the place and the allowed values.
struct BadInput : std::runtime_error
{
    using runtime_error::runtime_error;
};

/// The type of a field of a step. Every kind except flag and seconds also allows null, an absent value.
enum class Kind
{
    flag,    ///< true or false
    number,  ///< an integer of up to 64 bits
    seconds, ///< a number of at least 0
    text,
    bytes,  ///< hex digits in a text
    texts,  ///< an array of texts and nulls
    service ///< one of kServices
};

/// The names of the unit's services in steps. Some have several instances, or are several services on the bus.
inline constexpr std::array<const char*, 11> kServices{"gnss",          "operation-control", "dtcs",        "modem",
                                                       "configuration", "time-sync",         "diagnostics", "some-ip",
                                                       "wlan",          "persistence",       "all"};

/// The name of a kind in messages.
std::string textOf(Kind kind);

/// One field of a kind of step.
struct Field
{
    const char* name;
    Kind kind;
    nlohmann::json otherwise; ///< default value
    const char* help;
};

/// The checked fields of one step.
class Fields
{
public:
    /// Checks the values given for the fields of a kind of step, and adds the defaults of the others. Throws BadInput
    /// for an unknown field or a value of another kind; where returns the place of a value by its name.
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

    /// The number, truncated to the type; 0 if it is absent.
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
