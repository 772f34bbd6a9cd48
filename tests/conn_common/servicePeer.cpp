// A process that provides a service until it is killed.

#include <cstdio>
#include <unistd.h>

#include "asi/connectivity/diagnostic/DiagnosticDtcs.h"

namespace {

struct Peer : asi::connectivity::diagnostic::DiagnosticDtcsSAttr
{
    void provide(const comm::FactoryPtr& factory)
    {
        std::puts(registerInstance(1, factory) ? "refused" : "provided");
        std::fflush(stdout);
    }
};

} // namespace

int main()
{
    const comm::FactoryPtr factory =
        std::make_shared<comm::SingleThreadedActiveObjectFactory<comm::ActiveObject>>("Peer");
    Peer peer;
    peer.provide(factory);
    while (true) {
        ::pause();
    }
}
