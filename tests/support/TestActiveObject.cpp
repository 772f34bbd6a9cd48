#include "TestActiveObject.h"

#include <exception>
#include <memory>
#include <stdexcept>

namespace test_support {

TestActiveObject::TestActiveObject()
    : m_factory{std::make_shared<comm::SingleThreadedActiveObjectFactory<comm::ActiveObject>>("TestAO")}
{}

void TestActiveObject::run(const std::function<void()>& callable) const
{
    std::exception_ptr thrown;
    const bool ran = comm::runAndWait(m_factory->getActiveObject({}), [&] {
        try {
            callable();
        } catch (...) {
            thrown = std::current_exception();
        }
    });
    if (!ran) {
        throw std::runtime_error{"the active object has ended"};
    }
    if (thrown) {
        std::rethrow_exception(thrown);
    }
}

void TestActiveObject::drain() const
{
    run([] {});
}

void TestActiveObject::stop() const
{
    m_factory->getActiveObject({}).stop();
}

} // namespace test_support
