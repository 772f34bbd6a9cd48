#pragma once

#include <string>
#include <utility>
#include <vector>

#include "ipl/GlobalErrorHandler.h"
#include "iplbase/NonCopyable.h"

namespace test_support {

/// Thrown for a fatal assertion during the lifetime of RecordedErrors.
struct FatalAssertion
{
    std::string place; ///< "file:line function"
    std::string expression;
    std::string message;
};

/// Replaces the platform's error handlers during its lifetime: a failed allocation is recorded and retried without a
/// delay, a fatal assertion throws FatalAssertion. One at a time; the recorded calls must come from one thread.
class RecordedErrors : iplbase::NonCopyable
{
public:
    RecordedErrors()
    {
        using Place = ipl::GlobalErrorHandler::Place;
        s_records.clear();
        ipl::GlobalErrorHandler::setOutOfMemHandler(
            [](const Place& place, const char* message) { s_records.emplace_back(place, message); });
        ipl::GlobalErrorHandler::setFatalHandler([](const Place& place, const char* expression, const char* message) {
            throw FatalAssertion{text(place), expression, message};
        });
    }

    ~RecordedErrors()
    {
        ipl::GlobalErrorHandler::setOutOfMemHandler(nullptr);
        ipl::GlobalErrorHandler::setFatalHandler(nullptr);
    }

    /// The recorded calls of the out-of-memory handler, each "file:line function: message".
    std::vector<std::string> outOfMemory() const
    {
        std::vector<std::string> all;
        for (const auto& [place, message] : s_records) {
            all.push_back(text(place) + ": " + message);
        }
        return all;
    }

private:
    static std::string text(const ipl::GlobalErrorHandler::Place& place)
    {
        return std::string{place.file} + ":" + std::to_string(place.line) + " " + place.function;
    }

    static inline std::vector<std::pair<ipl::GlobalErrorHandler::Place, const char*>> s_records;
};

} // namespace test_support
