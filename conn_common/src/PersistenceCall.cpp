#include "PersistenceCall.h"

#include <string>

namespace persistence {

tracing::Channel s_implChannel{"CON_PERSISTENCE_IMPL", 7, 2};

// These lines have no place of the channel's making in front: they name the call's own, or none.

void logPlatformError(const char* source, int line, const char* what, const char* reason)
{
    if (s_implChannel.passes(tracing::Level::warning)) {
        s_implChannel.writeText(tracing::Level::warning, std::string{"IPL error at "} + source + ":" +
                                                             std::to_string(line) + "! " + what + ",reason=" + reason);
    }
}

void logNotTaken(const CallSite& site)
{
    logPlatformError(site.source, site.line, (std::string{"Called '"} + site.expression + "'").c_str(),
                     "the bus does not take it");
}

void logTaken(const CallSite& site)
{
    if (s_implChannel.passes(tracing::Level::detail)) {
        s_implChannel.writeText(tracing::Level::detail, std::string{"Call '"} + site.expression + "' successful");
    }
}

void logNotAlive()
{
    if (s_implChannel.passes(tracing::Level::detail)) {
        s_implChannel.writeText(tracing::Level::detail, "Call not executed, proxy not alive");
    }
}

} // namespace persistence
