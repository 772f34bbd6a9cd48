#include "Scenario.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <sstream>

namespace unit_simulator {
namespace {

using nlohmann::json;

/// Scans a text and counts the lines.
class LineCounter
{
public:
    using iterator_category = std::input_iterator_tag;
    using value_type = char;
    using difference_type = std::ptrdiff_t;
    using pointer = const char*;
    using reference = const char&;

    LineCounter(const char* at, std::size_t* line) : m_at{at}, m_line{line} {}

    reference operator*() const { return *m_at; }
    bool operator==(const LineCounter& other) const { return m_at == other.m_at; }
    bool operator!=(const LineCounter& other) const { return m_at != other.m_at; }
    LineCounter& operator++()
    {
        *m_line += *m_at == '\n' ? 1 : 0;
        ++m_at;
        return *this;
    }

private:
    const char* m_at;
    std::size_t* m_line;
};

/// The lines of the steps of a scenario and their fields, and the syntax error if there is one.
class Lines final : public nlohmann::json_sax<json>
{
public:
    explicit Lines(const std::string& text)
    {
        json::sax_parse(LineCounter{text.data(), &m_line}, LineCounter{text.data() + text.size(), &m_line}, this);
    }

    std::size_t ofStep(std::size_t number) const { return number < m_steps.size() ? m_steps[number].line : 1; }
    std::size_t ofField(std::size_t number, const std::string& name) const
    {
        const auto& keys = m_steps[number].keys;
        const auto found = keys.find(name);
        return found != keys.end() ? found->second : m_steps[number].line;
    }
    std::size_t ofMember(const std::string& name) const
    {
        const auto found = m_members.find(name);
        return found != m_members.end() ? found->second : 1;
    }
    const std::string& error() const { return m_error; }
    std::size_t errorLine() const { return m_errorLine; }

    bool null() override { return true; }
    bool boolean(bool) override { return true; }
    bool number_integer(number_integer_t) override { return true; }
    bool number_unsigned(number_unsigned_t) override { return true; }
    bool number_float(number_float_t, const string_t&) override { return true; }
    bool string(string_t&) override { return true; }
    bool binary(binary_t&) override { return true; }
    bool start_object(std::size_t) override
    {
        if (++m_depth == kStepDepth) {
            m_steps.push_back({m_line, {}});
        }
        return true;
    }
    bool key(string_t& name) override
    {
        if (m_depth == 1) {
            m_members[name] = m_line;
        } else if (m_depth == kStepDepth) {
            m_steps.back().keys[name] = m_line;
        }
        return true;
    }
    bool end_object() override { return --m_depth, true; }
    bool start_array(std::size_t) override { return ++m_depth, true; }
    bool end_array() override { return --m_depth, true; }
    bool parse_error(std::size_t, const std::string& token, const json::exception&) override
    {
        m_error = "not JSON at \"" + token + "\"";
        m_errorLine = m_line;
        return false;
    }

private:
    static constexpr int kStepDepth = 3; // object in array in root object

    struct StepLines
    {
        std::size_t line;
        std::map<std::string, std::size_t> keys;
    };

    std::size_t m_line = 1;
    int m_depth = 0;
    std::vector<StepLines> m_steps;
    std::map<std::string, std::size_t> m_members;
    std::string m_error;
    std::size_t m_errorLine = 1;
};

const StepKind& kindOf(const json& name, const std::vector<StepKind>& kinds, const std::string& where)
{
    const auto found =
        std::find_if(kinds.begin(), kinds.end(), [&](const StepKind& kind) { return name == kind.name; });
    if (found != kinds.end()) {
        return *found;
    }
    std::string allowed;
    for (const auto& kind : kinds) {
        allowed += (allowed.empty() ? "" : ", ") + std::string{kind.name};
    }
    const auto shown = name.dump(-1, ' ', false, json::error_handler_t::replace); // the input may contain any bytes
    throw BadInput{where + "unknown step " + shown + "; allowed: " + allowed};
}

std::chrono::milliseconds millisecondsOf(const json& seconds, const std::string& where)
{
    constexpr double kMost = 1e6;
    if (!seconds.is_number() || !(seconds.get<double>() >= 0 && seconds.get<double>() <= kMost)) {
        throw BadInput{where + "must be a number of seconds from 0 to 1000000"};
    }
    return std::chrono::milliseconds{static_cast<std::int64_t>(seconds.get<double>() * 1000)};
}

Step readStep(json object, std::size_t number, const Lines& lines, const std::string& file,
              const std::vector<StepKind>& kinds)
{
    const auto at = [&](std::size_t line) { return file + ":" + std::to_string(line) + ": "; };
    const auto atField = [&](const std::string& name) { return at(lines.ofField(number, name)); };
    if (!object.is_object() || !object.contains("at") || !object.contains("do")) {
        throw BadInput{at(lines.ofStep(number)) + "a step is an object with \"at\", \"do\" and the step's fields"};
    }
    const auto time = millisecondsOf(object["at"], atField("at") + "\"at\" ");
    const auto& kind = kindOf(object["do"], kinds, atField("do"));
    object.erase("at");
    object.erase("do");
    return {time, &kind, Fields{kind.fields, object, atField}};
}

} // namespace

Scenario readScenario(const std::string& text, const std::string& file, const std::vector<StepKind>& kinds)
{
    const Lines lines{text};
    const auto at = [&](std::size_t line) { return file + ":" + std::to_string(line) + ": "; };
    if (!lines.error().empty()) {
        throw BadInput{at(lines.errorLine()) + lines.error()};
    }
    const auto all = json::parse(text);
    if (!all.is_object() || !all.contains("steps") || !all["steps"].is_array()) {
        throw BadInput{at(1) + "a scenario is an object with an array \"steps\", and \"repeatAfter\" if it repeats"};
    }
    Scenario scenario;
    for (const auto& [name, value] : all.items()) {
        if (name == "repeatAfter") {
            scenario.repeatAfter = millisecondsOf(value, at(lines.ofMember(name)) + "\"repeatAfter\" ");
        } else if (name != "steps") {
            throw BadInput{at(lines.ofMember(name)) + "unknown field \"" + name + "\"; allowed: steps, repeatAfter"};
        }
    }
    const auto& steps = all["steps"];
    for (std::size_t number = 0; number < steps.size(); ++number) {
        scenario.steps.push_back(readStep(steps[number], number, lines, file, kinds));
    }
    std::stable_sort(scenario.steps.begin(), scenario.steps.end(),
                     [](const Step& one, const Step& other) { return one.at < other.at; });
    return scenario;
}

Step readCommand(const std::string& text, const std::vector<StepKind>& kinds)
{
    std::istringstream words{text};
    std::string name;
    words >> name;
    const auto& kind = kindOf(name, kinds, "");
    auto given = json::object();
    for (std::string word; words >> word;) {
        const auto equals = word.find('=');
        if (equals == std::string::npos) {
            throw BadInput{"\"" + word + "\" is not FIELD=VALUE"};
        }
        const auto value = word.substr(equals + 1);
        const auto parsed = json::parse(value, nullptr, false);
        given[word.substr(0, equals)] = parsed.is_discarded() ? json(value) : parsed;
    }
    return {std::chrono::milliseconds{0}, &kind, Fields{kind.fields, given, [](const std::string&) { return ""; }}};
}

} // namespace unit_simulator
