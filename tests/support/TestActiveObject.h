#pragma once

#include <functional>
#include <future>
#include <memory>
#include <stdexcept>

#include "comm/ActiveObject.h"

namespace test_support {

/// An active object for a test. As in the daemon, run constructs and destroys the objects of a component under test.
class TestActiveObject
{
public:
    const comm::FactoryPtr& factory() const { return m_factory; }

    /// Runs the callable on the active object and waits for it; rethrows its exception here.
    void run(const std::function<void()>& callable) const
    {
        std::packaged_task<void()> task{callable};
        if (!comm::runAndWait(m_factory->getActiveObject({}), [&task] { task(); })) {
            throw std::runtime_error{"the active object has ended"};
        }
        task.get_future().get();
    }

    /// Waits until all events queued before the call have run. Events that these post may still be queued.
    void drain() const
    {
        run([] {});
    }

    /// Ends the active object: queued events are released without running.
    void stop() const { m_factory->getActiveObject({}).stop(); }

private:
    const comm::FactoryPtr m_factory =
        std::make_shared<comm::SingleThreadedActiveObjectFactory<comm::ActiveObject>>("TestAO");
};

} // namespace test_support
