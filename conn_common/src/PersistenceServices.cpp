#include "conn_common/PersistenceServices.h"

#include <new>
#include <utility>

#include "PersistenceServicesImpl.h"
#include "ipl/GlobalErrorHandler.h"

namespace persistence {

PersistenceServices::PersistenceServices(comm::FactoryPtr factory, PersistenceListener& listener)
    : m_Pimpl{new (std::nothrow) PersistenceServicesImpl{std::move(factory), listener}}
{
    if (!m_Pimpl) {
        ipl::GlobalErrorHandler::doFatalAssert("m_Pimpl", "conn_common/src/PersistenceServices", 63,
                                               "PersistenceServices", "");
    }
}

PersistenceServices::~PersistenceServices() = default;

void PersistenceServices::startService()
{
    m_Pimpl->startService();
}

void PersistenceServices::requestValue(const PersistenceLocation& location, std::uint32_t keyId,
                                       ResultCallback& callback)
{
    m_Pimpl->requestValue(location, keyId, callback);
}

void PersistenceServices::writeInt(const PersistenceLocation& location, std::uint32_t keyId, std::int32_t value,
                                   bool flush)
{
    m_Pimpl->writeInt(location, keyId, value, flush);
}

} // namespace persistence
