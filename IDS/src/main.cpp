#include <cstdlib>
#include <iostream>
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
    Factory* factory = nullptr;
    while ((factory = new (std::nothrow) Factory{"IdsApp"}) == nullptr) {
        ipl::GlobalErrorHandler::doOutOfMem("IDS/src/main", 63, "main", "couldn't create pAoFactory");
    }
    return comm::FactoryPtr{factory};
}

} // namespace

int main(int argc, char** argv)
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
