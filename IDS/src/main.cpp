#include <cstdlib>
#include <exception>
#include <iostream>
#include <malloc.h>
#include <memory>

#include "IdsApp.h"
#include "comm/ActiveObject.h"
#include "ipl/ErrorStorage.h"
#include "ipl/insist.h"
#include "servmngt/ServiceManager.h"

namespace {

comm::FactoryPtr createFactory()
{
    using Factory = comm::SingleThreadedActiveObjectFactory<comm::ActiveObject>;
    return ipl::insist({"IDS/src/main", 63, "main"}, "couldn't create pAoFactory",
                       [] { return std::make_shared<Factory>("IdsApp"); });
}

// Large blocks go back to the system for good. By default the allocator keeps what a neighbour's one huge message took.
void keepMemorySmall()
{
    ::mallopt(M_MMAP_THRESHOLD, 128 * 1024);
}

[[noreturn]] void run(int argc, char** argv)
{
    const ipl::ErrorStorage errorStorage{&ipl::ErrorStorage::action_dump_to_stdout};
    servmngt::init(argc, argv);
    const auto factory = createFactory();
    ids::IdsApp app{factory};
    servmngt::offerTestCommands(factory);
    if (servmngt::startApp(argc, argv, app, "idsProc", app.getInitIf())) {
        std::cerr << "servmngt::startApp() returned with error: " << ipl::ErrorStorage::reason() << std::endl;
        ipl::ErrorStorage::ack();
    } else {
        std::cerr << "normal ids exit" << std::endl;
    }
    // No static destructor may run while the other threads do.
    std::quick_exit(0);
}

} // namespace

int main(int argc, char** argv)
{
    keepMemorySmall();
    try {
        run(argc, argv);
    } catch (const std::exception& error) {
        std::cerr << "idsProc cannot start: " << error.what() << std::endl;
        std::quick_exit(1);
    }
}
