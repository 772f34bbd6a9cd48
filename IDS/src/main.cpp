#include <cstdlib>
#include <exception>
#include <iostream>
#include <malloc.h>
#include <new>

#include "IdsApp.h"
#include "comm/ActiveObject.h"
#include "ipl/ErrorStorage.h"
#include "ipl/GlobalErrorHandler.h"
#include "servmngt/ServiceManager.h"

namespace {

comm::FactoryPtr createFactory()
{
    using Factory = comm::SingleThreadedActiveObjectFactory<comm::ActiveObject>;
    while (true) {
        try {
            if (auto* const factory = new (std::nothrow) Factory{"IdsApp"}; factory != nullptr) {
                return comm::FactoryPtr{factory};
            }
        } catch (const std::bad_alloc&) {
            // What the factory is made of lacked memory: the same case.
        }
        ipl::GlobalErrorHandler::doOutOfMem("IDS/src/main", 63, "main", "couldn't create pAoFactory");
    }
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
