#pragma once

#include <functional>
#include <future>
#include <memory>
#include <stdexcept>

#include "comm/ActiveObject.h"

namespace test_support {

/// An active object of the test's own, which ends with it. What a component under test owns is made and destroyed
/// through run, as the daemon does it.
class TestActiveObject
{
public:
    const comm::FactoryPtr& factory() const { return m_factory; }

    /// Runs the callable on the active object and waits for it; what it throws is thrown here.
    void run(const std::function<void()>& callable) const
    {
        std::packaged_task<void()> task{callable};
        if (!comm::runAndWait(m_factory->getActiveObject({}), [&task] { task(); })) {
            throw std::runtime_error{"the active object has ended"};
        }
        task.get_future().get();
    }

    /// Waits until what is queued now has run. Events that those post in turn may still be queued.
    void drain() const
    {
        run([] {});
    }

    /// Ends the active object: what is queued is released without running.
    void stop() const { m_factory->getActiveObject({}).stop(); }

private:
    const comm::FactoryPtr m_factory =
        std::make_shared<comm::SingleThreadedActiveObjectFactory<comm::ActiveObject>>("TestAO");
};

} // namespace test_support
