#pragma once

#include <exception>
#include <string>
#include <vector>

#include "ipl/GlobalErrorHandler.h"

namespace test_support {

/// What a fatal assertion becomes while RecordedErrors lives.
class FatalAssertion : public std::exception
{
public:
    FatalAssertion(const ipl::GlobalErrorHandler::Place& where, const char* broken, const char* text)
        : place{where}, expression{broken}, message{text}
    {}

    const char* what() const noexcept override { return expression.c_str(); }

    const ipl::GlobalErrorHandler::Place place;
    const std::string expression;
    const std::string message;
};

/// Takes the place of the platform's error handlers while it lives: an allocation that fails is recorded and may be
/// tried again at once, a fatal assertion throws FatalAssertion. One at a time.
class RecordedErrors
{
public:
    struct OutOfMemory
    {
        ipl::GlobalErrorHandler::Place place;
        const char* message;
    };

    RecordedErrors();
    ~RecordedErrors();
    RecordedErrors(const RecordedErrors&) = delete;
    RecordedErrors& operator=(const RecordedErrors&) = delete;

    /// The calls of the out-of-memory handler so far, from all threads; at most 1000 are kept.
    std::vector<OutOfMemory> outOfMemory() const;

private:
    const ipl::GlobalErrorHandler::OutOfMemHandler m_outOfMemBefore;
    const ipl::GlobalErrorHandler::FatalHandler m_fatalBefore;
};

} // namespace test_support
