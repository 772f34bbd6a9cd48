#include "RecordedErrors.h"

#include <array>
#include <cstddef>
#include <mutex>

namespace test_support {
namespace {

// The handler is called where memory is short, so there is room for its records beforehand.
std::mutex g_mutex;
std::array<RecordedErrors::OutOfMemory, 1000> g_records;
std::size_t g_used = 0;

void record(const ipl::GlobalErrorHandler::Place& place, const char* message)
{
    const std::lock_guard lock{g_mutex};
    if (g_used < g_records.size()) {
        g_records[g_used++] = {place, message};
    }
}

void throwFatal(const ipl::GlobalErrorHandler::Place& place, const char* expression, const char* message)
{
    throw FatalAssertion{place, expression, message};
}

} // namespace

RecordedErrors::RecordedErrors()
    : m_outOfMemBefore{ipl::GlobalErrorHandler::setOutOfMemHandler(&record)},
      m_fatalBefore{ipl::GlobalErrorHandler::setFatalHandler(&throwFatal)}
{
    const std::lock_guard lock{g_mutex};
    g_used = 0;
}

RecordedErrors::~RecordedErrors()
{
    ipl::GlobalErrorHandler::setOutOfMemHandler(m_outOfMemBefore);
    ipl::GlobalErrorHandler::setFatalHandler(m_fatalBefore);
}

std::vector<RecordedErrors::OutOfMemory> RecordedErrors::outOfMemory() const
{
    const std::lock_guard lock{g_mutex};
    return {g_records.begin(), g_records.begin() + static_cast<std::ptrdiff_t>(g_used)};
}

} // namespace test_support
