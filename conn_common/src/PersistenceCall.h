#pragma once

#include "persistence/IPersistenceA.h"
#include "tracing/Channel.h"

namespace persistence {

extern tracing::Channel s_implChannel;

/// A call of the service as the log tells it.
struct CallSite
{
    const char* source;
    int line;
    const char* expression;
};

void logPlatformError(const char* source, int line, const char* what, const char* reason);
void logNotTaken(const CallSite& site);
void logTaken(const CallSite& site);
void logNotAlive();

/// Sends a request and logs how that went. Returns true when the connection took it.
template <auto request, typename... Args>
bool callLogged(const IPersistenceAProxy& proxy, const CallSite& site, const Args&... arguments)
{
    if (!proxy.isAlive()) {
        logNotAlive();
        return false;
    }
    const bool taken = proxy.template call<request>(arguments...);
    (taken ? logTaken : logNotTaken)(site);
    return taken;
}

} // namespace persistence
